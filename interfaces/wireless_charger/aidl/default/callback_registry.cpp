// SPDX-License-Identifier: Apache-2.0
// Clients subscribe, unsubscribe and die.
#include "WirelessCharger.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

ScopedAStatus WirelessCharger::registerCallback(
    const std::shared_ptr<IWirelessChargerInfoCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback("registerCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mInfoCallbackLock);
    return addCallback(mInfoCallbacks, callback, mInfoDeathRecipient, this,
                       "Failed to link death of Align info callback");
}

ScopedAStatus WirelessCharger::registerRtxCallback(
    const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback("registerRtxCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mRtxCallbackLock);
    return addCallback(mRtxCallbacks, callback, mRtxDeathRecipient, this,
                       "Failed to link death of RTx callback");
}

ScopedAStatus WirelessCharger::registerFanLevelChangedCallback(
    const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback(
            "registerFanLevelChangedCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mFanLevelCallbackLock);
    return addCallback(mFanLevelCallbacks, callback, mFanLevelDeathRecipient, this,
                       "Failed to link death of Fan level callback");
}

ScopedAStatus WirelessCharger::unregisterCallback(
    const std::shared_ptr<IWirelessChargerInfoCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback("unregisterCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mInfoCallbackLock);
    removeCallback(mInfoCallbacks, *callback);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::unregisterRtxCallback(
    const std::shared_ptr<IWirelessChargerRtxStatusCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback("unregisterRtxCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mRtxCallbackLock);
    removeCallback(mRtxCallbacks, *callback);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::unregisterFanLevelChangedCallback(
    const std::shared_ptr<IWirelessChargerFanLevelChangedCallback>& callback) {
    if (callback == nullptr) {
        return refuseNullCallback(
            "IWirelessChargerFanLevelChangedCallback error!! Invalid nullptr callback");
    }
    std::lock_guard lock(mFanLevelCallbackLock);
    removeCallback(mFanLevelCallbacks, *callback);
    return ScopedAStatus::ok();
}

void WirelessCharger::onInfoCallbackDeath(void* cookie) {
    LOG(INFO) << "onInfoCallbackDeath";
    auto* self = static_cast<WirelessCharger*>(cookie);
    if (self == nullptr) return;
    std::lock_guard lock(self->mInfoCallbackLock);
    removeDeadCallbacks(self->mInfoCallbacks);
}

void WirelessCharger::onRtxCallbackDeath(void* cookie) {
    LOG(INFO) << "onRtxCallbackDeath";
    auto* self = static_cast<WirelessCharger*>(cookie);
    if (self == nullptr) return;
    std::lock_guard lock(self->mRtxCallbackLock);
    removeDeadCallbacks(self->mRtxCallbacks);
}

void WirelessCharger::onFanCallbackDeath(void* cookie) {
    LOG(INFO) << "onFanCallbackDeath";
    auto* self = static_cast<WirelessCharger*>(cookie);
    if (self == nullptr) return;
    std::lock_guard lock(self->mFanLevelCallbackLock);
    removeDeadCallbacks(self->mFanLevelCallbacks);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
