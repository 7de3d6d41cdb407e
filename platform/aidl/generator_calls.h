// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ast.h"
#include "code_writer.h"

// The two ends of a call: proxy methods and the dispatcher.
namespace aidlc {

// "name(parameters)" as declared; `className` is put in front for a definition.
std::string methodSignature(const Method& method, const std::string& className);

// The definitions of all methods of the proxy; with those for version and hash if `hasVersion`.
void writeProxyMethods(CodeWriter* out, const TypeDecl& type, bool hasVersion);

// The function that unpacks calls to objects of this process, called `name`.
void writeDispatcher(CodeWriter* out, const TypeDecl& type, const std::string& name,
                     bool hasVersion);

}  // namespace aidlc
