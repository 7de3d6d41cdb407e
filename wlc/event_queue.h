// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

#include "lock_annotations.h"
#include "report.h"

namespace wlc {

// Passes events from binder threads to the main thread, which polls a descriptor and so can also
// wait for signals and timeouts. Thread-safe.
class EventQueue {
  public:
    EventQueue();

    struct Event {
        std::string name;
        Report report;
        std::chrono::system_clock::time_point time;  // of arrival
    };

    void push(std::string name, Report report) EXCLUDES(mLock);
    std::optional<Event> pop() EXCLUDES(mLock);
    // Begins a subscription and returns its number, never 0. It lasts until close() is called with
    // that number.
    uintptr_t open() EXCLUDES(mLock);
    // Ends the subscription of that number; a stale number is ignored.
    void close(uintptr_t subscription) EXCLUDES(mLock);
    bool closed() const EXCLUDES(mLock);

    // Readable while an event is queued or the queue is closed. Owned by the queue.
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
