// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>

#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "report.h"

namespace wlc {

// Hands what binder threads receive to the main thread, which waits on a descriptor and so can wait
// for signals and time too. Every method may be called from any thread.
class EventQueue {
  public:
    EventQueue();

    struct Event {
        std::string name;
        Report report;
    };

    void push(std::string name, Report report) EXCLUDES(mLock);
    std::optional<Event> pop() EXCLUDES(mLock);
    // A subscription begins; returns its number, never 0. Open until close() with that number.
    uintptr_t open() EXCLUDES(mLock);
    // The subscription of that number is over: nothing more will come of it.
    void close(uintptr_t subscription) EXCLUDES(mLock);
    bool closed() const EXCLUDES(mLock);

    // Readable while there is something to pop or the queue has been closed. Owned by the queue.
    int descriptor() const { return mDescriptor.get(); }

  private:
    void wake() const;

    const ndk::ScopedFileDescriptor mDescriptor;
    mutable std::mutex mLock;
    std::deque<Event> mEvents GUARDED_BY(mLock);
    bool mClosed GUARDED_BY(mLock) = false;
    uintptr_t mSubscription GUARDED_BY(mLock) = 0;
};

}  // namespace wlc
