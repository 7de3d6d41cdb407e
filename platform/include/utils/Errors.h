// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>
#include <stdint.h>

// The status codes of Android's libutils, as far as this platform layer returns them.

namespace android {

typedef int32_t status_t;

enum {
    OK = 0,
    UNKNOWN_ERROR = INT32_MIN,
    INVALID_OPERATION = -ENOSYS,
};

}  // namespace android
