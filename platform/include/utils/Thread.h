// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <pthread.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/ThreadDefs.h>

#include <condition_variable>
#include <mutex>

namespace android {

// A thread as an object, as in Android's libutils: run() starts a thread that calls threadLoop()
// until that returns false, an exit is requested, or nobody else holds the object between two
// calls. While in a call, the thread holds a strong reference; the object must therefore be held by
// an sp when it is run. The last reference may be the thread's own: the destructor then runs on it.
//
// All functions may be called from any thread.
class Thread : virtual public RefBase {
  public:
    // `canCallJava` has no meaning here.
    explicit Thread(bool canCallJava = true);
    ~Thread() override;

    // Starts the thread, named `name` (cut to 15 bytes), with `priority` as its nice value and a
    // stack of `stack` bytes (0: the system's default). A priority that this process may not set is
    // passed over silently. OK; INVALID_OPERATION when it runs already; UNKNOWN_ERROR when the
    // system gives no thread. May be run again once it has ended.
    virtual status_t run(const char* name, int32_t priority = PRIORITY_DEFAULT, size_t stack = 0);

    // Asks the thread to end after the threadLoop() it is in. Does not wait.
    virtual void requestExit();

    // Called once on the new thread before threadLoop(); anything but OK ends the thread.
    virtual status_t readyToRun();

    // Wait until the thread has left its loop, without limit; requestExitAndWait asks it to first.
    // The status is that of readyToRun() (OK when it was never run); WOULD_BLOCK, at once, when the
    // thread calls it of itself.
    status_t requestExitAndWait();
    status_t join();

    bool isRunning() const;

    // The kernel's id of the running thread, or -1. It may not be known yet right after run().
    pid_t getTid() const;

  protected:
    bool exitPending() const;

  private:
    // The thread's work: true to be called again.
    virtual bool threadLoop() = 0;

    static void* entry(void* self);
    void runLoop();
    // Whether the loop goes on. When not, waiters are told.
    bool afterCall(bool again) EXCLUDES(mLock);
    status_t waitUntilEnded(bool askToExit) EXCLUDES(mLock);

    mutable std::mutex mLock;
    std::condition_variable mEnded;
    pthread_t mThread GUARDED_BY(mLock) = {};
    bool mRunning GUARDED_BY(mLock) = false;
    bool mExitPending GUARDED_BY(mLock) = false;
    status_t mStatus GUARDED_BY(mLock) = OK;
    pid_t mTid GUARDED_BY(mLock) = -1;

    // Written by run() before the thread exists, then by the thread alone.
    sp<Thread> mHoldSelf;
    char mName[16] = {};
    int32_t mPriority = PRIORITY_DEFAULT;
};

}  // namespace android
