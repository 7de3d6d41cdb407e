// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "diagnostics.h"

namespace aidlc {

// What a name stands for in the generated C++ code, which decides what it may clash with.
enum class NameKind { Type, Constant, Method, Field, UnionField, Other };

// Reports a name that the generated code cannot use.
void checkName(const Location& at, const std::string& name, NameKind kind,
               Diagnostics* diagnostics);

}  // namespace aidlc
