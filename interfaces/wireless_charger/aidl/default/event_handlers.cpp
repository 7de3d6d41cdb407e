// SPDX-License-Identifier: Apache-2.0
// What a hardware event changes, and whom it is told to.
#include <android-base/logging.h>
#include <android-base/properties.h>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "reverse_charging.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr uint8_t kAlignmentOff = 3;
// The charger has no alignment now: worth telling, unlike a failure.
constexpr uint32_t kResultUnavailable = 6;

}  // namespace

void WirelessCharger::rtxCallback(RtxStatusInfo& info) {
    getRtxInfoInternal(info);
    CallbackList<IWirelessChargerRtxStatusCallback> callbacks;
    {
        std::lock_guard lock(mRtxCallbackLock);
        callbacks = mRtxCallbacks;
    }
    const auto failed = callEach(callbacks, "StatusChanged",
                                 [&](auto& callback) { return callback.statusChanged(info); });
    std::lock_guard lock(mRtxCallbackLock);
    removeEntries(mRtxCallbacks, failed);
}

void WirelessCharger::alignCallback(AlignInfo& info) {
    CallbackList<IWirelessChargerInfoCallback> callbacks;
    {
        std::lock_guard lock(mInfoCallbackLock);
        uint8_t status = 0;
        const uint32_t result = getWLCAlignment(
            &status, reinterpret_cast<uint8_t*>(&info.subStatus), &info.value1, &info.value2);
        info.status = static_cast<int8_t>(std::min(status, kAlignmentOff));
        if (result != 0 && result != kResultUnavailable) {
            LOG(ERROR) << "Failed to get alignment info";
            return;
        }
        if (mWlcOffPending == 1) {
            info.status = kAlignmentOff;
            mWlcOffPending = 0;
        }
        callbacks = mInfoCallbacks;
    }
    const auto failed = callEach(callbacks, "AlignChanged",
                                 [&](auto& callback) { return callback.alignChanged(info); });
    std::lock_guard lock(mInfoCallbackLock);
    removeEntries(mInfoCallbacks, failed);
}

void WirelessCharger::fanCallback(int& level) {
    int32_t value = 0;
    if (ndk::ScopedAStatus status = getFanLevel(&value); !status.isOk()) {
        if (status.getServiceSpecificError() != static_cast<int32_t>(ErrorCode::UNAVAILABLE)) {
            LOG(ERROR) << "Failed to get FanLevel";
        }
        return;
    }
    level = value;
    CallbackList<IWirelessChargerFanLevelChangedCallback> callbacks;
    {
        std::lock_guard lock(mFanLevelCallbackLock);
        callbacks = mFanLevelCallbacks;
    }
    const auto failed = callEach(callbacks, "FanLevelChanged",
                                 [&](auto& callback) { return callback.fanLevelChanged(level); });
    std::lock_guard lock(mFanLevelCallbackLock);
    removeEntries(mFanLevelCallbacks, failed);
}

void WirelessCharger::wlcCallback(int& chargingOff) {
    if (chargingOff == 0) {
        ::android::base::SetProperty("vendor.wlcservice.start", "1");
        return;
    }
    mWlcOffPending = 1;
    {
        std::lock_guard lock(mDockInfoLock);
        mDockInfo = DockInfo();
    }
    std::lock_guard lock(mFwUpdateLock);
    if (mFwUpdateData.state == kFwStateIdle) return;
    mFwUpdateData.result = 0;
    mFwUpdateData.state = kFwStateIdle;
    uploadFwUpdate();
    mFwUpdateData.dockId = 0;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
