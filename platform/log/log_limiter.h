// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>

#include <atomic>

namespace android::log {

// Lets at most kPerSecond entries through in each second, and counts the rest. Any thread; neither
// blocks nor allocates. Initialised at compile time.
class LogLimiter {
  public:
    static constexpr unsigned kPerSecond = 20;

    // Whether to log now, in the given second of any clock. If so, `*omitted` is the number of
    // entries omitted since the last one that was let through; otherwise it is unchanged.
    [[nodiscard]] bool allow(uint32_t second, unsigned* omitted) {
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

}  // namespace android::log
