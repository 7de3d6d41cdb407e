// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <utils/RefBase.h>

#include <unordered_map>

namespace android {

typedef int (*Looper_callbackFunc)(int fd, int events, void* data);

// Waits for descriptors to become ready, as in Android's libutils; on epoll.
//
// Differs from Android: it reports descriptors by their identifiers only, without callbacks,
// messages, wake-ups or a looper per thread, and belongs to the one thread that uses it. It does
// not own the descriptors, and none is taken away from it: close one only after the last pollOnce.
//
// Cost: pollOnce makes one system call (epoll_wait) and allocates nothing; an addFd that repeats
// what is registered makes none.
class Looper : public RefBase {
  public:
    // What pollOnce returns when it is not an identifier.
    enum {
        POLL_WAKE = -1,  // a signal arrived
        POLL_TIMEOUT = -3,
        POLL_ERROR = -4,
    };

    // What happened to a descriptor. Errors and hang-ups are reported without being asked for.
    enum {
        EVENT_INPUT = 1 << 0,
        EVENT_OUTPUT = 1 << 1,
        EVENT_ERROR = 1 << 2,
        EVENT_HANGUP = 1 << 3,
    };

    // `allowNonCallbacks` has to be true for addFd to work. Ends the process when the system gives
    // no descriptor.
    explicit Looper(bool allowNonCallbacks);

    // Waits at most `timeoutMillis` (negative: without limit; 0: not at all) for a descriptor to
    // become ready. Returns its identifier (0 or more) and tells descriptor, events and data; else
    // one of POLL_…, with 0 and null told. The out arguments may be null. Of several ready
    // descriptors each call reports one, in turn.
    int pollOnce(int timeoutMillis, int* outFd, int* outEvents, void** outData);

    // Registers `fd` for `events` (EVENT_INPUT, EVENT_OUTPUT or both), replacing an earlier
    // registration of the same number. Returns 1, or -1 with a line in the log when there is a
    // callback, `ident` is negative or the kernel refuses the descriptor.
    int addFd(int fd, int ident, int events, Looper_callbackFunc callback, void* data);

  protected:
    ~Looper() override;

  private:
    struct Registration {
        int ident;
        int events;
        void* data;

        bool operator==(const Registration&) const = default;
    };

    const bool mAllowNonCallbacks;
    const base::unique_fd mEpollFd;
    std::unordered_map<int, Registration> mRegistrations;
};

}  // namespace android
