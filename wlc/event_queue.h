// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android/binder_auto_utils.h>

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
    // The service has gone: nothing more will come.
    void close() EXCLUDES(mLock);
    bool closed() const EXCLUDES(mLock);

    // Readable while there is something to pop or the queue has been closed. Owned by the queue.
    int descriptor() const { return mDescriptor.get(); }

  private:
    void wake() const;

    const ndk::ScopedFileDescriptor mDescriptor;
    mutable std::mutex mLock;
    std::deque<Event> mEvents GUARDED_BY(mLock);
    bool mClosed GUARDED_BY(mLock) = false;
};

}  // namespace wlc
