// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Thread"
#include <limits.h>
#include <log/log.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utils/Thread.h>

#include <algorithm>

namespace android {
namespace {

// Starts a detached thread; returns an errno value.
int startDetached(void* (*entry)(void*), void* argument, size_t stack, pthread_t* thread) {
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) return error;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    if (stack != 0) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t least = std::max(stack, static_cast<size_t>(PTHREAD_STACK_MIN));
        error = least > SIZE_MAX - page
                    ? EINVAL
                    : pthread_attr_setstacksize(&attributes, (least + page - 1) / page * page);
    }
    if (error == 0) error = pthread_create(thread, &attributes, entry, argument);
    pthread_attr_destroy(&attributes);
    return error;
}

}  // namespace

Thread::Thread(bool /*canCallJava*/) {}

Thread::~Thread() = default;

status_t Thread::run(const char* name, int32_t priority, size_t stack) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mRunning) return INVALID_OPERATION;
    mStatus = OK;
    mExitPending = false;
    mRunning = true;
    mTid = -1;
    mPriority = priority;
    snprintf(mName, sizeof(mName), "%s", name != nullptr ? name : "");
    mHoldSelf = this;
    const int error = startDetached(entry, this, stack, &mThread);
    if (error == 0) return OK;
    ALOGE("cannot start thread %s: %s", mName, strerror(error));
    mRunning = false;
    mStatus = UNKNOWN_ERROR;
    // The caller holds the object too, so this is not the last reference.
    mHoldSelf.clear();
    return UNKNOWN_ERROR;
}

void* Thread::entry(void* self) {
    static_cast<Thread*>(self)->runLoop();
    return nullptr;
}

void Thread::runLoop() {
    sp<Thread> strong;
    {
        // Also waits for run() to have finished with its members.
        std::lock_guard<std::mutex> lock(mLock);
        strong = std::move(mHoldSelf);
        mTid = gettid();
        mThread = pthread_self();
        if (mName[0] != '\0') pthread_setname_np(mThread, mName);
        if (mPriority != PRIORITY_DEFAULT) {
            setpriority(PRIO_PROCESS, static_cast<id_t>(mTid), mPriority);
        }
    }
    const wp<Thread> weak(strong);

    const status_t ready = readyToRun();
    bool again = ready == OK;
    {
        std::lock_guard<std::mutex> lock(mLock);
        mStatus = ready;
    }
    if (again && !exitPending()) again = threadLoop();
    while (afterCall(again)) {
        // Whoever else held the object may have dropped it meanwhile; then it goes here.
        strong.clear();
        strong = weak.promote();
        if (!strong) return;
        again = threadLoop();
    }
}

bool Thread::afterCall(bool again) {
    std::lock_guard<std::mutex> lock(mLock);
    if (again && !mExitPending) return true;
    mExitPending = true;
    mRunning = false;
    mTid = -1;
    mEnded.notify_all();
    return false;
}

void Thread::requestExit() {
    std::lock_guard<std::mutex> lock(mLock);
    mExitPending = true;
}

status_t Thread::readyToRun() {
    return OK;
}

status_t Thread::requestExitAndWait() {
    return waitUntilEnded(true);
}

status_t Thread::join() {
    return waitUntilEnded(false);
}

status_t Thread::waitUntilEnded(bool askToExit) {
    std::unique_lock<std::mutex> lock(mLock);
    base::ScopedLockAssertion locked(mLock);
    if (mRunning && pthread_equal(mThread, pthread_self()) != 0) {
        ALOGW("thread %s waits for its own end", mName);
        return WOULD_BLOCK;
    }
    if (askToExit) mExitPending = true;
    while (mRunning) mEnded.wait(lock);
    if (askToExit) mExitPending = false;
    return mStatus;
}

bool Thread::isRunning() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mRunning;
}

pid_t Thread::getTid() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mTid;
}

bool Thread::exitPending() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mExitPending;
}

}  // namespace android
