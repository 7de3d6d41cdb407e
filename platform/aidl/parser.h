// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "ast.h"
#include "diagnostics.h"

namespace aidlc {

// Reads one AIDL file up to its first error, which goes to `diagnostics`; then null. `text` need
// not outlive the call.
std::unique_ptr<Document> parse(const std::string& path, const std::string& text,
                                Diagnostics* diagnostics);

}  // namespace aidlc
