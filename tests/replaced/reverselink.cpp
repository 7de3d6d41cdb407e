// SPDX-License-Identifier: Apache-2.0
//
// A libreverselink.so that is not the virtual dock's.
#include <protocol/reverselink.h>

#include <cstdio>
#include <cstdlib>

int initRtxProto() {
    std::fputs("replaced initRtxProto\n", stderr);
    const char* result = std::getenv("REPLACED_REVERSELINK");
    return result == nullptr ? 0 : std::atoi(result);
}
