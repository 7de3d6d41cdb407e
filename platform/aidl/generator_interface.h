// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ast.h"
#include "generator.h"

namespace aidlc {

// IFoo.h, BnFoo.h and BpFoo.h.
std::string interfaceHeader(const TypeDecl& type, const InterfaceVersion& version);
std::string nativeHeader(const TypeDecl& type, const InterfaceVersion& version);
std::string proxyHeader(const TypeDecl& type, const InterfaceVersion& version);
// IFoo.cpp, with all three classes.
std::string interfaceSource(const TypeDecl& type, const InterfaceVersion& version);

}  // namespace aidlc
