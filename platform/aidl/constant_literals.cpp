// SPDX-License-Identifier: Apache-2.0
// Literals, and values as values of a type.
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <utility>

#include "constants.h"

namespace aidlc {
namespace {

bool takeSuffix(std::string* text, std::string_view suffix) {
    if (text->size() <= suffix.size() ||
        text->compare(text->size() - suffix.size(), suffix.size(), suffix) != 0) {
        return false;
    }
    text->resize(text->size() - suffix.size());
    return true;
}

int digitOf(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return 99;
}

}  // namespace

// Decimal numbers are ints, or longs when they need to be. Hexadecimal ones are the bits of an int,
// or of a long when they need more than 32 bits. L makes a long, u8 a byte from its 8 bits.
std::optional<Value> Evaluator::integerLiteral(const Expression& expression) {
    std::string digits = expression.text;
    Value value;
    const bool isByte = takeSuffix(&digits, "u8");
    value.isLong = !isByte && (takeSuffix(&digits, "L") || takeSuffix(&digits, "l"));
    const bool isHex = digits.size() > 1 && digits[0] == '0' && (digits[1] | 0x20) == 'x';
    const int base = isHex ? 16 : 10;
    if (!isHex && digits.size() > 1 && digits[0] == '0') {
        return fail(expression, "'" + expression.text +
                                    "' begins with 0, which other languages read as octal; "
                                    "write it without, or with 0x for hexadecimal");
    }
    if (isHex && digits.size() == 2) {
        return fail(expression, "'" + expression.text + "' is not a number; write digits after 0x");
    }
    uint64_t number = 0;
    for (size_t i = isHex ? 2 : 0; i < digits.size(); ++i) {
        const int digit = digitOf(digits[i]);
        if (digit >= base) {
            return fail(expression, "'" + expression.text +
                                        "' is not a number; write decimal digits, or 0x and "
                                        "hexadecimal ones, then L for a long");
        }
        uint64_t grown = 0;
        if (__builtin_mul_overflow(number, static_cast<uint64_t>(base), &grown) ||
            __builtin_add_overflow(grown, static_cast<uint64_t>(digit), &number)) {
            return fail(expression, "'" + expression.text + "' does not fit a long");
        }
    }
    if (isByte) {
        if (number > 0xff) {
            return fail(expression, "'" + expression.text + "' does not fit 8 bits");
        }
        value.integer = static_cast<int8_t>(number);
    } else if (isHex && number <= 0xffffffffu && !value.isLong) {
        value.integer = static_cast<int32_t>(static_cast<uint32_t>(number));
    } else if (isHex) {
        value.isLong = true;
        value.integer = static_cast<int64_t>(number);
    } else {
        if (number > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) {
            return fail(expression, "'" + expression.text +
                                        "' does not fit a long; the lowest long is "
                                        "0x8000000000000000");
        }
        value.isLong = value.isLong || number > std::numeric_limits<int32_t>::max();
        value.integer = static_cast<int64_t>(number);
    }
    return value;
}

std::optional<Value> Evaluator::realLiteral(const Expression& expression) {
    std::string digits = expression.text;
    if (!takeSuffix(&digits, "f")) {
        takeSuffix(&digits, "F");
    }
    char* end = nullptr;
    Value value;
    value.kind = Value::Kind::Real;
    value.real = strtod(digits.c_str(), &end);
    if (*end != '\0' || !std::isfinite(value.real)) {
        return fail(expression, "'" + expression.text +
                                    "' is not a number that a double can hold; write 1.5 or "
                                    "1.5e3, then f for a float");
    }
    return value;
}

std::optional<Value> Evaluator::convert(const Expression& expression, Value value,
                                        const TypeRef& type) {
    const bool isArrayType = type.array != TypeRef::Array::None || type.builtin == Builtin::List;
    if (!isArrayType) {
        return convertItem(expression, std::move(value), type);
    }
    if (value.kind != Value::Kind::Array) {
        return fail(expression, "a value of " + typeText(type) + " is a list, as in {1, 2}");
    }
    if (type.array == TypeRef::Array::Fixed &&
        value.items.size() != static_cast<uint64_t>(type.fixedSize)) {
        return fail(expression, typeText(type) + " needs " + std::to_string(type.fixedSize) +
                                    " items, not " + std::to_string(value.items.size()));
    }
    for (size_t i = 0; i < value.items.size(); ++i) {
        // A list literal holds as many operands as items.
        const bool isLiteral = expression.kind == Expression::Kind::Array;
        auto item = convertItem(isLiteral ? *expression.operands[i] : expression,
                                std::move(value.items[i]), type.item());
        if (!item) {
            return std::nullopt;
        }
        value.items[i] = std::move(*item);
    }
    return value;
}

std::optional<Value> Evaluator::convertItem(const Expression& expression, Value value,
                                            const TypeRef& type) {
    const auto integerUpTo = [&](int64_t high) -> std::optional<Value> {
        if (!value.isInteger()) {
            return fail(expression,
                        "a value of " + type.name + " must be an integer" +
                            (value.kind == Value::Kind::Character ? ", not a character" : ""));
        }
        if (value.integer > high || value.integer < -high - 1) {
            return fail(expression, std::to_string(value.integer) + " does not fit " + type.name +
                                        ", which goes from " + std::to_string(-high - 1) + " to " +
                                        std::to_string(high));
        }
        value.kind = Value::Kind::Integer;
        value.isLong = type.builtin == Builtin::Long;
        return value;
    };
    const auto only = [&](Value::Kind kind, const char* what) -> std::optional<Value> {
        if (value.kind != kind) {
            return fail(expression, "a value of " + type.name + " must be " + what);
        }
        return value;
    };
    switch (type.builtin) {
        case Builtin::Boolean:
            return only(Value::Kind::Boolean, "true or false");
        case Builtin::Byte:
            return integerUpTo(std::numeric_limits<int8_t>::max());
        case Builtin::Int:
            return integerUpTo(std::numeric_limits<int32_t>::max());
        case Builtin::Long:
            return integerUpTo(std::numeric_limits<int64_t>::max());
        case Builtin::Char:
            return only(Value::Kind::Character,
                        "a character, as in 'a'; one without a default is 0");
        case Builtin::Float:
            if (value.kind == Value::Kind::Real && !std::isfinite(static_cast<float>(value.real))) {
                return fail(expression, "this number is too large for a float; write double");
            }
            return only(Value::Kind::Real, "a number with a point, as in 1.5f");
        case Builtin::Double:
            return only(Value::Kind::Real, "a number with a point, as in 1.5");
        case Builtin::String:
            return only(Value::Kind::String, "a text in double quotes");
        default:
            break;
    }
    if (type.decl != nullptr && type.decl->kind == TypeDecl::Kind::Enum) {
        if (value.kind == Value::Kind::Enumerator && value.enumType == type.decl) {
            return value;
        }
        const std::string example = type.decl->enumerators.empty()
                                        ? std::string("one of its values")
                                        : type.decl->name + "." + type.decl->enumerators[0].name;
        return fail(expression, "a value of " + type.decl->qualifiedName() +
                                    " must be one of that enum's own, as in " + example);
    }
    return fail(expression,
                "a value of " + typeText(type) + " cannot be written here; remove the default");
}

}  // namespace aidlc
