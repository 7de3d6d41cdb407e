// SPDX-License-Identifier: Apache-2.0
#include "WirelessCharger.h"

#include <android/binder_ibinder.h>

#include <cstddef>
#include <functional>

#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

FwUpdateData idleFwUpdate() {
    FwUpdateData data{};
    data.state = kFwStateIdle;
    return data;
}

}  // namespace

WirelessCharger::WirelessCharger()
    : mWirelessEvent(::android::sp<WirelessEvent>::make(
          std::bind(&WirelessCharger::rtxCallback, this, std::placeholders::_1),
          std::bind(&WirelessCharger::alignCallback, this, std::placeholders::_1),
          std::bind(&WirelessCharger::fanCallback, this, std::placeholders::_1),
          std::bind(&WirelessCharger::wlcCallback, this, std::placeholders::_1))),
      mFwUpdateData(idleFwUpdate()),
      mRtxDeathRecipient(AIBinder_DeathRecipient_new(onRtxCallbackDeath)),
      mInfoDeathRecipient(AIBinder_DeathRecipient_new(onInfoCallbackDeath)),
      mFanLevelDeathRecipient(AIBinder_DeathRecipient_new(onFanCallbackDeath)) {
    // The last step: from here on the handlers run.
    mWirelessEvent->startThread();
}

ErrorCode WirelessCharger::sendBidiWithoutLock(int32_t type, Request& request) {
    const size_t length = request.requestLength();
    return errorOfResult(sendBidiRequest(type, length == 0 ? nullptr : request.data(), length,
                                         request.data(), request.beginAnswer()));
}

ErrorCode WirelessCharger::sendBidiUnderLock(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return sendBidiWithoutLock(type, request);
}

ErrorCode WirelessCharger::sendPropUnderLock(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return errorOfResult(sendPropRequest(type, request.data(), request.requestLength(),
                                         request.data(), request.beginAnswer(), kPropTimeLimit));
}

ErrorCode WirelessCharger::sendWpcAuthUnderLock(uint32_t timeLimit, AuthPacket& packet) {
    std::lock_guard lock(mRequestLock);
    return errorOfResult(sendWpcAuthRequest(packet.get8(0), packet.data(), packet.requestLength(),
                                            packet.data(), packet.beginAnswer(), timeLimit));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
