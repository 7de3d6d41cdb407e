// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "context.h"
#include "failure.h"
#include "lock_annotations.h"
#include "progress_line.h"
#include "signals.h"

namespace wlc {

// Shows the progress of a long job, and that it is alive while the dock is silent: a bar on a
// terminal, plain lines elsewhere, one object per line in JSON mode. Also handles Ctrl-C. One
// thread works and reports; a thread owned by this object shows the passing time.
class Progress {
  public:
    explicit Progress(const Context& context);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // What Ctrl-C means from now on, and how to continue after it: the message of the Failure.
    void onInterrupt(std::string text) EXCLUDES(mLock);

    // Begins a phase, whose own 0 to 100 % is shown as `from` to `to` percent of the whole. The
    // percentage shown never decreases.
    void phase(const std::string& name, int from, int to) EXCLUDES(mLock);
    // Progress within the phase, in percent or in bytes.
    void at(int percentOfPhase) EXCLUDES(mLock);
    void atBytes(uint64_t done, uint64_t total) EXCLUDES(mLock);

    // Waits; Ctrl-C ends the wait and throws as throwIfInterrupted() does.
    void pause(std::chrono::milliseconds time) EXCLUDES(mLock);

    // Throws Failure INTERRUPTED after Ctrl-C. Cheap. If the job does not call this within two
    // seconds, because the dock does not answer, the process exits with the same message.
    void throwIfInterrupted() EXCLUDES(mLock);

    // Stops the display and ends the line on the terminal.
    void finish() EXCLUDES(mLock);

  private:
    using Clock = std::chrono::steady_clock;

    void tick();
    void show(bool alive) REQUIRES(mLock);
    Failure interrupted() REQUIRES(mLock);
    ProgressState state(int waiting) REQUIRES(mLock);
    Json object(int waiting) REQUIRES(mLock);
    double bytesPerSecond() REQUIRES(mLock);

    const Context& mContext;
    const bool mTerminal;
    Signals mSignals;
    std::atomic<bool> mInterrupted{false};
    std::mutex mLock;
    std::string mInterruptedText GUARDED_BY(mLock) = "interrupted";
    std::string mPhase GUARDED_BY(mLock);
    int mFrom GUARDED_BY(mLock) = 0;
    int mTo GUARDED_BY(mLock) = 0;
    int mPercent GUARDED_BY(mLock) = 0;
    int mShownPercent GUARDED_BY(mLock) = -1;
    uint64_t mFirstBytes GUARDED_BY(mLock) = 0;
    uint64_t mBytes GUARDED_BY(mLock) = 0;
    uint64_t mTotalBytes GUARDED_BY(mLock) = 0;
    Clock::time_point mPhaseBegan GUARDED_BY(mLock);
    Clock::time_point mMoved GUARDED_BY(mLock);
    Clock::time_point mShown GUARDED_BY(mLock);
    // What the line on the terminal occupies; 0: there is none.
    size_t mOpenLine GUARDED_BY(mLock) = 0;
    ndk::ScopedFileDescriptor mStop;
    std::thread mTicker;
};

}  // namespace wlc
