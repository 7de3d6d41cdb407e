// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string>

#include "ast.h"
#include "code_writer.h"

// Pieces that several kinds of generated file share.
namespace aidlc {

void writeBanner(CodeWriter* out);
// #include of each header, in angle brackets.
void includeAll(CodeWriter* out, std::initializer_list<const char*> headers);
// #includes of the headers of all used types, and forward declarations of their classes.
void includeUsedTypes(CodeWriter* out, const TypeDecl& type);
// A documentation comment as it stands in the source; nothing for an empty one.
void writeComment(CodeWriter* out, const std::string& comment);
void openNamespace(CodeWriter* out, const TypeDecl& type);
void closeNamespace(CodeWriter* out, const TypeDecl& type);
void writeConstants(CodeWriter* out, const TypeDecl& type);

}  // namespace aidlc
