// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "diagnostics.h"
#include "io.h"

namespace aidlc {

// Compares the APIs that two folders of AIDL files hold. The first difference of each type is
// reported at its place in the new folder, or in the old one where the new has no such thing. True
// when there is none.
bool checkApiEqual(const std::string& oldFolder, const std::string& newFolder, Io* io,
                   Diagnostics* diagnostics);

}  // namespace aidlc
