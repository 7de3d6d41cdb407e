// SPDX-License-Identifier: Apache-2.0
#include "diagnostics.h"

#include <utility>

namespace aidlc {

void Diagnostics::error(const Location& at, const std::string& message) {
    add(*at.file + ':' + std::to_string(at.line) + ':' + std::to_string(at.column) +
        ": error: " + message);
}

void Diagnostics::error(const std::string& message) {
    add("aidl: error: " + message);
}

void Diagnostics::add(std::string line) {
    if (mErrors.size() < kMaxErrors) {
        mErrors.push_back(std::move(line));
    } else if (mErrors.size() == kMaxErrors) {
        mErrors.push_back("aidl: error: too many errors; the rest is not shown");
    }
}

}  // namespace aidlc
