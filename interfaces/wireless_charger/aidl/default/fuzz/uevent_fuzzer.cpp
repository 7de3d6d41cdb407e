// SPDX-License-Identifier: Apache-2.0
// Kernel messages: each step needs a driver line or a firmware-update line of its own.
#include <algorithm>
#include <string_view>

#include "wireless_event.h"

using namespace aidl::vendor::zorvak::wireless_charger;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view message(reinterpret_cast<const char*>(data), size);
    size_t steps = 0;
    readUevent(message, [&](UeventStep) { steps++; });
    // A line that counts holds at least 12 bytes and makes at most 4 steps.
    if (steps > size / 12 * 4) __builtin_trap();
    return 0;
}
