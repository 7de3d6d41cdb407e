// SPDX-License-Identifier: Apache-2.0
/* What becomes of a protocol result or an error of our own on its way to the client. */
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <android/binder_auto_utils.h>

#include <cstdint>

namespace aidl::vendor::zorvak::wireless_charger {

/** The service-specific error that stands for a protocol result; 0 for result 0. */
int32_t errorOfResult(uint32_t result);

/** A service-specific error; success for error 0. */
inline ndk::ScopedAStatus statusOfError(int32_t error) {
    return error == 0 ? ndk::ScopedAStatus::ok()
                      : ndk::ScopedAStatus::fromServiceSpecificError(error);
}

inline ndk::ScopedAStatus statusOfError(ErrorCode error) {
    return statusOfError(static_cast<int32_t>(error));
}

/** Success for result 0, else the service-specific error that stands for it. */
inline ndk::ScopedAStatus statusOfResult(uint32_t result) {
    return statusOfError(errorOfResult(result));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
