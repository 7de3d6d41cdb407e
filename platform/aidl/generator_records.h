// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ast.h"

namespace aidlc {

// Of a parcelable or a union.
std::string recordHeader(const TypeDecl& type);
std::string recordSource(const TypeDecl& type);

}  // namespace aidlc
