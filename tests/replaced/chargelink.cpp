// SPDX-License-Identifier: Apache-2.0
//
// A libchargelink.so that is not the virtual dock's. Of what the service may ask only the fan level
// has an answer; the service is not asked for anything else.
#include <protocol/chargelink.h>

#include <cstdio>
#include <cstdlib>

int initWlcProto() {
    std::fputs("replaced initWlcProto\n", stderr);
    const char* result = std::getenv("REPLACED_CHARGELINK");
    return result == nullptr ? 0 : std::atoi(result);
}

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    *value = 1000 + static_cast<uint32_t>(selector);
    return 0;
}
