// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/ThreadDefs.h>

#include <atomic>

namespace android {

// A thread as an object, as in Android's libutils: run() starts a thread that calls threadLoop()
// until that returns false. The thread holds a strong reference meanwhile; the object must
// therefore be held by an sp when it is run. The last reference may be the thread's own: the
// destructor then runs on it.
//
// Differs from Android: nobody else can ask the thread to end, wait for it or see whether it runs.
class Thread : virtual public RefBase {
  public:
    // `canCallJava` has no meaning here.
    explicit Thread(bool canCallJava = true);
    ~Thread() override;

    // Starts the thread, named `name` (cut to 15 bytes; not null), with `priority` as its nice
    // value and a stack of `stack` bytes (0: the system's default). A priority that this process
    // may not set is ignored. OK; INVALID_OPERATION when it runs already; UNKNOWN_ERROR, with a
    // line in the log, when the system gives no thread. May be run again once its loop has ended.
    // Any thread.
    virtual status_t run(const char* name, int32_t priority = PRIORITY_DEFAULT, size_t stack = 0);

  private:
    // The thread's work: true to be called again.
    virtual bool threadLoop() = 0;

    static void* entry(void* self);
    void runLoop();

    std::atomic<bool> mRunning{false};

    // Written by run() before the thread exists, then used by the thread alone.
    sp<Thread> mHoldSelf;
    char mName[16] = {};
    int32_t mPriority = PRIORITY_DEFAULT;
};

}  // namespace android
