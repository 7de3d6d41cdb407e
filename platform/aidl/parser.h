// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "ast.h"
#include "diagnostics.h"

namespace aidlc {

// Reads one AIDL file. Null when there is nothing to go on with; what is wrong is in `diagnostics`,
// and a document that was read with errors is returned as far as it was understood. `text` need not
// outlive the call.
std::unique_ptr<Document> parse(const std::string& path, const std::string& text,
                                Diagnostics* diagnostics);

}  // namespace aidlc
