// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "dock_model.h"
#include "faults.h"
#include "request_log.h"

namespace virtual_dock {

// The dock that both libraries of a process share: the model, the faults set for it, the log of
// what was asked. All functions may be called from any thread. One lock, held for the handling of
// one request; the dock waits for delays without it.
class VirtualDock {
  public:
    VirtualDock();
    ~VirtualDock();
    VirtualDock(const VirtualDock&) = delete;
    VirtualDock& operator=(const VirtualDock&) = delete;

    // --- what the libraries ask; results are protocol results ---

    uint32_t readStatus(int32_t selector, uint32_t* value) EXCLUDES(mLock);
    uint32_t readAlignment(Alignment* alignment) EXCLUDES(mLock);
    uint32_t getFeature(int64_t query, int64_t* value) EXCLUDES(mLock);
    uint32_t setFeature(int64_t query, int64_t value) EXCLUDES(mLock);
    uint32_t setQiId(uint16_t qiId) EXCLUDES(mLock);
    uint32_t startAuthentication() EXCLUDES(mLock);
    uint32_t upload(const FwUpdateData& data, int32_t flag) EXCLUDES(mLock);

    // A framed request. request and response may overlap. Blocks for a delay set for it; with a
    // time limit (milliseconds, 0: none) no longer than that. On success *responseLength becomes
    // the answer's length; an answer longer than the capacity fails with kReceiveFailed.
    uint32_t request(Operation operation, int32_t type, Bytes request, uint8_t* response,
                     size_t* responseLength, uint32_t timeLimitMs) EXCLUDES(mLock);

    // Leaves the text of a reverse-transmit request in an area of ReverseTransmit::kAreaSize bytes
    // (request 1: one byte).
    uint32_t rtxRequest(int32_t type, char* area) EXCLUDES(mLock);

    // --- what the control socket asks ---

    // Runs `work(DockModel&, nowNs)` under the lock and returns what it returns. It must not call
    // back into the dock.
    template <typename Work>
    auto withModel(Work work) EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
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

    // Restores the initial state, clears all faults, ends all delays. The log stays.
    void reset() EXCLUDES(mLock, mDelayLock);

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

    template <typename Work>
    uint32_t perform(Operation operation, int32_t type, Bytes request, uint32_t timeLimitMs,
                     AnswerBuffer* answer, Work work) EXCLUDES(mLock);
    template <typename Work>
    uint32_t performLocked(Operation operation, int32_t type, Bytes request,
                           const FaultOutcome* outcome, AnswerBuffer* answer, Work work)
        REQUIRES(mLock);
    // False when the time limit came first.
    bool waitOut(uint32_t delayMs, uint32_t timeLimitMs) EXCLUDES(mDelayLock);
    void wakeLocked() REQUIRES(mLock);

    const int mWakeFd;

    mutable std::mutex mLock;
    DockModel mModel GUARDED_BY(mLock);
    Faults mFaults GUARDED_BY(mLock);
    RequestLog mLog GUARDED_BY(mLock);
    std::vector<Event> mEvents GUARDED_BY(mLock);
    int mFollowers GUARDED_BY(mLock) = 0;
    bool mAwake GUARDED_BY(mLock) = false;

    std::mutex mDelayLock;
    std::condition_variable mDelayEnded;
    uint64_t mResets GUARDED_BY(mDelayLock) = 0;
};

// The dock of this process; made at the first call, never destroyed.
VirtualDock& processDock();

// Starts serving the control socket and sending uevents, once per process; see control_server.h.
void startProcessDock();

}  // namespace virtual_dock
