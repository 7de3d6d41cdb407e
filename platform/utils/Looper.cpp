// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <string.h>
#include <sys/epoll.h>
#include <utils/Looper.h>

namespace android {
namespace {

constexpr char kTag[] = "Looper";

uint32_t toEpoll(int events) {
    return (events & Looper::EVENT_INPUT ? EPOLLIN : 0u) |
           (events & Looper::EVENT_OUTPUT ? EPOLLOUT : 0u);
}

int fromEpoll(uint32_t events) {
    return (events & EPOLLIN ? Looper::EVENT_INPUT : 0) |
           (events & EPOLLOUT ? Looper::EVENT_OUTPUT : 0) |
           (events & EPOLLERR ? Looper::EVENT_ERROR : 0) |
           (events & EPOLLHUP ? Looper::EVENT_HANGUP : 0);
}

}  // namespace

Looper::Looper(bool allowNonCallbacks)
    : mAllowNonCallbacks(allowNonCallbacks), mEpollFd(epoll_create1(EPOLL_CLOEXEC)) {
    if (!mEpollFd.ok()) {
        __android_log_assert("mEpollFd.ok()", kTag, "cannot make the epoll descriptor: %s",
                             strerror(errno));
    }
}

Looper::~Looper() = default;

int Looper::addFd(int fd, int ident, int events, Looper_callbackFunc callback, void* data) {
    if (callback != nullptr || !mAllowNonCallbacks || ident < 0) {
        __android_log_print(
            ANDROID_LOG_ERROR, kTag, "cannot add descriptor %d: %s", fd,
            ident < 0 ? "its identifier is negative" : "this looper takes no callbacks");
        return -1;
    }
    const Registration wanted = {ident, events, data};
    const auto known = mRegistrations.find(fd);
    if (known != mRegistrations.end() && known->second == wanted) return 1;

    epoll_event event = {.events = toEpoll(events), .data = {.fd = fd}};
    const int operation = known == mRegistrations.end() ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    if (epoll_ctl(mEpollFd.get(), operation, fd, &event) != 0) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot watch descriptor %d: %s", fd,
                            strerror(errno));
        return -1;
    }
    mRegistrations.insert_or_assign(fd, wanted);
    return 1;
}

int Looper::pollOnce(int timeoutMillis, int* outFd, int* outEvents, void** outData) {
    epoll_event event = {};
    const int count = epoll_wait(mEpollFd.get(), &event, 1, timeoutMillis);
    const int error = errno;
    const auto known = count == 1 ? mRegistrations.find(event.data.fd) : mRegistrations.end();
    const bool ready = known != mRegistrations.end();
    if (outFd != nullptr) *outFd = ready ? known->first : 0;
    if (outEvents != nullptr) *outEvents = ready ? fromEpoll(event.events) : 0;
    if (outData != nullptr) *outData = ready ? known->second.data : nullptr;
    if (ready) return known->second.ident;
    if (count == 0) return POLL_TIMEOUT;
    if (error == EINTR) return POLL_WAKE;
    __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot poll: %s", strerror(error));
    return POLL_ERROR;
}

}  // namespace android
