// SPDX-License-Identifier: Apache-2.0
#include "WirelessCharger.h"

#include <functional>

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

uint32_t WirelessCharger::sendBidi(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return request.sendBidi(type);
}

uint32_t WirelessCharger::sendProp(int32_t type, Request& request) {
    std::lock_guard lock(mRequestLock);
    return request.sendProp(type);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
