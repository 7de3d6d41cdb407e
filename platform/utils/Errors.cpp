// SPDX-License-Identifier: Apache-2.0
#include <string.h>
#include <utils/Errors.h>

namespace android {

std::string statusToString(status_t status) {
    switch (status) {
#define STATUS_NAME(code) \
    case code:            \
        return #code
        STATUS_NAME(OK);
        STATUS_NAME(UNKNOWN_ERROR);
        STATUS_NAME(NO_MEMORY);
        STATUS_NAME(INVALID_OPERATION);
        STATUS_NAME(BAD_VALUE);
        STATUS_NAME(BAD_TYPE);
        STATUS_NAME(NAME_NOT_FOUND);
        STATUS_NAME(PERMISSION_DENIED);
        STATUS_NAME(NO_INIT);
        STATUS_NAME(ALREADY_EXISTS);
        STATUS_NAME(DEAD_OBJECT);
        STATUS_NAME(FAILED_TRANSACTION);
        STATUS_NAME(BAD_INDEX);
        STATUS_NAME(NOT_ENOUGH_DATA);
        STATUS_NAME(WOULD_BLOCK);
        STATUS_NAME(TIMED_OUT);
        STATUS_NAME(UNKNOWN_TRANSACTION);
        STATUS_NAME(FDS_NOT_ALLOWED);
        STATUS_NAME(UNEXPECTED_NULL);
#undef STATUS_NAME
    }
    return std::to_string(status) + " (" + (status < 0 ? strerror(-status) : "positive") + ")";
}

}  // namespace android
