// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "trace_matcher.h"

namespace virtual_dock {

struct ReplayOptions {
    double speed = 1;     // recorded time divided by replay time; 0: everything at once
    bool strict = false;  // refuse what is not in the trace
};

// Answers from a trace, in the order recorded for each operation, type and request, and says when
// its uevents are due. What is not in the trace, or more often than there, gets the latest answer
// to the same operation and type; without one, and always when strict, kUnavailable.
//
// Any thread; no lock is held while an answer takes its recorded time. Memory: some bytes for each
// line, and the differences, of which it keeps kMaxDifferences.
class Replayer final : public Endpoint {
  public:
    static constexpr size_t kMaxDifferences = 10'000;

    // Called for each difference as it happens, on the thread of the exchange, without locks.
    using Report = std::function<void(const TraceDifference&)>;
    // Takes the lines of a recorded uevent.
    using Send = std::function<void(const std::vector<std::string>&)>;

    Replayer(ReplayOptions options, Report report);

    // Loads the trace, once, before anything else. False with the problem when it is none. What
    // follows a broken line is left out, which `warning` tells about; else that stays empty.
    [[nodiscard]] bool open(const std::string& path, std::string* problem, std::string* warning);

    Outcome exchange(const Exchange& exchange) override EXCLUDES(mLock);

    // Sends the recorded uevents, until all are sent or stop(). One is due when everything before
    // it in the trace was asked for and its recorded distance from the line before has passed.
    // Unless strict, also when its recorded time since the beginning has passed and nothing was
    // asked for kPatienceNs, so that a missing exchange does not hold it back for good. One thread.
    static constexpr int64_t kPatienceNs = 2'000'000'000;
    void sendUevents(const Send& send) EXCLUDES(mLock);

    // Ends sendUevents() and every wait; later exchanges do not wait.
    void stop() EXCLUDES(mLock);

    struct Progress {
        uint32_t exchanges = 0;   // in the trace
        uint32_t missing = 0;     // of those, not asked for
        uint32_t uevents = 0;     // in the trace
        uint32_t sent = 0;        // of those
        uint64_t unreported = 0;  // differences beyond kMaxDifferences
    };
    Progress progress() const EXCLUDES(mLock);

    // All so far; what was not asked for counts as missing.
    std::vector<TraceDifference> differences() const EXCLUDES(mLock);

  private:
    struct Uevent {
        TracePlace place;
        int64_t timeNs = 0;
        uint32_t before = 0;   // exchanges
        int64_t gapNs = 0;     // since the last of these, or the first line
        int64_t offsetNs = 0;  // since the first line
    };
    struct Begin;
    // Takes the exchanges that the uevent caused out of `before`, which holds all whose lines come
    // first, and sets the distances. `eventThread` is the service's thread that reacts to uevents;
    // -1: not known.
    static void placeUevent(const std::vector<Begin>& begins, int64_t firstNs, int64_t eventThread,
                            Uevent* uevent);

    int64_t scaled(int64_t nanoseconds) const;
    // When the uevent is due, monotonic clock; INT64_MAX as long as that is open.
    int64_t dueNs(const Uevent& uevent) const REQUIRES(mLock);
    // Until the moment or stop().
    void waitUntil(int64_t momentNs) EXCLUDES(mLock);

    const ReplayOptions mOptions;
    const Report mReport;
    TraceReader mReader;
    std::vector<Uevent> mUevents;  // constant after open()

    mutable std::mutex mLock;
    std::condition_variable mChanged;
    TraceMatcher mMatcher GUARDED_BY(mLock);
    std::vector<TraceDifference> mDifferences GUARDED_BY(mLock);
    uint64_t mUnreported GUARDED_BY(mLock) = 0;
    int64_t mFirstNs GUARDED_BY(mLock) = 0;     // the first exchange; 0: none yet
    int64_t mLatestNs GUARDED_BY(mLock) = 0;    // the latest
    int64_t mProgressNs GUARDED_BY(mLock) = 0;  // the latest that let uevents be due, or uevent
    uint32_t mSent GUARDED_BY(mLock) = 0;
    bool mStopped GUARDED_BY(mLock) = false;
};

// What sendUeventLines has to be given to send a recorded uevent: without the lines that the kernel
// or the sender adds by itself.
std::vector<std::string> resentLines(const std::vector<std::string>& recorded);

}  // namespace virtual_dock
