// SPDX-License-Identifier: Apache-2.0
/* The thread that hears of hardware changes from kernel uevents. */
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/AlignInfo.h>
#include <aidl/vendor/zorvak/wireless_charger/RtxStatusInfo.h>
#include <android-base/unique_fd.h>
#include <utils/Looper.h>
#include <utils/StrongPointer.h>
#include <utils/Thread.h>

#include <cstdint>
#include <functional>
#include <string_view>

namespace aidl::vendor::zorvak::wireless_charger {

/** Something that a uevent asks for. */
enum class UeventStep {
    RTX,
    CHARGING_STATUS,
    CHARGING_OFF,
    ALIGN,
    FAN,
    /** A firmware-update line was passed over. */
    FW_UPDATE_SKIPPED,
};

/**
 * The rules of a uevent: calls step for each thing the message asks for, in order. The message is a
 * sequence of zero-terminated lines that ends at its end or at an empty line; it may hold anything.
 * Allocates nothing.
 */
void readUevent(std::string_view message, const std::function<void(UeventStep)>& step);

/**
 * Listens on the kernel's uevent socket and calls four handlers, one after the other, on its own
 * thread. Each handler gets a reference to a value that this object keeps from event to event.
 *
 * Once started it runs as long as the process, unless the socket cannot be opened; while it runs,
 * it holds a strong reference to itself.
 */
class WirelessEvent : public ::android::Thread {
  public:
    WirelessEvent(std::function<void(RtxStatusInfo&)> rtxHandler,
                  std::function<void(AlignInfo&)> alignHandler,
                  std::function<void(int&)> fanHandler, std::function<void(int&)> wlcHandler);

    /** Starts the thread; false when a handler is empty or the thread cannot be started. */
    bool startThread();

  private:
    /** Returns, with false, only when the socket cannot be opened. */
    bool threadLoop() override;

    /** Waits for one message and handles it; returns also when there was none. */
    void handleNextMessage();
    void runStep(UeventStep step);

    std::function<void(RtxStatusInfo&)> mRtxHandler;
    std::function<void(AlignInfo&)> mAlignHandler;
    std::function<void(int&)> mFanHandler;
    std::function<void(int&)> mWlcHandler;

    // The rest belongs to the thread.
    RtxStatusInfo mRtxStatus;
    AlignInfo mAlignInfo;
    int32_t mFanLevel = 0;
    ::android::sp<::android::Looper> mLooper;
    ::android::base::unique_fd mUeventFd;
};

}  // namespace aidl::vendor::zorvak::wireless_charger
