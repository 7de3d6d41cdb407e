// SPDX-License-Identifier: Apache-2.0
// The state report.
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <unistd.h>

#include "WirelessCharger.h"
#include "reverse_charging.h"

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr int8_t kRtxModeActive = 1;

// One write a line: a C library's dprintf makes several system calls of it. What cannot be written
// is left out, as whoever asked for the report has stopped reading it.
__attribute__((format(printf, 2, 3))) void print(int fd, const char* format, ...) {
    char line[128];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    for (int done = 0; done < length;) {
        const ssize_t count = write(fd, line + done, static_cast<size_t>(length - done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return;
        done += static_cast<int>(count);
    }
}

void dumpDevice(int fd, const RtxStatusInfo& rtx) {
    print(fd, "    prmc = 0x%x\n", static_cast<uint32_t>(rtx.prmc));
    print(fd, "    device level = %d\n", rtx.deviceLevel);
}

void dumpReverseCharging(int fd, const RtxStatusInfo& rtx) {
    if (rtx.mode != kRtxModeActive && rtx.errorType == 0) {
        print(fd, "  It is not working now\n");
        return;
    }
    print(fd, "  Reverse charging status:\n");
    if (rtx.connected) {
        dumpDevice(fd, rtx);
    } else if (rtx.errorType != 0) {
        print(fd, "    error type = %d\n", rtx.errorType);
    } else {
        print(fd, "    active but not connected\n");
    }
}

void dumpCharging(int fd, const DockPresent& dock, const PowerInfo& power) {
    print(fd, "  Charging status:\n");
    print(fd, "    id = 0x%x\n", static_cast<uint32_t>(dock.id));
    print(fd, "    GetInfoSupported = %c\n", dock.getInfoSupported ? 'Y' : 'N');
    print(fd, "    ptmc = 0x%x, product = %d\n", static_cast<uint32_t>(dock.ptmc), dock.product);
    print(fd, "    max power: %d, negotiated power: %d\n", power.maxPower, power.negotiatedPower);
    print(fd, "    limit reason: %d\n", power.limitReason);
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

    print(fd, "IWirelessCharger Service:\n");
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
    print(fd, "  Number of callback registered:\n");
    print(fd, "    RTx: %zu\n", rtxCallbacks.size());
    print(fd, "    Alignment: %zu\n", infoCallbacks.size());
    print(fd, "    Fan level: %zu\n", fanCallbacks.size());
    print(fd, "  Dump registered interfaces: [\n");
    dumpCallbacks(fd, args, numArgs, rtxCallbacks);
    dumpCallbacks(fd, args, numArgs, infoCallbacks);
    dumpCallbacks(fd, args, numArgs, fanCallbacks);
    print(fd, "  ]\n");
    return STATUS_OK;
}

}  // namespace aidl::vendor::zorvak::wireless_charger
