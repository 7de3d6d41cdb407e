// SPDX-License-Identifier: Apache-2.0
// The dock's fans.

#include <cstddef>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

constexpr int32_t kBidiFan = 12;
constexpr int32_t kSelectorFanLevel = 6;
constexpr int8_t kFanCount = 8;

// Request: the command byte, the fan with what is wanted of it, and for MANUAL the level (16 bits).
constexpr uint8_t kFanCommand = 0x0F;
constexpr uint8_t kFanQuery = 0xF8;
constexpr uint8_t kFanManual = 0x08;

// Answer.
constexpr size_t kFanStatusAt = 1;  // 0: valid
constexpr size_t kFanLevelAt = 2;   // 16 bits each
constexpr size_t kFanValue1At = 4;
constexpr size_t kFanValue2At = 6;
constexpr size_t kFanValue3At = 8;

}  // namespace

ScopedAStatus WirelessCharger::getFanInfo(int8_t fan, FanInfo* out) {
    if (fan >= kFanCount) return statusOf(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.put8(kFanCommand);
    request.put8(static_cast<uint8_t>(fan) | kFanQuery);
    const ErrorCode error = sendBidiUnderLock(kBidiFan, request);
    if (error != kNoError) return statusOf(error);
    out->valid = request.get8(kFanStatusAt) == 0;
    out->level = request.get16(kFanLevelAt);
    out->fanValue1 = request.get16(kFanValue1At);
    out->fanValue2 = request.get16(kFanValue2At);
    out->fanValue3 = request.get16(kFanValue3At);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::setFan(int8_t fan, FanMode mode, char16_t level, FanInfo* out) {
    if (fan >= kFanCount) return statusOf(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.put8(kFanCommand);
    switch (mode) {
        case FanMode::AUTO:
            request.put8(static_cast<uint8_t>(fan));
            break;
        case FanMode::MANUAL:
            request.put8(static_cast<uint8_t>(fan) | kFanManual);
            request.put16(level);
            break;
        default:
            request.put8(0);
            break;
    }
    const ErrorCode error = sendBidiUnderLock(kBidiFan, request);
    if (error != kNoError) return statusOf(error);
    out->valid = request.get8(kFanStatusAt) == 0;
    out->level = request.get16(kFanLevelAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getFanLevel(int32_t* out) {
    uint32_t value = 0;
    const ErrorCode error = errorOfResult(getWlcInfo(kSelectorFanLevel, &value));
    *out = error == kNoError ? static_cast<int32_t>(value) : -1;
    return statusOf(error);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
