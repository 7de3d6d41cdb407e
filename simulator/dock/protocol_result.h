// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

// The outcomes of a request, by the numbers that the charging protocol uses for them.
namespace virtual_dock {

enum Result : uint32_t {
    kOk = 0,
    kMalformedPacket = 1,
    kUnexpectedAnswer = 2,
    kInvalidArgument = 3,
    kSendFailed = 4,
    kFailed = 5,
    kUnavailable = 6,  // no dock is there, or it has no such value
    kTimedOut = 7,
    kAlreadyDone = 8,
    kRefused = 9,  // not in the present state
    kInternalError = 10,
    kReceiveFailed = 11,
    kBusy = 12,
    kUnsupported = 13,
};

}  // namespace virtual_dock
