// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ast.h"
#include "diagnostics.h"
#include "type_table.h"

namespace aidlc {

// What a constant expression comes to.
struct Value {
    enum class Kind { Boolean, Character, Integer, Real, String, Enumerator, Array };

    Kind kind = Kind::Integer;
    bool isLong = false;                     // of an Integer: 64 bits wide, else 32
    int64_t integer = 0;                     // of Boolean, Character, Integer and Enumerator
    double real = 0;                         // of Real
    std::string text;                        // of String
    const TypeDecl* enumType = nullptr;      // of Enumerator
    const Enumerator* enumerator = nullptr;  // of Enumerator
    std::vector<Value> items;                // of Array

    bool isInteger() const { return kind == Kind::Integer || kind == Kind::Enumerator; }
};

// Evaluates constant expressions, each declaration once. Integer arithmetic is 32 bits wide, or 64
// where one side is a long; a result that does not fit is an error, never wrapped.
class Evaluator {
  public:
    Evaluator(TypeTable* types, Diagnostics* diagnostics)
        : mTypes(*types), mDiagnostics(*diagnostics) {}

    // The value of `expression`, written inside `scope`, as one of `type`. Nothing after reporting
    // why it is none. An enum-typed value is always one of that very enum's own values.
    std::optional<Value> evaluateAs(const Expression& expression, const TypeRef& type,
                                    const TypeDecl& scope);
    // An integer in the range from `low` to `high`; `what` names it in the error.
    std::optional<int64_t> evaluateInteger(const Expression& expression, int64_t low, int64_t high,
                                           const std::string& what, const TypeDecl& scope);
    // The value of a constant, of its declared type.
    std::optional<Value> constantValue(const TypeDecl& owner, const Constant& constant);
    // Computes Enumerator::number of all values of an enum. False after reporting why not.
    bool numberEnumerators(const TypeDecl& type);

  private:
    struct Progress {
        bool done = false;
        std::optional<Value> value;
    };

    std::optional<Value> evaluate(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> reference(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> member(const Expression& expression, const TypeDecl& owner,
                                const std::string& name);
    std::optional<Value> unary(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> binary(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> arithmetic(const Expression& expression, const Value& left,
                                    const Value& right);
    std::optional<Value> integerLiteral(const Expression& expression);
    std::optional<Value> realLiteral(const Expression& expression);
    std::optional<Value> convert(const Expression& expression, Value value, const TypeRef& type);
    std::optional<Value> convertItem(const Expression& expression, Value value,
                                     const TypeRef& type);
    std::nullopt_t fail(const Expression& expression, const std::string& message);

    TypeTable& mTypes;
    Diagnostics& mDiagnostics;
    std::map<const Constant*, Progress> mConstants;
    std::map<const TypeDecl*, bool> mEnums;  // true: all numbered; false: under way or failed
    int mDepth = 0;
};

}  // namespace aidlc
