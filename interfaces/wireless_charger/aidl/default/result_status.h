// SPDX-License-Identifier: Apache-2.0
/* The one error type of the service, and what becomes of it on its way to the client. */
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <android/binder_auto_utils.h>

#include <cstdint>

namespace aidl::vendor::zorvak::wireless_charger {

/** Success: ErrorCode itself names failures only. */
inline constexpr ErrorCode kNoError{};

/** The error that stands for a protocol result; kNoError for result 0. */
ErrorCode errorOfResult(uint32_t result);

/** What a client gets: success for kNoError, else a service-specific error. */
inline ndk::ScopedAStatus statusOf(ErrorCode error) {
    return error == kNoError
               ? ndk::ScopedAStatus::ok()
               : ndk::ScopedAStatus::fromServiceSpecificError(static_cast<int32_t>(error));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
