// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "exchange_server.h"
#include "virtual_dock.h"

namespace virtual_dock {

// One connection to the control socket. Used by the server's thread only.
class ControlClient {
  public:
    static constexpr size_t kMaxLine = 64 * 1024;
    static constexpr size_t kMaxBuffered = 256 * 1024;  // replies waiting, before the last one

    // Takes the descriptor, which must not block. `exchanges` serves those who ask for exchanges;
    // null: nobody does.
    ControlClient(int fd, VirtualDock* dock, const ExchangeServer* exchanges);
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    int descriptor() const { return mFd.get(); }

    // What poll is to wait for. A client whose replies are not read yet is not read from.
    short wantedEvents() const;

    // Reads what has come, carries out whole lines, writes what can be written.
    void handle(short events);

    // Adds the log entries that the client still wants, as far as its buffer takes them.
    void sendLog();

    // When it came or sent its last whole line.
    std::chrono::steady_clock::time_point lastActive() const { return mLastActive; }

    bool follows() const { return mLogState == LogState::kFollow; }
    bool finished() const { return mFinished; }

    // Whether it asked for exchanges, which somebody else serves from then on; where its process
    // gets uevents. releaseDescriptor gives the connection away, and this client is finished.
    const std::optional<std::string>& wantsExchanges() const { return mExchangeUevents; }
    android::base::unique_fd releaseDescriptor();

  private:
    enum class LogState : uint8_t { kNone, kUntil, kFollow };

    void readInput();
    void runLines();
    void runLine(std::string_view line);
    void reply(std::string_view text);
    void writeOutput();

    void openExchanges(std::string_view line);

    android::base::unique_fd mFd;
    VirtualDock* const mDock;
    const ExchangeServer* const mExchanges;
    std::optional<std::string> mExchangeUevents;
    std::string mInput;
    std::string mOutput;
    LogState mLogState = LogState::kNone;
    uint64_t mNextEntry = 0;
    uint64_t mLastEntry = 0;  // kUntil
    std::chrono::steady_clock::time_point mLastActive = std::chrono::steady_clock::now();
    bool mInputEnded = false;
    bool mFinished = false;
};

}  // namespace virtual_dock
