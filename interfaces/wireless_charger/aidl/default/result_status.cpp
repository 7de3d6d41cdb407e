// SPDX-License-Identifier: Apache-2.0
#include "result_status.h"

#include <iterator>

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr ErrorCode RESULT_TO_STATUS[] = {
    /*  1 */ ErrorCode::INVALID_RESPONSE,
    /*  2 */ ErrorCode::INVALID_RESPONSE,
    /*  3 */ ErrorCode::INVALID_ARGUMENT,
    /*  4 */ ErrorCode::IO_ERROR,
    /*  5 */ ErrorCode::FAILED,
    /*  6 */ ErrorCode::UNAVAILABLE,
    /*  7 */ ErrorCode::TIMED_OUT,
    /*  8 */ ErrorCode::ALREADY_EXISTS,
    /*  9 */ ErrorCode::REFUSED,
    /* 10 */ ErrorCode::FAILED,
    /* 11 */ ErrorCode::IO_ERROR,
    /* 12 */ ErrorCode::BUSY,
    /* 13 */ ErrorCode::UNSUPPORTED,
};
static_assert(std::size(RESULT_TO_STATUS) == 13);

}  // namespace

ErrorCode errorOfResult(uint32_t result) {
    if (result == 0) return kNoError;
    return result <= std::size(RESULT_TO_STATUS) ? RESULT_TO_STATUS[result - 1] : ErrorCode::FAILED;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
