// SPDX-License-Identifier: Apache-2.0
// Shell commands: the arguments are the input's zero-terminated strings.
#include <string>
#include <vector>

#include "charger_under_fuzz.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    WirelessCharger& charger = chargerUnderFuzz();
    // The EDS test would go on for thousands of passes; it ends at the first failure.
    fake::answerAll({.result = 1});
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<const char*> args;
    for (size_t at = 0; at < text.size(); at = text.find('\0', at) + 1) {
        args.push_back(text.c_str() + at);
        if (text.find('\0', at) == std::string::npos) break;
    }
    if (charger.handleShellCommand(-1, -1, -1, args.data(), static_cast<uint32_t>(args.size())) !=
        STATUS_OK) {
        __builtin_trap();
    }
    if (fake::protocol().sent.size() > 1) __builtin_trap();
    return 0;
}
