// SPDX-License-Identifier: Apache-2.0
#include "constants.h"

#include <cmath>
#include <limits>
#include <utility>

#include "literals.h"

namespace aidlc {
namespace {

// How many declarations one value may go through.
constexpr int kMaxReferenceDepth = 64;
constexpr int64_t kMaxArraySize = 1 << 20;

const char* describe(const Value& value) {
    constexpr const char* kKinds[] = {"a boolean", "a character",   "an integer", "a real number",
                                      "a String",  "an enum value", "a list"};
    return kKinds[static_cast<size_t>(value.kind)];
}

// The highest value of an integer type; the lowest is one below its negative.
int64_t highestOf(Builtin type) {
    return type == Builtin::Byte  ? std::numeric_limits<int8_t>::max()
           : type == Builtin::Int ? std::numeric_limits<int32_t>::max()
                                  : std::numeric_limits<int64_t>::max();
}

bool fits(const Value& value) {
    const int64_t high = highestOf(value.isLong ? Builtin::Long : Builtin::Int);
    return value.integer <= high && value.integer >= -high - 1;
}

}  // namespace

std::nullopt_t Evaluator::fail(const Expression& expression, const std::string& message) {
    mDiagnostics.error(expression.at, message);
    return std::nullopt;
}

const Value* Evaluator::evaluate(const TypeDecl& owner, Variable* variable) {
    if (variable->state == Variable::State::UnderWay) {
        mDiagnostics.error(variable->at, "the value of '" + variable->name +
                                             "' depends on itself; give it a value of its own");
    } else if (variable->state == Variable::State::New) {
        variable->state = Variable::State::UnderWay;
        auto value = compute(*variable->initial, owner);
        if (value) {
            variable->value = convert(*variable->initial, std::move(*value), variable->type);
        }
    }
    variable->state = Variable::State::Done;
    return variable->value ? &*variable->value : nullptr;
}

std::optional<int64_t> Evaluator::integer(const Expression& expression, int64_t low, int64_t high,
                                          const std::string& what, const TypeDecl& scope) {
    const auto value = compute(expression, scope);
    if (!value) {
        return std::nullopt;
    }
    if (!value->isInteger() || value->integer < low || value->integer > high) {
        return fail(expression,
                    what + " must be an integer from " + std::to_string(low) + " to " +
                        std::to_string(high) + ", not " +
                        (value->isInteger() ? std::to_string(value->integer) : describe(*value)));
    }
    return value->integer;
}

int64_t Evaluator::arraySize(const TypeDecl& owner, const Expression& expression) {
    return integer(expression, 1, kMaxArraySize, "the size of an array", owner).value_or(1);
}

void Evaluator::numberEnumerators(TypeDecl* type) {
    if (std::exchange(type->isNumbered, true)) {
        return;
    }
    const Annotation* backing = findAnnotation(type->annotations, "Backing");
    if (backing != nullptr) {
        if (backing->parameters == "type=\"int\"") {
            type->backing = Builtin::Int;
        } else if (backing->parameters == "type=\"long\"") {
            type->backing = Builtin::Long;
        } else if (backing->parameters != "type=\"byte\"") {
            mDiagnostics.error(backing->at,
                               "write @Backing(type=\"byte\"), @Backing(type=\"int\") or "
                               "@Backing(type=\"long\")");
        }
    }
    const int64_t high = highestOf(type->backing);
    int64_t last = -1;
    for (Enumerator& enumerator : type->enumerators) {
        const std::string what = "'" + enumerator.name + "' of the enum '" + type->name + "'";
        if (enumerator.initial != nullptr) {
            last = integer(*enumerator.initial, -high - 1, high, what, *type).value_or(0);
        } else if (last == high) {
            mDiagnostics.error(enumerator.at, what + " does not fit the enum's type; give it a " +
                                                  "value or the enum a larger @Backing type");
        } else {
            ++last;
        }
        enumerator.number = last;
        enumerator.isNumbered = true;
    }
}

std::optional<Value> Evaluator::compute(const Expression& expression, const TypeDecl& scope) {
    Value value;
    std::string why;
    switch (expression.kind) {
        case Expression::Kind::Integer:
            if (!parseInteger(expression.text, &value, &why)) {
                return fail(expression, "'" + expression.text + "' " + why);
            }
            return value;
        case Expression::Kind::Real:
            if (!parseReal(expression.text, &value)) {
                return fail(expression, "'" + expression.text +
                                            "' is not a number that a double can hold; write 1.5 "
                                            "or 1.5e3, then f for a float");
            }
            return value;
        case Expression::Kind::Boolean:
            value.kind = Value::Kind::Boolean;
            value.integer = expression.text == "true" ? 1 : 0;
            return value;
        case Expression::Kind::Character:
            value.kind = Value::Kind::Character;
            value.integer = static_cast<unsigned char>(expression.text[0]);
            return value;
        case Expression::Kind::String:
            value.kind = Value::Kind::String;
            value.text = expression.text;
            return value;
        case Expression::Kind::Reference:
            return reference(expression, scope);
        case Expression::Kind::Unary:
            return unary(expression, scope);
        case Expression::Kind::Binary:
            return binary(expression, scope);
        case Expression::Kind::Array:
            break;
    }
    value.kind = Value::Kind::Array;
    for (const ExpressionPtr& operand : expression.operands) {
        auto item = compute(*operand, scope);
        if (!item) {
            return std::nullopt;
        }
        value.items.push_back(std::move(*item));
    }
    return value;
}

std::optional<Value> Evaluator::reference(const Expression& expression, const TypeDecl& scope) {
    if (mDepth >= kMaxReferenceDepth) {
        return fail(expression, "this value goes through more than " +
                                    std::to_string(kMaxReferenceDepth) +
                                    " other constants; write it with fewer steps");
    }
    const size_t dot = expression.text.rfind('.');
    const std::string typeName =
        dot == std::string::npos ? scope.name : expression.text.substr(0, dot);
    TypeDecl* owner = mTypes.find(*scope.document, typeName);
    if (owner == nullptr) {
        return fail(expression,
                    "there is no type '" + typeName + "'; import it, or check the spelling");
    }
    ++mDepth;
    auto value = member(expression, owner, expression.text.substr(dot + 1));
    --mDepth;
    return value;
}

std::optional<Value> Evaluator::member(const Expression& expression, TypeDecl* owner,
                                       const std::string& name) {
    for (Variable& constant : owner->constants) {
        if (constant.name == name) {
            const Value* value = evaluate(*owner, &constant);
            return value != nullptr ? std::optional<Value>(*value) : std::nullopt;
        }
    }
    for (const Enumerator& enumerator : owner->enumerators) {
        if (enumerator.name == name) {
            numberEnumerators(owner);
            if (!enumerator.isNumbered) {
                return fail(expression, "the value of '" + expression.text +
                                            "' is not known yet; it must be declared before its "
                                            "use, and not depend on it");
            }
            Value value;
            value.kind = Value::Kind::Enumerator;
            value.integer = enumerator.number;
            value.isLong = owner->backing == Builtin::Long;
            value.enumType = owner;
            value.enumerator = &enumerator;
            return value;
        }
    }
    return fail(expression, "'" + owner->name + "' has no constant or value '" + name + "'");
}

std::optional<Value> Evaluator::unary(const Expression& expression, const TypeDecl& scope) {
    auto value = compute(*expression.operands[0], scope);
    if (!value) {
        return std::nullopt;
    }
    const std::string& op = expression.text;
    if (value->isInteger()) {
        value->kind = Value::Kind::Integer;
        if (op == "~") {
            value->integer = ~value->integer;
        } else if (op == "-" &&
                   (__builtin_sub_overflow(int64_t{0}, value->integer, &value->integer) ||
                    !fits(*value))) {
            return fail(expression, "the negative of this value does not fit its type");
        }
        return value;
    }
    if (value->kind != Value::Kind::Real || op == "~") {
        return fail(expression, "'" + op + "' cannot be applied to " + describe(*value));
    }
    value->real = op == "-" ? -value->real : value->real;
    return value;
}

std::optional<Value> Evaluator::binary(const Expression& expression, const TypeDecl& scope) {
    const auto left = compute(*expression.operands[0], scope);
    const auto right = left ? compute(*expression.operands[1], scope) : std::nullopt;
    if (!right) {
        return std::nullopt;
    }
    const std::string& op = expression.text;
    if (!left->isInteger() || !right->isInteger()) {
        return fail(expression, "'" + op + "' needs integers on both sides, not " +
                                    describe(left->isInteger() ? *right : *left));
    }
    const int64_t a = left->integer;
    const int64_t b = right->integer;
    const bool isShift = op == "<<" || op == ">>";
    Value result;
    result.isLong = left->isLong || (!isShift && right->isLong);
    if (isShift && (b < 0 || b >= (result.isLong ? 64 : 32))) {
        return fail(expression, "the width of this shift is out of range");
    }
    if ((op == "/" || op == "%") && b == 0) {
        return fail(expression, "division by zero");
    }
    bool overflows = false;
    if (op == "+") {
        overflows = __builtin_add_overflow(a, b, &result.integer);
    } else if (op == "-") {
        overflows = __builtin_sub_overflow(a, b, &result.integer);
    } else if (op == "*") {
        overflows = __builtin_mul_overflow(a, b, &result.integer);
    } else if (op == "<<") {
        overflows = b == 63 ? a != 0 : __builtin_mul_overflow(a, int64_t{1} << b, &result.integer);
    } else if (op == ">>") {
        result.integer = a >> b;
    } else if (b == -1 && (op == "/" || op == "%")) {
        overflows = op == "/" && __builtin_sub_overflow(int64_t{0}, a, &result.integer);
    } else if (op == "/") {
        result.integer = a / b;
    } else if (op == "%") {
        result.integer = a % b;
    } else {
        result.integer = op == "&" ? a & b : op == "|" ? a | b : a ^ b;
    }
    if (overflows || !fits(result)) {
        return fail(expression, std::string("the result does not fit ") +
                                    (result.isLong ? "a long" : "an int; write 1L for a long"));
    }
    return result;
}

std::optional<Value> Evaluator::convert(const Expression& expression, Value value,
                                        const TypeRef& type) {
    if (!type.isArray()) {
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
        // Only a literal has an array for its value.
        auto item = convertItem(*expression.operands[i], std::move(value.items[i]), type.item());
        if (!item) {
            return std::nullopt;
        }
        value.items[i] = std::move(*item);
    }
    return value;
}

std::optional<Value> Evaluator::convertItem(const Expression& expression, Value value,
                                            const TypeRef& type) {
    const auto only = [&](bool isGood, const char* what) -> std::optional<Value> {
        if (!isGood) {
            return fail(expression, "a value of " + type.name + " must be " + what);
        }
        return std::move(value);
    };
    switch (type.builtin) {
        case Builtin::Boolean:
            return only(value.kind == Value::Kind::Boolean, "true or false");
        case Builtin::Byte:
        case Builtin::Int:
        case Builtin::Long: {
            const int64_t high = highestOf(type.builtin);
            if (value.isInteger() && (value.integer > high || value.integer < -high - 1)) {
                return fail(expression, std::to_string(value.integer) + " does not fit " +
                                            type.name + ", which goes from " +
                                            std::to_string(-high - 1) + " to " +
                                            std::to_string(high));
            }
            const bool isInteger = value.isInteger();
            value.kind = isInteger ? Value::Kind::Integer : value.kind;
            value.isLong = type.builtin == Builtin::Long;
            return only(isInteger, "an integer");
        }
        case Builtin::Char:
            return only(value.kind == Value::Kind::Character, "a character, as in 'a'");
        case Builtin::Float:
            if (value.kind == Value::Kind::Real && !std::isfinite(static_cast<float>(value.real))) {
                return fail(expression, "this number is too large for a float; write double");
            }
            [[fallthrough]];
        case Builtin::Double:
            return only(value.kind == Value::Kind::Real, "a number with a point, as in 1.5");
        case Builtin::String:
            return only(value.kind == Value::Kind::String, "a text in double quotes");
        default:
            break;
    }
    if (!type.isEnum()) {
        return fail(expression,
                    "a value of " + typeText(type) + " cannot be written here; remove the default");
    }
    if (value.kind != Value::Kind::Enumerator || value.enumType != type.decl) {
        return fail(expression, "a value of " + type.decl->qualifiedName() +
                                    " must be one of that enum's own, as in " + type.decl->name +
                                    ".NAME");
    }
    return value;
}

}  // namespace aidlc
