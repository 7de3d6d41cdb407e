// SPDX-License-Identifier: Apache-2.0
#include "wireless_event.h"

#include <android-base/logging.h>
#include <cutils/uevent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/types.h>
#include <utils/Errors.h>

#include <utility>

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr int kSocketBufferSize = 64 * 1024;
constexpr int kMessageSize = 2048;  // one of this size or more is dropped
constexpr int kQuietMillis = 5 * 60 * 1000;

constexpr std::string_view kFwUpdate = "SOURCE=FWUPDATE";
constexpr std::string_view kBattery = "DRIVER=zorvak,battery";
// A line of these makes something happen. One that holds two counts as the first of them.
constexpr std::string_view kDrivers[] = {"DRIVER=zorvak_wlc", "DRIVER=p9221", kBattery};

bool contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

/** The first of the drivers that the text names; empty for none. */
std::string_view driverIn(std::string_view text) {
    for (const std::string_view driver : kDrivers) {
        if (contains(text, driver)) return driver;
    }
    return {};
}

}  // namespace

void readUevent(std::string_view message, const std::function<void(UeventStep)>& step) {
    // Most messages are foreign: nothing can come of them.
    if (driverIn(message).empty() && !contains(message, kFwUpdate)) return;
    enum { NONE, RTX, WLC, FAN } source = NONE;
    bool chargingOff = false;

    auto dispatch = [&] {
        if (source == NONE || source == RTX) step(UeventStep::RTX);
        if (source == NONE || source == WLC) {
            step(chargingOff ? UeventStep::CHARGING_OFF : UeventStep::CHARGING_STATUS);
            step(UeventStep::ALIGN);
        }
        chargingOff = false;
        if (source == NONE || source == FAN) step(UeventStep::FAN);
    };

    while (!message.empty()) {
        const std::string_view line = message.substr(0, message.find('\0'));
        if (line.empty()) return;
        message.remove_prefix(line.size());
        if (!message.empty()) message.remove_prefix(1);

        bool skipped = false;
        if (contains(line, "SOURCE=")) {
            if (contains(line, "SOURCE=WLC_OFF")) chargingOff = true;
            if (contains(line, "SOURCE=WLC")) {
                source = WLC;
            } else if (contains(line, "SOURCE=FAN")) {
                source = FAN;
            } else if (contains(line, "SOURCE=RTX")) {
                source = RTX;
            }
            if (contains(line, kFwUpdate)) {
                step(UeventStep::FW_UPDATE_SKIPPED);
                skipped = true;
            }
        }
        const std::string_view driver = skipped ? std::string_view() : driverIn(line);
        if (driver == kBattery) {
            chargingOff = false;
            step(UeventStep::FAN);
            source = FAN;
        } else if (!driver.empty()) {
            dispatch();
        }
    }
}

WirelessEvent::WirelessEvent(std::function<void(RtxStatusInfo&)> rtxHandler,
                             std::function<void(AlignInfo&)> alignHandler,
                             std::function<void(int&)> fanHandler,
                             std::function<void(int&)> wlcHandler)
    : Thread(/*canCallJava=*/false),
      mRtxHandler(std::move(rtxHandler)),
      mAlignHandler(std::move(alignHandler)),
      mFanHandler(std::move(fanHandler)),
      mWlcHandler(std::move(wlcHandler)),
      mLooper(::android::sp<::android::Looper>::make(/*allowNonCallbacks=*/true)) {}

bool WirelessEvent::startThread() {
    if (!mRtxHandler || !mAlignHandler || !mFanHandler || !mWlcHandler) return false;
    if (run("UeventThread", ::android::PRIORITY_HIGHEST, 0) != ::android::OK) {
        LOG(ERROR) << "WirelessEventThread start failed";
        return false;
    }
    LOG(INFO) << "WirelessEventThread started";
    return true;
}

bool WirelessEvent::threadLoop() {
    LOG(VERBOSE) << "WirelessEvent polling...";
    mUeventFd.reset(uevent_open_socket(kSocketBufferSize, /*passcred=*/true));
    if (mUeventFd.get() < 0) {
        LOG(ERROR) << "failed to open uevent socket";
        return false;
    }
    fcntl(mUeventFd.get(), F_SETFL, O_NONBLOCK);
    while (true) handleNextMessage();
}

void WirelessEvent::handleNextMessage() {
    char buffer[kMessageSize + 2] = {};

    mLooper->addFd(mUeventFd.get(), 0, ::android::Looper::EVENT_INPUT, nullptr, nullptr);
    int firedFd = -1;
    const int ident = mLooper->pollOnce(kQuietMillis, &firedFd, nullptr, nullptr);
    if (ident >= 0 && firedFd != mUeventFd.get()) return;

    errno = 0;
    const ssize_t length = uevent_kernel_multicast_recv(mUeventFd.get(), buffer, kMessageSize);
    if (length <= 0) {
        if (errno != EAGAIN) LOG(ERROR) << "Error reading from Uevent Fd";
        return;
    }
    if (length >= kMessageSize) {
        LOG(ERROR) << "Uevent overflowed buffer, discarding";
        return;
    }
    readUevent({buffer, static_cast<size_t>(length)}, [this](UeventStep step) { runStep(step); });
}

void WirelessEvent::runStep(UeventStep step) {
    switch (step) {
        case UeventStep::RTX:
            mRtxHandler(mRtxStatus);
            break;
        case UeventStep::CHARGING_STATUS:
        case UeventStep::CHARGING_OFF: {
            int chargingOff = step == UeventStep::CHARGING_OFF ? 1 : 0;
            mWlcHandler(chargingOff);
            break;
        }
        case UeventStep::ALIGN:
            mAlignHandler(mAlignInfo);
            break;
        case UeventStep::FAN:
            mFanHandler(mFanLevel);
            break;
        case UeventStep::FW_UPDATE_SKIPPED:
            LOG(DEBUG) << "skip fw update event";
            break;
    }
}

}  // namespace aidl::vendor::zorvak::wireless_charger
