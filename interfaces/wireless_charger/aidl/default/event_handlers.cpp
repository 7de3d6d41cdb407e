// SPDX-License-Identifier: Apache-2.0
// What a hardware event changes, and whom it is told to.
#include <android-base/logging.h>
#include <android-base/properties.h>

#include "WirelessCharger.h"
#include "result_status.h"
#include "reverse_charging.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr int8_t kAlignmentOff = 3;

}  // namespace

void WirelessCharger::rtxCallback(RtxStatusInfo& info) {
    getRtxInfoInternal(info);
    notifyAll(rtxSubscribers(), "StatusChanged",
              [&](auto& callback) { return callback.statusChanged(info); });
}

void WirelessCharger::alignCallback(AlignInfo& info) {
    {
        std::lock_guard lock(mInfoCallbackLock);
        const ErrorCode error = readAlignment(info);
        // No alignment now is worth telling, unlike a failure.
        if (error != kNoError && error != ErrorCode::UNAVAILABLE) {
            LOG(ERROR) << "Failed to get alignment info";
            return;
        }
        if (mWlcOffPending == 1) {
            info.status = kAlignmentOff;
            mWlcOffPending = 0;
        }
    }
    notifyAll(infoSubscribers(), "AlignChanged",
              [&](auto& callback) { return callback.alignChanged(info); });
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
    notifyAll(fanSubscribers(), "FanLevelChanged",
              [&](auto& callback) { return callback.fanLevelChanged(level); });
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
