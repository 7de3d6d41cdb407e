// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <errno.h>
#include <stdint.h>

// The status codes of Android's libutils. Most are negative errno values.

namespace android {

typedef int32_t status_t;

enum {
    OK = 0,
    NO_ERROR = OK,

    UNKNOWN_ERROR = (-2147483647 - 1),

    NO_MEMORY = -ENOMEM,
    INVALID_OPERATION = -ENOSYS,
    BAD_VALUE = -EINVAL,
    BAD_TYPE = (UNKNOWN_ERROR + 1),
    NAME_NOT_FOUND = -ENOENT,
    PERMISSION_DENIED = -EPERM,
    NO_INIT = -ENODEV,
    ALREADY_EXISTS = -EEXIST,
    DEAD_OBJECT = -EPIPE,
    FAILED_TRANSACTION = (UNKNOWN_ERROR + 2),
    BAD_INDEX = -EOVERFLOW,
    NOT_ENOUGH_DATA = -ENODATA,
    WOULD_BLOCK = -EWOULDBLOCK,
    TIMED_OUT = -ETIMEDOUT,
    UNKNOWN_TRANSACTION = -EBADMSG,
    FDS_NOT_ALLOWED = (UNKNOWN_ERROR + 7),
    UNEXPECTED_NULL = (UNKNOWN_ERROR + 8),
};

}  // namespace android
