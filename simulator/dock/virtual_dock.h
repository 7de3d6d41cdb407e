// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "../exchange.h"
#include "../trace/recorder.h"
#include "dock_model.h"
#include "faults.h"
#include "firmware_state.h"
#include "request_log.h"

namespace virtual_dock {

// The dock that both libraries of a process share: the model, the faults set for it, the log of
// what was asked. All functions may be called from any thread. One lock, held for the handling of
// one request; the dock waits for delays without it.
class VirtualDock final : public Endpoint {
  public:
    VirtualDock();
    ~VirtualDock();
    VirtualDock(const VirtualDock&) = delete;
    VirtualDock& operator=(const VirtualDock&) = delete;

    // What the libraries ask. Blocks for a delay set for it; with a time limit no longer than that.
    // An answer that exceeds the capacity fails with kReceiveFailed.
    Outcome exchange(const Exchange& exchange) override EXCLUDES(mLock);

    // In front of this dock; what it is told to record is what comes to it. Any thread.
    Recorder& recorder() { return mRecorder; }

    // --- what the control socket asks ---

    // Why commands of the control socket are refused; empty: they are not. Set before serving.
    void refuseCommands(const std::string& why) { mCommandRefusal = why; }
    const std::string& commandRefusal() const { return mCommandRefusal; }

    // Runs `work(DockModel&, nowNs)` under the lock and returns what it returns. It must not call
    // back into the dock.
    template <typename Work>
    auto withModel(Work work) EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        const FirmwareState::Saving saving(&mFirmwareState, &mModel.firmware);
        return work(mModel, now());
    }
    template <typename Work>
    auto withFaults(Work work) EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        return work(mFaults);
    }
    template <typename Work>
    auto withLog(Work work) const EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        return work(mLog);
    }

    // Takes the firmware over that an earlier process kept in the folder, as after a loss of power,
    // and keeps it there from now on; see FirmwareState::open. Call it once, before the dock is
    // asked anything.
    [[nodiscard]] bool keepFirmware(const std::string& folder, std::string* problem)
        EXCLUDES(mLock);

    // Restores the initial state, clears all faults, ends all delays. The log stays.
    void reset() EXCLUDES(mLock, mDelayLock);

    // From now on no request waits for a delay. For the end of the process.
    void endDelays() EXCLUDES(mDelayLock);

    // The descriptor that becomes readable when a request made an event happen or, while somebody
    // follows the log, was logged. Owned by the dock. clearWake makes it unreadable again and
    // returns the events that came up since, oldest first.
    int wakeDescriptor() const { return mWakeFd; }
    std::vector<Event> clearWake() EXCLUDES(mLock);

    // From addFollower on, every logged request wakes, until removeFollower. Returns the number of
    // the newest entry before that.
    uint64_t addFollower() EXCLUDES(mLock);
    void removeFollower() EXCLUDES(mLock);

    // The dock's clock: nanoseconds, monotonic.
    static int64_t now();

  private:
    static constexpr size_t kMaxEvents = 1024;

    uint32_t perform(const Exchange& exchange, AnswerBuffer* answer) EXCLUDES(mLock);
    uint32_t performLocked(const Exchange& exchange, const FaultOutcome* outcome,
                           AnswerBuffer* answer) REQUIRES(mLock);
    // False when the time limit came first.
    bool waitOut(uint32_t delayMs, uint32_t timeLimitMs) EXCLUDES(mDelayLock);
    void wakeLocked() REQUIRES(mLock);

    const int mWakeFd;
    std::string mCommandRefusal;  // constant while it is served

    mutable std::mutex mLock;
    DockModel mModel GUARDED_BY(mLock);
    FirmwareState mFirmwareState GUARDED_BY(mLock);
    Faults mFaults GUARDED_BY(mLock);
    RequestLog mLog GUARDED_BY(mLock);
    std::vector<Event> mEvents GUARDED_BY(mLock);
    int mFollowers GUARDED_BY(mLock) = 0;
    bool mAwake GUARDED_BY(mLock) = false;

    std::mutex mDelayLock;
    std::condition_variable mDelayEnded;
    uint64_t mResets GUARDED_BY(mDelayLock) = 0;
    bool mDelays GUARDED_BY(mDelayLock) = true;

    Recorder mRecorder{this};
};

// The dock of this process; made at the first call, never destroyed. Libraries ask its recorder.
VirtualDock& processDock();
Endpoint& recordedProcessDock();

// Starts serving the control socket and sending uevents, once per process; see control_server.h.
void startProcessDock();

}  // namespace virtual_dock
