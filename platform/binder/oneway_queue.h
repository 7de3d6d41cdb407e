// SPDX-License-Identifier: Apache-2.0
//
// Puts the oneway calls on one object in the order of their numbers, whichever connection brings
// them, and runs one at a time. Knows nothing of sockets. Not thread-safe: its owner locks.
#pragma once

#include <map>
#include <memory>

#include "parcel.h"
#include "peer_limits.h"

namespace android::host {

struct ParcelDeleter {
    void operator()(AParcel* parcel) const { AParcel::recycle(parcel); }
};
using ParcelPtr = std::unique_ptr<AParcel, ParcelDeleter>;

struct OnewayCall {
    uint32_t code = 0;
    ParcelPtr parcel;  // null for no call

    // What it costs to keep.
    size_t cost() const { return parcel->bytes().size() + kWaitingCallOverhead; }
};

class OnewayQueue {
  public:
    enum class Arrival {
        kRun,       // it is due: the caller runs it, then all that next() gives
        kKept,      // it waits for earlier ones, or for the one that runs
        kRepeated,  // it has been there before
        kGone,      // the object has no references any more
        kRefused,   // it may not wait: descriptors, or more than the budget allows
    };

    // `call` is taken over when it is kept. `budget` counts the bytes that all queues of the
    // session hold.
    Arrival arrived(uint64_t number, OnewayCall* call, size_t* budget);

    // The one that arrived() let run, or next() gave, has run: the next that is due, if any.
    OnewayCall next(size_t* budget);

    bool isRunning() const { return mIsRunning; }

    // Since when calls have been waiting for an earlier one that has not come; kNoDeadline when
    // none do.
    Deadline gapSince() const { return mIsRunning ? kNoDeadline : mGapSince; }

    // Forgets what waits.
    void clear(size_t* budget);

  private:
    bool mIsRunning = false;
    bool mFirstCame = false;  // number 0, once at least
    uint64_t mFirst = 0;      // the place of the latest number 0 among all that came
    uint64_t mNext = 0;       // the place of the next call to run
    std::map<uint64_t, OnewayCall> mWaiting;  // by place
    Deadline mGapSince = kNoDeadline;
};

}  // namespace android::host
