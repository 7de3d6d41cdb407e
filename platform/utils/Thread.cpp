// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utils/Thread.h>

#include <algorithm>

namespace android {
namespace {

// Starts a detached thread; returns an errno value.
int startDetached(void* (*entry)(void*), void* argument, size_t stack) {
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
    pthread_t thread;
    if (error == 0) error = pthread_create(&thread, &attributes, entry, argument);
    pthread_attr_destroy(&attributes);
    return error;
}

}  // namespace

Thread::Thread(bool /*canCallJava*/) {}

Thread::~Thread() = default;

status_t Thread::run(const char* name, int32_t priority, size_t stack) {
    if (mRunning.exchange(true)) return INVALID_OPERATION;
    snprintf(mName, sizeof(mName), "%s", name);
    mPriority = priority;
    mHoldSelf = sp<Thread>(this);
    const int error = startDetached(entry, this, stack);
    if (error == 0) return OK;
    __android_log_print(ANDROID_LOG_ERROR, "Thread", "cannot start thread %s: %s", mName,
                        strerror(error));
    // The caller holds the object too, so this is not the last reference.
    mHoldSelf.clear();
    mRunning = false;
    return UNKNOWN_ERROR;
}

void* Thread::entry(void* self) {
    static_cast<Thread*>(self)->runLoop();
    return nullptr;
}

void Thread::runLoop() {
    const sp<Thread> self = std::move(mHoldSelf);
    pthread_setname_np(pthread_self(), mName);
    if (mPriority != PRIORITY_DEFAULT) {
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), mPriority);
    }
    while (threadLoop()) {
    }
    mRunning = false;
}

}  // namespace android
