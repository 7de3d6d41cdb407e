// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/RtxStatusInfo.h>

#include <cstdint>

namespace aidl::vendor::zorvak::wireless_charger {

/** RtxStatusInfo.mode while the phone charges another device. */
inline constexpr int8_t kRtxModeActive = 1;

/**
 * Fills the record from seven requests to libreverselink, one after the other; a request that fails
 * sets its field to 0. Only prmc keeps its value, when the answer holds no number. From any thread.
 */
void getRtxInfoInternal(RtxStatusInfo& info);

}  // namespace aidl::vendor::zorvak::wireless_charger
