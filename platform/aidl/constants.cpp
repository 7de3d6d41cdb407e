// SPDX-License-Identifier: Apache-2.0
#include "constants.h"

#include <limits>
#include <utility>

namespace aidlc {
namespace {

// How many declarations one value may go through.
constexpr int kMaxReferenceDepth = 64;
constexpr size_t kMaxTextLength = 4096;

const char* describe(const Value& value) {
    switch (value.kind) {
        case Value::Kind::Boolean:
            return "a boolean";
        case Value::Kind::Character:
            return "a character";
        case Value::Kind::Integer:
            return value.isLong ? "a long" : "an int";
        case Value::Kind::Real:
            return "a floating-point number";
        case Value::Kind::String:
            return "a String";
        case Value::Kind::Enumerator:
            return "an enum value";
        case Value::Kind::Array:
            return "a list";
    }
    return "";
}

Value booleanValue(bool value) {
    Value result;
    result.kind = Value::Kind::Boolean;
    result.integer = value ? 1 : 0;
    return result;
}

template <typename T>
bool compare(const std::string& op, const T& left, const T& right) {
    if (op == "==") return left == right;
    if (op == "!=") return left != right;
    if (op == "<") return left < right;
    if (op == "<=") return left <= right;
    if (op == ">") return left > right;
    return left >= right;
}

bool isComparison(const std::string& op) {
    return op == "==" || op == "!=" || op == "<" || op == "<=" || op == ">" || op == ">=";
}

}  // namespace

std::nullopt_t Evaluator::fail(const Expression& expression, const std::string& message) {
    mDiagnostics.error(expression.at, message);
    return std::nullopt;
}

std::optional<Value> Evaluator::evaluateAs(const Expression& expression, const TypeRef& type,
                                           const TypeDecl& scope) {
    // The one mistake that deserves its own words: AUTO where FanMode.AUTO is meant.
    if (type.decl != nullptr && type.decl->kind == TypeDecl::Kind::Enum &&
        expression.kind == Expression::Kind::Reference &&
        expression.text.find('.') == std::string::npos) {
        for (const Enumerator& enumerator : type.decl->enumerators) {
            if (enumerator.name == expression.text) {
                return fail(expression, "write " + type.decl->name + "." + enumerator.name +
                                            ": an enum value is named with its enum");
            }
        }
    }
    auto value = evaluate(expression, scope);
    return value ? convert(expression, std::move(*value), type) : std::nullopt;
}

std::optional<int64_t> Evaluator::evaluateInteger(const Expression& expression, int64_t low,
                                                  int64_t high, const std::string& what,
                                                  const TypeDecl& scope) {
    const auto value = evaluate(expression, scope);
    if (!value) {
        return std::nullopt;
    }
    if (!value->isInteger() || value->integer < low || value->integer > high) {
        return fail(expression,
                    what + " must be an integer from " + std::to_string(low) + " to " +
                        std::to_string(high) +
                        (value->isInteger() ? ", not " + std::to_string(value->integer)
                                            : std::string(", not ") + describe(*value)));
    }
    return value->integer;
}

std::optional<Value> Evaluator::constantValue(const TypeDecl& owner, const Constant& constant) {
    const auto [entry, isNew] = mConstants.try_emplace(&constant);
    Progress& progress = entry->second;
    if (isNew) {
        if (constant.value != nullptr) {
            progress.value = evaluateAs(*constant.value, constant.type, owner);
        }
        progress.done = true;
    } else if (!progress.done) {
        mDiagnostics.error(constant.at, "the value of '" + constant.name +
                                            "' depends on itself; give it a value of its own");
        progress.done = true;
    }
    return progress.value;
}

bool Evaluator::numberEnumerators(const TypeDecl& type) {
    const auto [entry, isNew] = mEnums.try_emplace(&type, false);
    if (!isNew) {
        return entry->second;
    }
    const int64_t high = type.backing == Builtin::Byte  ? std::numeric_limits<int8_t>::max()
                         : type.backing == Builtin::Int ? std::numeric_limits<int32_t>::max()
                                                        : std::numeric_limits<int64_t>::max();
    const int64_t low = -high - 1;
    int64_t next = 0;
    bool nextFits = true;
    bool good = true;
    // The declaration is const for everyone but this, its one place of resolution.
    for (Enumerator& enumerator : const_cast<TypeDecl&>(type).enumerators) {
        enumerator.number = next;
        if (enumerator.value != nullptr) {
            const auto number =
                evaluateInteger(*enumerator.value, low, high,
                                "'" + enumerator.name + "' of the enum '" + type.name + "'", type);
            good = good && number.has_value();
            enumerator.number = number.value_or(0);
        } else if (!nextFits) {
            mDiagnostics.error(enumerator.at, "'" + enumerator.name + "' would be " +
                                                  std::to_string(high) +
                                                  " + 1, which does not fit the enum's backing "
                                                  "type; give it a value or a larger "
                                                  "@Backing(type=...)");
            good = false;
        }
        nextFits = enumerator.number < high;
        next = nextFits ? enumerator.number + 1 : 0;
    }
    return mEnums[&type] = good;
}

std::optional<Value> Evaluator::evaluate(const Expression& expression, const TypeDecl& scope) {
    Value value;
    switch (expression.kind) {
        case Expression::Kind::Integer:
            return integerLiteral(expression);
        case Expression::Kind::Float:
            return realLiteral(expression);
        case Expression::Kind::Boolean:
            return booleanValue(expression.text == "true");
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
            value.kind = Value::Kind::Array;
            for (const ExpressionPtr& operand : expression.operands) {
                auto item = evaluate(*operand, scope);
                if (!item) {
                    return std::nullopt;
                }
                value.items.push_back(std::move(*item));
            }
            return value;
    }
    return std::nullopt;
}

std::optional<Value> Evaluator::reference(const Expression& expression, const TypeDecl& scope) {
    if (mDepth >= kMaxReferenceDepth) {
        return fail(expression, "this value goes through more than " +
                                    std::to_string(kMaxReferenceDepth) +
                                    " other constants; write it with fewer steps");
    }
    const size_t dot = expression.text.rfind('.');
    const TypeDecl* owner = &scope;
    if (dot != std::string::npos) {
        const std::string typeName = expression.text.substr(0, dot);
        owner = mTypes.find(*scope.document, typeName);
        if (owner == nullptr) {
            return fail(expression,
                        "there is no type '" + typeName + "'; import it, or check the spelling");
        }
    }
    ++mDepth;
    auto value = member(expression, *owner, expression.text.substr(dot + 1));
    --mDepth;
    return value;
}

std::optional<Value> Evaluator::member(const Expression& expression, const TypeDecl& owner,
                                       const std::string& name) {
    for (const Constant& constant : owner.constants) {
        if (constant.name == name) {
            return constantValue(owner, constant);
        }
    }
    for (const Enumerator& enumerator : owner.enumerators) {
        if (enumerator.name != name) {
            continue;
        }
        const bool isNumbered = numberEnumerators(owner);
        // Inside its own enum, a value may use those that stand before it.
        const bool isEarlier = enumerator.at.line < expression.at.line ||
                               (enumerator.at.line == expression.at.line &&
                                enumerator.at.column < expression.at.column);
        const bool isOwn = expression.at.file == enumerator.at.file;
        if (!isNumbered && isOwn && !isEarlier) {
            return fail(expression,
                        "'" + name + "' gets its value further down; declare it before its use");
        }
        if (!isNumbered && !isOwn) {
            return fail(expression, "the value of '" + expression.text +
                                        "' is not known: its enum has an error, or depends on "
                                        "this one");
        }
        Value value;
        value.kind = Value::Kind::Enumerator;
        value.integer = enumerator.number;
        value.isLong = owner.backing == Builtin::Long;
        value.enumType = &owner;
        value.enumerator = &enumerator;
        return value;
    }
    return fail(expression, "'" + owner.name + "' has no constant or value '" + name + "'");
}

std::optional<Value> Evaluator::unary(const Expression& expression, const TypeDecl& scope) {
    auto operand = evaluate(*expression.operands[0], scope);
    if (!operand) {
        return std::nullopt;
    }
    const std::string& op = expression.text;
    if (op == "!") {
        if (operand->kind == Value::Kind::Boolean) {
            return booleanValue(operand->integer == 0);
        }
    } else if (operand->kind == Value::Kind::Real && op != "~") {
        operand->real = op == "-" ? -operand->real : operand->real;
        return operand;
    } else if (operand->isInteger()) {
        operand->kind = Value::Kind::Integer;
        if (op == "~") {
            operand->integer = ~operand->integer;
        } else if (op == "-") {
            const int64_t lowest = operand->isLong ? std::numeric_limits<int64_t>::min()
                                                   : std::numeric_limits<int32_t>::min();
            if (operand->integer == lowest) {
                return fail(expression, "the negative of this value does not fit");
            }
            operand->integer = -operand->integer;
        }
        return operand;
    }
    return fail(expression, std::string(describe(*operand)) + " has no '" + op + "'");
}

std::optional<Value> Evaluator::binary(const Expression& expression, const TypeDecl& scope) {
    const auto left = evaluate(*expression.operands[0], scope);
    const auto right = evaluate(*expression.operands[1], scope);
    if (!left || !right) {
        return std::nullopt;
    }
    const std::string& op = expression.text;
    if (left->isInteger() && right->isInteger()) {
        return isComparison(op) ? booleanValue(compare(op, left->integer, right->integer))
                                : arithmetic(expression, *left, *right);
    }
    if (left->kind == right->kind) {
        if (left->kind == Value::Kind::Boolean) {
            if (op == "&&" || op == "||" || op == "==" || op == "!=") {
                const bool a = left->integer != 0;
                const bool b = right->integer != 0;
                return booleanValue(op == "&&" ? a && b : op == "||" ? a || b : compare(op, a, b));
            }
        } else if (left->kind == Value::Kind::String && op == "+") {
            if (left->text.size() + right->text.size() > kMaxTextLength) {
                return fail(expression, "this text has more than " +
                                            std::to_string(kMaxTextLength) + " characters");
            }
            Value value = *left;
            value.text += right->text;
            return value;
        } else if (left->kind == Value::Kind::Character && isComparison(op)) {
            return booleanValue(compare(op, left->integer, right->integer));
        } else if (left->kind == Value::Kind::Real && isComparison(op)) {
            return booleanValue(compare(op, left->real, right->real));
        } else if (left->kind == Value::Kind::String && isComparison(op)) {
            return booleanValue(compare(op, left->text, right->text));
        }
    }
    return fail(expression, std::string(describe(*left)) + " and " + describe(*right) +
                                " cannot be combined with '" + op + "'");
}

std::optional<Value> Evaluator::arithmetic(const Expression& expression, const Value& left,
                                           const Value& right) {
    const std::string& op = expression.text;
    const int64_t a = left.integer;
    const int64_t b = right.integer;
    const bool isShift = op == "<<" || op == ">>";
    Value result;
    result.isLong = left.isLong || (!isShift && right.isLong);
    const int bits = result.isLong ? 64 : 32;
    const int64_t high =
        result.isLong ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int32_t>::max();
    const int64_t low = -high - 1;
    bool overflows = false;
    if (isShift) {
        if (b < 0 || b >= bits) {
            return fail(expression, "the shift must be from 0 to " + std::to_string(bits - 1) +
                                        ", not " + std::to_string(b));
        }
        if (op == ">>") {
            result.integer = a >> b;
        } else {
            overflows = a > (high >> b) || a < (low >> b);
            result.integer = overflows ? 0 : static_cast<int64_t>(static_cast<uint64_t>(a) << b);
        }
    } else if (op == "+") {
        overflows = __builtin_add_overflow(a, b, &result.integer);
    } else if (op == "-") {
        overflows = __builtin_sub_overflow(a, b, &result.integer);
    } else if (op == "*") {
        overflows = __builtin_mul_overflow(a, b, &result.integer);
    } else if (op == "/" || op == "%") {
        if (b == 0) {
            return fail(expression, "division by zero");
        }
        overflows = a == low && b == -1;
        result.integer = overflows ? 0 : op == "/" ? a / b : a % b;
    } else if (op == "&") {
        result.integer = a & b;
    } else if (op == "|") {
        result.integer = a | b;
    } else if (op == "^") {
        result.integer = a ^ b;
    } else {
        return fail(expression, "'" + op + "' needs booleans on both sides; compare with 0");
    }
    if (overflows || result.integer > high || result.integer < low) {
        return fail(expression,
                    std::string("the result does not fit ") +
                        (result.isLong ? "a long" : "an int; make one side a long, as in 1L"));
    }
    return result;
}

}  // namespace aidlc
