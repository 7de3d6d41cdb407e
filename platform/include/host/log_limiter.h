// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <time.h>

#include <atomic>

// Not part of Android: keeps what a peer can cause from filling the log.

namespace android::host {

// Lets at most kPerSecond entries through in each second, and counts the rest. One for each place
// that logs, usually static:
//
//     static LogLimiter sLimiter;
//     if (unsigned omitted = 0; sLimiter.allow(&omitted)) {
//         LOG(WARNING) << "refusing a connection" << (omitted > 0 ? "; omitted N more" : "");
//     }
//
// The log itself has one for the warnings and errors of each place (see android/log.h), so a plain
// LOG(WARNING) or LOG(ERROR) needs none. Use this where making the text or other work is to be
// saved too, or for entries of other priorities.
//
// Any thread; neither blocks nor allocates. Initialised at compile time.
class LogLimiter {
  public:
    static constexpr unsigned kPerSecond = 20;

    // Whether to log now. Then `*omitted` is the number of entries that were not let through since
    // the last one was; otherwise it is unchanged.
    [[nodiscard]] bool allow(unsigned* omitted) {
        struct timespec now;
        clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
        return allowAt(static_cast<uint32_t>(now.tv_sec), omitted);
    }

    // The same at a given second of any clock.
    [[nodiscard]] bool allowAt(uint32_t second, unsigned* omitted) {
        uint64_t state = mState.load(std::memory_order_relaxed);
        uint64_t next;
        do {
            next = state >> 32 == second ? state + 1 : uint64_t{second} << 32 | 1;
        } while (!mState.compare_exchange_weak(state, next, std::memory_order_relaxed));
        const auto before = static_cast<uint32_t>(state);
        const bool sameSecond = state >> 32 == second;
        if (sameSecond && before >= kPerSecond) return false;
        *omitted = sameSecond || before <= kPerSecond ? 0 : before - kPerSecond;
        return true;
    }

  private:
    // The second, and in the lower half the number of entries in it.
    std::atomic<uint64_t> mState{0};
};

}  // namespace android::host
