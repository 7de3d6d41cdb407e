// SPDX-License-Identifier: Apache-2.0
/* What the tests of the service share: a service on the fake libraries, without an event thread. */
#pragma once

#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "WirelessCharger.h"
#include "fake_protocol.h"

namespace aidl::vendor::zorvak::wireless_charger {

using fake::Bytes;
using fake::hex;
using fake::protocol;
using fake::Sent;
using testing::ElementsAre;
using testing::IsEmpty;

/** 0 for success, the service-specific error, or -1 for an error of another kind. */
inline int errorOf(const ndk::ScopedAStatus& status) {
    if (status.isOk()) return 0;
    return status.getExceptionCode() == EX_SERVICE_SPECIFIC ? status.getServiceSpecificError() : -1;
}

/** The log while it exists, an entry "P text" a line: priority and message. */
class LogCapture {
  public:
    LogCapture() {
        std::lock_guard lock(sLock);
        sLines.clear();
        __android_log_set_logger([](const __android_log_message* message) {
            std::lock_guard captureLock(sLock);
            sLines.push_back(std::string(1, "??VDIWEF"[message->priority]) + " " +
                             message->message);
        });
        __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    }
    ~LogCapture() { __android_log_set_logger(__android_log_logd_logger); }

    /** The entries since the last call, without those of the event thread's start. */
    std::vector<std::string> take() {
        std::lock_guard lock(sLock);
        std::vector<std::string> lines = std::exchange(sLines, {});
        std::erase_if(lines, [](const std::string& line) {
            return line == "I WirelessEventThread started" ||
                   line == "E failed to open uevent socket";
        });
        return lines;
    }

  private:
    static inline std::mutex sLock;
    static inline std::vector<std::string> sLines;
};

class ChargerTest : public testing::Test {
  protected:
    ChargerTest() { fake::reset(); }

    /** The requests since the last call, as bytes. */
    std::vector<Bytes> takeRequests() {
        std::vector<Bytes> requests;
        for (const Sent& sent : std::exchange(protocol().sent, {}))
            requests.push_back(sent.request);
        return requests;
    }

    void shell(std::vector<const char*> args) {
        EXPECT_EQ(charger->handleShellCommand(-1, -1, -1, args.data(),
                                              static_cast<uint32_t>(args.size())),
                  STATUS_OK);
    }

    const std::shared_ptr<WirelessCharger> charger = ndk::SharedRefBase::make<WirelessCharger>();
};

}  // namespace aidl::vendor::zorvak::wireless_charger
