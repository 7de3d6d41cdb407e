// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ast.h"
#include "constants.h"
#include "diagnostics.h"
#include "type_table.h"

namespace aidlc {

struct CheckOptions {
    // --stability=vintf: @VintfStability types may be declared.
    bool vintf = false;
};

// Checks every document of a resolved table against the language and against what this compiler
// supports, and fills in what needs evaluation: array sizes, backing types, enum values, method
// ids. Only a table without errors may be handed to a generator.
void checkDocuments(TypeTable* types, Evaluator* evaluator, const CheckOptions& options,
                    Diagnostics* diagnostics);

// Reports an annotation that is unknown, unsupported, or does not belong where it stands.
enum class AnnotationPlace { Type, Field, Member, Result };
void checkAnnotations(const std::vector<Annotation>& annotations, AnnotationPlace place,
                      Diagnostics* diagnostics);

// Reports a name that the generated C++ code could not use.
enum class NamePlace { Type, Constant, Method, Field, UnionField, Enumerator, Argument };
void checkName(const Location& at, const std::string& name, NamePlace place,
               Diagnostics* diagnostics);

}  // namespace aidlc
