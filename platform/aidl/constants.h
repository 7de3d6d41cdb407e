// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ast.h"
#include "diagnostics.h"
#include "type_table.h"

namespace aidlc {

// Evaluates constant expressions, each declaration once; the results stay in the declarations.
// Integer arithmetic is 32 bits wide, or 64 where one side is a long; a result that does not fit is
// an error, never wrapped.
class Evaluator {
  public:
    Evaluator(TypeTable* types, Diagnostics* diagnostics)
        : mTypes(*types), mDiagnostics(*diagnostics) {}

    // The value of a constant or default of `owner`, of its declared type. Null after reporting why
    // there is none. An enum-typed value is always one of that very enum's own values.
    const Value* evaluate(const TypeDecl& owner, Variable* variable);
    // The size of an array of `owner`, at least 1; 1 after reporting what is wrong with it.
    int64_t arraySize(const TypeDecl& owner, const Expression& expression);
    // Fills in the backing type and the numbers of an enum. A number that is wrong becomes 0.
    void numberEnumerators(TypeDecl* type);

  private:
    std::optional<Value> compute(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> reference(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> member(const Expression& expression, TypeDecl* owner,
                                const std::string& name);
    std::optional<Value> unary(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> binary(const Expression& expression, const TypeDecl& scope);
    std::optional<Value> convert(const Expression& expression, Value value, const TypeRef& type);
    std::optional<Value> convertItem(const Expression& expression, Value value,
                                     const TypeRef& type);
    std::optional<int64_t> integer(const Expression& expression, int64_t low, int64_t high,
                                   const std::string& what, const TypeDecl& scope);
    std::nullopt_t fail(const Expression& expression, const std::string& message);

    TypeTable& mTypes;
    Diagnostics& mDiagnostics;
    int mDepth = 0;
};

}  // namespace aidlc
