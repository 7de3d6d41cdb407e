// SPDX-License-Identifier: Apache-2.0
#include "WirelessCharger.h"

#include <functional>

#include "protocol/chargelink.h"

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

uint32_t WirelessCharger::sendBidiWithoutLock(int32_t type, Request& request) {
    const size_t length = request.requestLength();
    return sendBidiRequest(type, length == 0 ? nullptr : request.data(), length, request.data(),
                           request.beginAnswer());
}

uint32_t WirelessCharger::sendBidiUnderLock(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return sendBidiWithoutLock(type, request);
}

uint32_t WirelessCharger::sendPropUnderLock(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return sendPropRequest(type, request.data(), request.requestLength(), request.data(),
                           request.beginAnswer(), kPropTimeLimit);
}

uint32_t WirelessCharger::sendWpcAuthUnderLock(uint32_t timeLimit, AuthPacket& packet) {
    std::lock_guard lock(mRequestLock);
    return sendWpcAuthRequest(packet.get8(0), packet.data(), packet.requestLength(), packet.data(),
                              packet.beginAnswer(), timeLimit);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
