// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

#include "peer_limits.h"

namespace android::host {

// Counts the descriptors that a session, and the process, holds for frames that are not complete.
// Any thread.
class HeldFds {
  public:
    HeldFds() = default;
    ~HeldFds() { sInAll -= mCount; }
    HeldFds(const HeldFds&) = delete;
    HeldFds& operator=(const HeldFds&) = delete;

    // One connection now holds `now` instead of `before`. False when that is more than allowed.
    [[nodiscard]] bool change(size_t before, size_t now) {
        if (before == now) return true;
        const size_t mine = mCount += now - before;
        const size_t all = sInAll += now - before;
        return now < before || (mine <= kMaxHeldFds && all <= kMaxHeldFdsInAll);
    }

  private:
    static inline std::atomic<size_t> sInAll{0};
    std::atomic<size_t> mCount{0};
};

}  // namespace android::host
