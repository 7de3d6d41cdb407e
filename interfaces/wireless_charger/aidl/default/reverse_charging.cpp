// SPDX-License-Identifier: Apache-2.0
// Reverse transmit: the phone charges another device.
#include "reverse_charging.h"

#include <android-base/logging.h>
#include <stdio.h>
#include <stdlib.h>

#include <string_view>

#include "WirelessCharger.h"
#include "protocol/reverselink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

enum RtxRequest : int32_t {
    RTX_SUPPORTED = 1,
    RTX_MODE = 2,
    RTX_ENABLE = 3,
    RTX_DISABLE = 4,
    RTX_CONNECTED = 5,
    RTX_READING_A = 6,
    RTX_READING_B = 7,
    RTX_PRMC = 8,
    RTX_DEVICE_LEVEL = 9,
    RTX_ERROR_TYPE = 10,
};

constexpr int8_t kRtxModeAvailable = 2;
constexpr uint8_t kLastErrorType = 5;
constexpr int8_t kErrorTypeOther = 15;

/** One request and its text, which ends inside the area whatever the library left there. */
class RtxExchange {
  public:
    explicit RtxExchange(RtxRequest type) : mOk(sendRtxRequest(type, &mAnswer) == 0) {
        mAnswer.text[sizeof(mAnswer.text) - 1] = '\0';
    }

    bool ok() const { return mOk; }
    const char* text() const { return mAnswer.text; }
    bool startsWith(std::string_view prefix) const {
        return mOk && std::string_view(text()).substr(0, prefix.size()) == prefix;
    }
    /** The decimal number the text begins with; 0 when there is none or the request failed. */
    int32_t number() const { return mOk ? atoi(text()) : 0; }

  private:
    RtxAnswer mAnswer{};
    const bool mOk;
};

int8_t reduceErrorType(int32_t number) {
    const auto low = static_cast<uint8_t>(number);
    return low <= kLastErrorType ? static_cast<int8_t>(low) : kErrorTypeOther;
}

}  // namespace

void getRtxInfoInternal(RtxStatusInfo& info) {
    const RtxExchange mode(RTX_MODE);
    info.mode = mode.startsWith("active")      ? kRtxModeActive
                : mode.startsWith("available") ? kRtxModeAvailable
                                               : 0;
    info.connected = RtxExchange(RTX_CONNECTED).startsWith("connected");
    info.readingA = RtxExchange(RTX_READING_A).number() / 1000;
    info.readingB = RtxExchange(RTX_READING_B).number() / 1000;

    const RtxExchange prmc(RTX_PRMC);
    if (unsigned int value = 0; !prmc.ok()) {
        info.prmc = 0;
    } else if (sscanf(prmc.text(), "%x", &value) == 1) {
        info.prmc = static_cast<int32_t>(value);
    }

    info.deviceLevel = RtxExchange(RTX_DEVICE_LEVEL).number();
    info.errorType = reduceErrorType(RtxExchange(RTX_ERROR_TYPE).number());
}

ScopedAStatus WirelessCharger::getRtxInformation(RtxStatusInfo* out) {
    getRtxInfoInternal(*out);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::isRtxModeOn(bool* out) {
    const RtxExchange mode(RTX_MODE);
    if (!mode.ok()) LOG(ERROR) << "Cannot get rTx status";
    *out = mode.startsWith("active");
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::isRtxSupported(bool* out) {
    *out = RtxExchange(RTX_SUPPORTED).ok();
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::setRtxMode(bool enable) {
    LOG(ERROR) << (enable ? "enable rtx mode" : "disable rtx mode");
    const RtxExchange exchange(enable ? RTX_ENABLE : RTX_DISABLE);
    return statusOf(exchange.ok() ? kNoError : ErrorCode::FAILED);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
