// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ast.h"
#include "code_writer.h"

// The parts of a union's class that differ from a parcelable's.
namespace aidlc {

// "std::variant<…>" of the members' types.
std::string variantType(const TypeDecl& type);
void unionMembers(CodeWriter* out, const TypeDecl& type);
// toString and enum_values of the tag.
void writeTagTools(CodeWriter* out, const TypeDecl& type);

// Bodies of readFromParcel, writeToParcel and toString.
void writeUnionRead(CodeWriter* out, const TypeDecl& type);
void writeUnionWrite(CodeWriter* out, const TypeDecl& type);
void writeUnionToString(CodeWriter* out, const TypeDecl& type);

}  // namespace aidlc
