// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>
#include <stddef.h>
#include <stdint.h>
#include <utils/RefBase.h>

#include <atomic>
#include <mutex>
#include <unordered_map>

struct epoll_event;

namespace android {

typedef int (*Looper_callbackFunc)(int fd, int events, void* data);

// What a Looper calls when a descriptor is ready, on the polling thread and without its lock: it
// may add and remove descriptors. Returns 1 to stay registered, 0 to be removed.
class LooperCallback : public virtual RefBase {
  public:
    virtual int handleEvent(int fd, int events, void* data) = 0;

  protected:
    ~LooperCallback() override = default;
};

// Waits for descriptors to become ready, as in Android's libutils; on epoll and an eventfd.
//
// One thread polls at a time; addFd, removeFd and wake may be called by any thread meanwhile. A
// Looper does not own the descriptors registered with it.
//
// Cost: pollOnce makes one system call (epoll_wait) and allocates nothing. An addFd that repeats
// what is registered, right after a pollOnce that reported this descriptor, makes none.
//
// A descriptor closed while registered: call removeFd before, or addFd once the number is in use
// again. addFd is then right also when it looks like a repetition: outside the case above it asks
// the kernel, and in that case pollOnce asks when the descriptor stays quiet for 10 ms. Until one
// of the two calls, events of a closed descriptor's file that some other descriptor keeps open may
// still be reported.
//
// Differs from Android: no messages (sendMessage), and a callback or identifier whose descriptor
// was removed after it became ready is no longer reported.
class Looper : public RefBase {
  public:
    // What pollOnce returns when it is not an identifier.
    enum {
        POLL_WAKE = -1,      // wake() was called, or a signal arrived
        POLL_CALLBACK = -2,  // one or more callbacks ran
        POLL_TIMEOUT = -3,
        POLL_ERROR = -4,
    };

    // What happened to a descriptor. Errors and hang-ups are reported without being asked for.
    enum {
        EVENT_INPUT = 1 << 0,
        EVENT_OUTPUT = 1 << 1,
        EVENT_ERROR = 1 << 2,
        EVENT_HANGUP = 1 << 3,
        EVENT_INVALID = 1 << 4,
    };

    enum { PREPARE_ALLOW_NON_CALLBACKS = 1 << 0 };

    // `allowNonCallbacks`: whether addFd may be used without a callback. Ends the process when the
    // system gives no descriptors.
    explicit Looper(bool allowNonCallbacks);

    bool getAllowNonCallbacks() const { return mAllowNonCallbacks; }

    // Waits at most `timeoutMillis` (negative: without limit; 0: not at all) for something to
    // happen. A ready descriptor without callback: returns its identifier (0 or more) and tells
    // descriptor, events and data; further ones are returned by the next calls, at once. Else one
    // of POLL_…, with 0 and null told. The out arguments may be null.
    int pollOnce(int timeoutMillis, int* outFd, int* outEvents, void** outData);
    int pollOnce(int timeoutMillis) { return pollOnce(timeoutMillis, nullptr, nullptr, nullptr); }

    // As pollOnce, but goes on after callbacks until something else happens or the time is over.
    int pollAll(int timeoutMillis, int* outFd, int* outEvents, void** outData);
    int pollAll(int timeoutMillis) { return pollAll(timeoutMillis, nullptr, nullptr, nullptr); }

    // Makes the present or the next pollOnce return POLL_WAKE. Several calls before it returns
    // count as one.
    void wake();

    // Registers `fd` for `events` (EVENT_INPUT, EVENT_OUTPUT or both), replacing an earlier
    // registration of the same number. With a callback `ident` is ignored; without one it is 0 or
    // more. Returns 1, or -1 with a line in the log when callbacks are required, `ident` is
    // negative or the kernel refuses the descriptor.
    int addFd(int fd, int ident, int events, Looper_callbackFunc callback, void* data);
    int addFd(int fd, int ident, int events, const sp<LooperCallback>& callback, void* data);

    // Returns 1, or 0 when `fd` was not registered. A callback of it may still be running on the
    // polling thread.
    int removeFd(int fd);

    // Whether a thread is waiting at this moment; stale as soon as it returns.
    bool isPolling() const { return mPolling.load(std::memory_order_relaxed); }

    // The calling thread's own Looper: prepare makes it when there is none, getForThread may return
    // null.
    static sp<Looper> prepare(int opts);
    static void setForThread(const sp<Looper>& looper);
    static sp<Looper> getForThread();

  protected:
    ~Looper() override;

  private:
    struct Registration {
        int ident;
        int events;
        sp<LooperCallback> callback;
        Looper_callbackFunc function;
        void* data;
        uint32_t sequence = 0;    // tells the kernel's entries for this number apart
        uint64_t reportedIn = 0;  // the poll that last saw it ready
        bool unchecked = false;   // added again on the assumption that the kernel still knows it

        bool sameRequest(const Registration& other) const;
    };

    struct Response {
        int fd;
        int events;
        uint32_t sequence;
    };

    static constexpr int kMaxEvents = 16;

    int add(int fd, Registration wanted) EXCLUDES(mLock);
    bool tellKernel(int fd, Registration* entry) REQUIRES(mLock);
    void openEpoll() REQUIRES(mLock);
    int wait(epoll_event* events, int timeoutMillis, bool check) EXCLUDES(mLock);
    bool checkUnchecked() EXCLUDES(mLock);
    int pollInner(int timeoutMillis) EXCLUDES(mLock);
    void collect(const epoll_event* events, int count) EXCLUDES(mLock);
    bool runCallback(const Response& response) EXCLUDES(mLock);
    Registration* find(const Response& response) REQUIRES(mLock);
    bool nextIdentifier(int* ident, int* outFd, int* outEvents, void** outData) EXCLUDES(mLock);

    const bool mAllowNonCallbacks;
    const base::unique_fd mWakeFd;
    std::atomic<bool> mPolling{false};

    mutable std::mutex mLock;
    std::unordered_map<int, Registration> mRegistrations GUARDED_BY(mLock);
    uint32_t mNextSequence GUARDED_BY(mLock) = 0;
    uint64_t mPolls GUARDED_BY(mLock) = 1;  // begun so far
    int mUncheckedCount GUARDED_BY(mLock) = 0;

    // Of the polling thread alone. mEpollFd is replaced by it alone, under mLock.
    base::unique_fd mEpollFd;
    Response mResponses[kMaxEvents];
    int mResponseCount = 0;
    int mNextResponse = 0;
};

}  // namespace android
