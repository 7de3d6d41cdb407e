// SPDX-License-Identifier: Apache-2.0
//
// Threads of their own for dumps and shell commands of other processes. Such a call may take long
// and waits for whoever requested it, so it never occupies a thread of the pool.
#pragma once

#include <android-base/thread_annotations.h>

#include <deque>
#include <functional>
#include <mutex>

#include "peer_limits.h"
#include "rpc_wire.h"

namespace android::host {

constexpr bool isDiagnostic(uint32_t code) {
    return code == kDumpCode || code == kShellCommandCode;
}

class Diagnostics {
  public:
    // Made on first use and never destroyed.
    static Diagnostics& get();

    // Runs `task` on one of kMaxDiagnosticsThreads threads, started on demand and ended when there
    // is nothing left to do. False when too many tasks wait already or no thread can be had. Any
    // thread; does not block.
    [[nodiscard]] bool run(std::function<void()> task) EXCLUDES(mLock);

  private:
    void work() EXCLUDES(mLock);

    std::mutex mLock;
    std::deque<std::function<void()>> mTasks GUARDED_BY(mLock);
    size_t mThreads GUARDED_BY(mLock) = 0;
};

}  // namespace android::host
