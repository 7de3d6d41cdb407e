// SPDX-License-Identifier: Apache-2.0
#include "diagnostics.h"

#include <utility>

#include "thread.h"

namespace android::host {

Diagnostics& Diagnostics::get() {
    static auto* const diagnostics = new Diagnostics;
    return *diagnostics;
}

bool Diagnostics::run(std::function<void()> task) {
    std::lock_guard lock(mLock);
    if (mTasks.size() >= kMaxWaitingDiagnostics) return false;
    mTasks.push_back(std::move(task));
    if (mThreads == kMaxDiagnosticsThreads) return true;
    if (startThread("binder-dump", [this] { work(); })) {
        ++mThreads;
        return true;
    }
    if (mThreads > 0) return true;  // a running one takes it
    mTasks.pop_back();
    return false;
}

void Diagnostics::work() {
    while (true) {
        std::function<void()> task;
        {
            std::lock_guard lock(mLock);
            if (mTasks.empty()) {
                --mThreads;
                return;
            }
            task = std::move(mTasks.front());
            mTasks.pop_front();
        }
        task();
    }
}

}  // namespace android::host
