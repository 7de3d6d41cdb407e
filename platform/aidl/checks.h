// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "diagnostics.h"
#include "type_table.h"

namespace aidlc {

// Gives names their meaning, checks every document against the language and against what this
// compiler supports, and fills in what needs evaluation: array sizes, backing types, enum numbers,
// values of constants and defaults. Only a table without errors may be generated from or dumped.
void checkDocuments(TypeTable* types, Diagnostics* diagnostics);

}  // namespace aidlc
