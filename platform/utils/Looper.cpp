// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Looper"
#include <errno.h>
#include <log/log.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utils/Looper.h>

#include <algorithm>
#include <chrono>

namespace android {
namespace {

constexpr uint64_t kWakeKey = UINT64_MAX;
constexpr int kQuietMillis = 10;

// What the kernel hands back with an event.
uint64_t keyOf(int fd, uint32_t sequence) {
    return static_cast<uint64_t>(sequence) << 32 | static_cast<uint32_t>(fd);
}
int fdOf(uint64_t key) {
    return static_cast<int>(key & UINT32_MAX);
}
uint32_t sequenceOf(uint64_t key) {
    return static_cast<uint32_t>(key >> 32);
}

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

sp<Looper>& threadLooper() {
    static thread_local sp<Looper> sLooper;
    return sLooper;
}

}  // namespace

bool Looper::Registration::sameRequest(const Registration& other) const {
    return ident == other.ident && events == other.events && callback == other.callback &&
           function == other.function && data == other.data;
}

Looper::Looper(bool allowNonCallbacks)
    : mAllowNonCallbacks(allowNonCallbacks), mWakeFd(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    LOG_ALWAYS_FATAL_IF(!mWakeFd.ok(), "cannot make the wake descriptor: %s", strerror(errno));
    std::lock_guard<std::mutex> lock(mLock);
    openEpoll();
}

Looper::~Looper() = default;

// Begins a new kernel-side set of all registrations. Called again only to get rid of entries for
// closed descriptors that the kernel no longer lets us name.
void Looper::openEpoll() {
    mEpollFd.reset(epoll_create1(EPOLL_CLOEXEC));
    LOG_ALWAYS_FATAL_IF(!mEpollFd.ok(), "cannot make an epoll descriptor: %s", strerror(errno));
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u64 = kWakeKey;
    LOG_ALWAYS_FATAL_IF(epoll_ctl(mEpollFd.get(), EPOLL_CTL_ADD, mWakeFd.get(), &event) != 0,
                        "cannot watch the wake descriptor: %s", strerror(errno));
    for (auto& [fd, entry] : mRegistrations) tellKernel(fd, &entry);
}

// Makes the kernel's entry for `fd` what `entry` says, under a new sequence if it had none. False
// with errno set when the kernel refuses.
bool Looper::tellKernel(int fd, Registration* entry) {
    epoll_event event = {};
    event.events = toEpoll(entry->events);
    event.data.u64 = keyOf(fd, entry->sequence);
    if (entry->sequence != 0) {
        if (epoll_ctl(mEpollFd.get(), EPOLL_CTL_MOD, fd, &event) == 0) return true;
        if (errno != ENOENT) return false;
    }
    // The number is new to the kernel, or its former file was closed.
    if (++mNextSequence == 0) ++mNextSequence;
    event.data.u64 = keyOf(fd, mNextSequence);
    if (epoll_ctl(mEpollFd.get(), EPOLL_CTL_ADD, fd, &event) != 0 &&
        (errno != EEXIST || epoll_ctl(mEpollFd.get(), EPOLL_CTL_MOD, fd, &event) != 0)) {
        return false;
    }
    entry->sequence = mNextSequence;
    return true;
}

int Looper::addFd(int fd, int ident, int events, Looper_callbackFunc callback, void* data) {
    return add(fd, {.ident = ident,
                    .events = events,
                    .callback = nullptr,
                    .function = callback,
                    .data = data});
}

int Looper::addFd(int fd, int ident, int events, const sp<LooperCallback>& callback, void* data) {
    return add(fd, {.ident = ident,
                    .events = events,
                    .callback = callback,
                    .function = nullptr,
                    .data = data});
}

int Looper::add(int fd, Registration wanted) {
    if (wanted.callback || wanted.function != nullptr) {
        wanted.ident = POLL_CALLBACK;
    } else if (!mAllowNonCallbacks || wanted.ident < 0) {
        ALOGE("cannot add descriptor %d without callback: %s", fd,
              mAllowNonCallbacks ? "its identifier is negative" : "this looper needs callbacks");
        return -1;
    }

    sp<LooperCallback> replaced;  // its destructor may come back here: runs without the lock
    std::lock_guard<std::mutex> lock(mLock);
    const auto known = mRegistrations.find(fd);
    if (known != mRegistrations.end() && known->second.sameRequest(wanted) &&
        known->second.reportedIn == mPolls) {
        if (!known->second.unchecked) ++mUncheckedCount;
        known->second.unchecked = true;
        return 1;
    }
    if (known != mRegistrations.end()) wanted.sequence = known->second.sequence;
    if (!tellKernel(fd, &wanted)) {
        ALOGE("cannot watch descriptor %d: %s", fd, strerror(errno));
        return -1;
    }
    if (known == mRegistrations.end()) {
        mRegistrations.emplace(fd, std::move(wanted));
        return 1;
    }
    if (known->second.unchecked) --mUncheckedCount;
    replaced = std::move(known->second.callback);
    known->second = std::move(wanted);
    return 1;
}

int Looper::removeFd(int fd) {
    sp<LooperCallback> removed;
    std::lock_guard<std::mutex> lock(mLock);
    const auto known = mRegistrations.find(fd);
    if (known == mRegistrations.end()) return 0;
    // Fails when the descriptor is closed already, which is as good.
    epoll_ctl(mEpollFd.get(), EPOLL_CTL_DEL, fd, nullptr);
    if (known->second.unchecked) --mUncheckedCount;
    removed = std::move(known->second.callback);
    mRegistrations.erase(known);
    return 1;
}

void Looper::wake() {
    const uint64_t one = 1;
    // A full counter means that a wake is pending anyway.
    if (TEMP_FAILURE_RETRY(write(mWakeFd.get(), &one, sizeof(one))) < 0 && errno != EAGAIN) {
        ALOGE("cannot wake the looper: %s", strerror(errno));
    }
}

int Looper::pollOnce(int timeoutMillis, int* outFd, int* outEvents, void** outData) {
    int result = 0;
    for (;;) {
        int ident;
        if (nextIdentifier(&ident, outFd, outEvents, outData)) return ident;
        if (result != 0) break;
        result = pollInner(timeoutMillis);
    }
    if (outFd != nullptr) *outFd = 0;
    if (outEvents != nullptr) *outEvents = 0;
    if (outData != nullptr) *outData = nullptr;
    return result;
}

int Looper::pollAll(int timeoutMillis, int* outFd, int* outEvents, void** outData) {
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(timeoutMillis);
    for (int left = timeoutMillis;;) {
        const int result = pollOnce(left, outFd, outEvents, outData);
        if (result != POLL_CALLBACK) return result;
        if (timeoutMillis < 0) continue;
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (rest.count() <= 0) return POLL_TIMEOUT;
        left = static_cast<int>(rest.count());
    }
}

Looper::Registration* Looper::find(const Response& response) {
    const auto known = mRegistrations.find(response.fd);
    return known != mRegistrations.end() && known->second.sequence == response.sequence
               ? &known->second
               : nullptr;
}

bool Looper::nextIdentifier(int* ident, int* outFd, int* outEvents, void** outData) {
    if (mNextResponse == mResponseCount) return false;
    std::lock_guard<std::mutex> lock(mLock);
    while (mNextResponse < mResponseCount) {
        const Response& response = mResponses[mNextResponse++];
        const Registration* entry = find(response);
        if (entry == nullptr || entry->ident < 0) continue;
        *ident = entry->ident;
        if (outFd != nullptr) *outFd = response.fd;
        if (outEvents != nullptr) *outEvents = response.events;
        if (outData != nullptr) *outData = entry->data;
        return true;
    }
    return false;
}

int Looper::pollInner(int timeoutMillis) {
    mResponseCount = 0;
    mNextResponse = 0;
    bool check;
    {
        std::lock_guard<std::mutex> lock(mLock);
        ++mPolls;
        check = mUncheckedCount > 0;
    }
    epoll_event events[kMaxEvents];
    mPolling.store(true, std::memory_order_relaxed);
    const int count = wait(events, timeoutMillis, check);
    const int error = errno;
    mPolling.store(false, std::memory_order_relaxed);
    if (count == 0) return POLL_TIMEOUT;
    if (count < 0) {
        if (error == EINTR) return POLL_WAKE;
        ALOGE("cannot poll: %s", strerror(error));
        return POLL_ERROR;
    }
    collect(events, count);
    int result = POLL_WAKE;
    for (int i = 0; i < mResponseCount; ++i) {
        if (runCallback(mResponses[i])) result = POLL_CALLBACK;
    }
    return result;
}

int Looper::wait(epoll_event* events, int timeoutMillis, bool check) {
    if (!check) return epoll_wait(mEpollFd.get(), events, kMaxEvents, timeoutMillis);
    const int first = timeoutMillis < 0 ? kQuietMillis : std::min(timeoutMillis, kQuietMillis);
    const int count = epoll_wait(mEpollFd.get(), events, kMaxEvents, first);
    if (count != 0) return count;
    const int left = timeoutMillis < 0 ? -1 : timeoutMillis - first;
    if (!checkUnchecked() && left == 0) return 0;
    return epoll_wait(mEpollFd.get(), events, kMaxEvents, left);
}

// Makes sure that the kernel still knows what addFd assumed it knows. True when it did not know
// something.
bool Looper::checkUnchecked() {
    std::lock_guard<std::mutex> lock(mLock);
    bool added = false;
    for (auto& [fd, entry] : mRegistrations) {
        if (!entry.unchecked) continue;
        entry.unchecked = false;
        const uint32_t former = entry.sequence;
        if (!tellKernel(fd, &entry)) ALOGE("cannot watch descriptor %d: %s", fd, strerror(errno));
        added |= entry.sequence != former;
    }
    mUncheckedCount = 0;
    return added;
}

void Looper::collect(const epoll_event* events, int count) {
    std::lock_guard<std::mutex> lock(mLock);
    bool foundStale = false;
    for (int i = 0; i < count; ++i) {
        const uint64_t key = events[i].data.u64;
        if (key == kWakeKey) {
            uint64_t times;
            if (read(mWakeFd.get(), &times, sizeof(times)) < 0) continue;
            continue;
        }
        const Response response = {fdOf(key), fromEpoll(events[i].events), sequenceOf(key)};
        Registration* entry = find(response);
        if (entry == nullptr) {
            foundStale = true;
            continue;
        }
        entry->reportedIn = mPolls;
        if (entry->unchecked) --mUncheckedCount;
        entry->unchecked = false;
        mResponses[mResponseCount++] = response;
    }
    if (foundStale) openEpoll();
}

// True when there was a callback to run.
bool Looper::runCallback(const Response& response) {
    sp<LooperCallback> callback;
    Looper_callbackFunc function;
    void* data;
    {
        std::lock_guard<std::mutex> lock(mLock);
        const Registration* entry = find(response);
        if (entry == nullptr || entry->ident != POLL_CALLBACK) return false;
        callback = entry->callback;
        function = entry->function;
        data = entry->data;
    }
    const int keep = callback ? callback->handleEvent(response.fd, response.events, data)
                              : function(response.fd, response.events, data);
    if (keep == 0) {
        bool same;
        {
            std::lock_guard<std::mutex> lock(mLock);
            same = find(response) != nullptr;
        }
        if (same) removeFd(response.fd);
    }
    return true;
}

sp<Looper> Looper::prepare(int opts) {
    const bool allowNonCallbacks = (opts & PREPARE_ALLOW_NON_CALLBACKS) != 0;
    sp<Looper> looper = getForThread();
    if (!looper) {
        looper = sp<Looper>::make(allowNonCallbacks);
        setForThread(looper);
    } else if (looper->getAllowNonCallbacks() != allowNonCallbacks) {
        ALOGW("this thread has a looper already, prepared with other options");
    }
    return looper;
}

void Looper::setForThread(const sp<Looper>& looper) {
    threadLooper() = looper;
}

sp<Looper> Looper::getForThread() {
    return threadLooper();
}

}  // namespace android
