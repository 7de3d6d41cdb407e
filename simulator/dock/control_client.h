// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "virtual_dock.h"

namespace virtual_dock {

// One connection to the control socket. Used by the server's thread only.
class ControlClient {
  public:
    static constexpr size_t kMaxLine = 64 * 1024;
    static constexpr size_t kMaxBuffered = 256 * 1024;  // replies waiting, before the last one

    // Takes the descriptor, which must not block.
    ControlClient(int fd, VirtualDock* dock);
    ~ControlClient();
    ControlClient(const ControlClient&) = delete;
    ControlClient& operator=(const ControlClient&) = delete;

    int descriptor() const { return mFd; }

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

  private:
    enum class LogState : uint8_t { kNone, kUntil, kFollow };

    void readInput();
    void runLines();
    void runLine(std::string_view line);
    void reply(std::string_view text);
    void writeOutput();

    const int mFd;
    VirtualDock* const mDock;
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
