// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "ast.h"
#include "code_writer.h"

namespace aidlc {

std::string enumHeader(const TypeDecl& type);
std::string enumSource(const TypeDecl& type);

// toString and enum_values of the enum `name` of the package of `type`; `values` are the names of
// its values, `distinct` those of them that differ in their number from all before.
void writeEnumTools(CodeWriter* out, const TypeDecl& type, const std::string& name,
                    const std::string& backing, const std::vector<std::string>& values,
                    const std::vector<std::string>& distinct);

}  // namespace aidlc
