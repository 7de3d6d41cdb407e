// SPDX-License-Identifier: Apache-2.0
// The state report.
#include <stdio.h>

#include "WirelessCharger.h"
#include "reverse_charging.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

void dumpDevice(int fd, const RtxStatusInfo& rtx) {
    dprintf(fd, "    prmc = 0x%x\n", static_cast<uint32_t>(rtx.prmc));
    dprintf(fd, "    device level = %d\n", rtx.deviceLevel);
}

void dumpReverseCharging(int fd, const RtxStatusInfo& rtx) {
    if (rtx.mode != kRtxModeActive && rtx.errorType == 0) {
        dprintf(fd, "  It is not working now\n");
        return;
    }
    dprintf(fd, "  Reverse charging status:\n");
    if (rtx.connected) {
        dumpDevice(fd, rtx);
    } else if (rtx.errorType != 0) {
        dprintf(fd, "    error type = %d\n", rtx.errorType);
    } else {
        dprintf(fd, "    active but not connected\n");
    }
}

void dumpCharging(int fd, const DockPresent& dock, const PowerInfo& power) {
    dprintf(fd, "  Charging status:\n");
    dprintf(fd, "    id = 0x%x\n", static_cast<uint32_t>(dock.id));
    dprintf(fd, "    GetInfoSupported = %c\n", dock.getInfoSupported ? 'Y' : 'N');
    dprintf(fd, "    ptmc = 0x%x, product = %d\n", static_cast<uint32_t>(dock.ptmc), dock.product);
    dprintf(fd, "    max power: %d, negotiated power: %d\n", power.maxPower, power.negotiatedPower);
    dprintf(fd, "    limit reason: %d\n", power.limitReason);
}

template <typename Callback>
void dumpCallbacks(int fd, const char** args, uint32_t numArgs,
                   const CallbackList<Callback>& callbacks) {
    for (const auto& callback : callbacks) callback->dump(fd, args, numArgs);
}

}  // namespace

binder_status_t WirelessCharger::dump(int fd, const char** args, uint32_t numArgs) {
    DockPresent dock;
    const bool presenceKnown = isDockPresent(&dock).isOk();
    RtxStatusInfo rtx;
    getRtxInfoInternal(rtx);

    dprintf(fd, "IWirelessCharger Service:\n");
    if (presenceKnown && dock.docked && rtx.mode != kRtxModeActive) {
        PowerInfo power;
        getPowerInformation(&power);
        dumpCharging(fd, dock, power);
    } else {
        dumpReverseCharging(fd, rtx);
    }

    CallbackList<IWirelessChargerRtxStatusCallback> rtxCallbacks;
    CallbackList<IWirelessChargerInfoCallback> infoCallbacks;
    CallbackList<IWirelessChargerFanLevelChangedCallback> fanCallbacks;
    {
        std::lock_guard rtxLock(mRtxCallbackLock);
        std::lock_guard infoLock(mInfoCallbackLock);
        std::lock_guard fanLock(mFanLevelCallbackLock);
        rtxCallbacks = mRtxCallbacks;
        infoCallbacks = mInfoCallbacks;
        fanCallbacks = mFanLevelCallbacks;
    }
    dprintf(fd, "  Number of callback registered:\n");
    dprintf(fd, "    RTx: %zu\n", rtxCallbacks.size());
    dprintf(fd, "    Alignment: %zu\n", infoCallbacks.size());
    dprintf(fd, "    Fan level: %zu\n", fanCallbacks.size());
    dprintf(fd, "  Dump registered interfaces: [\n");
    dumpCallbacks(fd, args, numArgs, rtxCallbacks);
    dumpCallbacks(fd, args, numArgs, infoCallbacks);
    dumpCallbacks(fd, args, numArgs, fanCallbacks);
    dprintf(fd, "  ]\n");
    return STATUS_OK;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
