// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

#include "context.h"
#include "signals.h"

namespace wlc {

// Shows how far a long job is, and that it is alive while the dock is silent: on a terminal a bar
// that is drawn over, elsewhere plain lines, in JSON mode one object a line. Also watches for
// Ctrl-C meanwhile. One thread works and reports; a thread of this object's own shows the passing
// time.
class Progress {
  public:
    // interruptedText: what the user is told to do when Ctrl-C ends the job.
    Progress(const Context& context, std::string interruptedText);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // A phase begins. What it reports later, 0 to 100 of its own, is shown as `from` to `to`
    // percent of the whole. What is shown never goes back.
    void phase(const std::string& name, int from, int to) EXCLUDES(mLock);
    // The phase's own share, and where it counts bytes: done so far, of how many.
    void at(int percentOfPhase) EXCLUDES(mLock);
    void atBytes(uint64_t done, uint64_t total) EXCLUDES(mLock);

    // Waits, ended early by Ctrl-C.
    void pause(std::chrono::milliseconds time) EXCLUDES(mLock);

    // Throws Failure INTERRUPTED when Ctrl-C has come. Cheap. When the job does not ask within two
    // seconds, because the dock does not answer, the process ends without it.
    void throwIfInterrupted() const;

    // No line is open on the terminal from here on, and the ticking has ended.
    void finish() EXCLUDES(mLock);

  private:
    using Clock = std::chrono::steady_clock;

    void tick();
    void show(bool alive) REQUIRES(mLock);
    std::string line(int waiting) REQUIRES(mLock);
    Json object(int waiting) REQUIRES(mLock);
    double bytesPerSecond() REQUIRES(mLock);

    const Context& mContext;
    const std::string mInterruptedText;
    const bool mTerminal;
    Signals mSignals;
    std::atomic<bool> mInterrupted{false};
    std::mutex mLock;
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
    bool mOpenLine GUARDED_BY(mLock) = false;
    ndk::ScopedFileDescriptor mStop;
    std::thread mTicker;
};

}  // namespace wlc
