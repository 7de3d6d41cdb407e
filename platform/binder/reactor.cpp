// SPDX-License-Identifier: Apache-2.0
#include "reactor.h"

#include <android-base/logging.h>
#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <thread>
#include <utility>

namespace host::binder {
namespace {

// Edge-triggered: the news of one arrival wakes one thread once, and a thread that reads all that
// was there needs no further system call to go back to waiting.
constexpr uint32_t kReadEvents = EPOLLIN | EPOLLRDHUP | EPOLLET;

// Fetched in one system call; a burst of calls to many connections costs one for several.
constexpr int kEventsAtOnce = 16;

}  // namespace

bool Pollable::tryOwn() {
    State idle = State::kIdle;
    return mState.compare_exchange_strong(idle, State::kOwned);
}

bool Pollable::tryDisown() {
    State owned = State::kOwned;
    if (mState.compare_exchange_strong(owned, State::kIdle)) return true;
    mState = State::kOwned;
    return false;
}

void Pollable::serve(uint32_t epollEvents) {
    while (!tryOwn()) {
        State owned = State::kOwned;
        (void)mState.compare_exchange_strong(owned, State::kOwnedWithNews);
        if (owned == State::kIdle) continue;
        if ((epollEvents & EPOLLHUP) != 0) onHangUpWhileOwned();
        return;
    }
    bool drain = (epollEvents & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    do {
        onReady(drain);
        drain = true;
    } while (!tryDisown());
    onDisowned();
}

// Work for the pool that comes from no socket: the news of deaths. One thread runs it, in order.
class Reactor::TaskQueue : public Pollable {
  public:
    TaskQueue() : mEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) { PCHECK(mEvent.ok()); }

    int fd() const override { return mEvent.get(); }

    void post(std::function<void()> task) EXCLUDES(mLock) {
        {
            std::lock_guard lock(mLock);
            mTasks.push_back(std::move(task));
        }
        (void)eventfd_write(mEvent.get(), 1);
    }

    void onReady(bool) override {
        eventfd_t count;
        (void)eventfd_read(mEvent.get(), &count);
        while (std::function<void()> task = pop()) task();
    }

  private:
    std::function<void()> pop() EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        if (mTasks.empty()) return nullptr;
        std::function<void()> task = std::move(mTasks.front());
        mTasks.pop_front();
        return task;
    }

    const android::base::unique_fd mEvent;
    std::mutex mLock;
    std::deque<std::function<void()>> mTasks GUARDED_BY(mLock);
};

// Brings one waiting thread back from the kernel.
class Reactor::WakeUp : public Pollable {
  public:
    WakeUp() : mEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) { PCHECK(mEvent.ok()); }

    int fd() const override { return mEvent.get(); }
    void ring() { (void)eventfd_write(mEvent.get(), 1); }
    void onReady(bool) override {}  // each ring is news of its own; the count is never read

  private:
    const android::base::unique_fd mEvent;
};

Reactor& Reactor::get() {
    static Reactor* const reactor = new Reactor;
    return *reactor;
}

Reactor::Reactor()
    : mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mTasks(std::make_shared<TaskQueue>()),
      mWakeUp(std::make_shared<WakeUp>()) {
    PCHECK(mEpoll.ok());
    CHECK(add(mTasks));
    CHECK(add(mWakeUp));
}

bool Reactor::add(const std::shared_ptr<Pollable>& object) {
    {
        std::lock_guard lock(mLock);
        if (mFreeSlots.empty()) {
            mFreeSlots.push_back(static_cast<uint32_t>(mSlots.size()));
            mSlots.emplace_back();
        }
        uint32_t index = mFreeSlots.back();
        mFreeSlots.pop_back();
        Slot& slot = mSlots[index];
        slot.object = object;
        object->mToken = uint64_t{++slot.generation} << 32 | index;
    }
    epoll_event event{.events = kReadEvents, .data = {.u64 = object->mToken}};
    if (epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, object->fd(), &event) == 0) return true;
    PLOG(ERROR) << "Cannot watch a binder socket";
    remove(*object);
    return false;
}

void Reactor::remove(Pollable& object) {
    (void)epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, object.fd(), nullptr);
    std::shared_ptr<Pollable> released;  // let go after the lock
    std::lock_guard lock(mLock);
    auto index = static_cast<uint32_t>(object.mToken);
    if (index >= mSlots.size() || mSlots[index].object.get() != &object) return;
    released = std::move(mSlots[index].object);
    mFreeSlots.push_back(index);
}

std::shared_ptr<Pollable> Reactor::find(uint64_t token) {
    std::lock_guard lock(mLock);
    auto index = static_cast<uint32_t>(token);
    if (index >= mSlots.size() || mSlots[index].generation != token >> 32) return nullptr;
    return mSlots[index].object;
}

void Reactor::watchWritable(Pollable& object, bool wanted) {
    epoll_event event{.events = kReadEvents | (wanted ? uint32_t{EPOLLOUT} : 0),
                      .data = {.u64 = object.mToken}};
    (void)epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, object.fd(), &event);
}

void Reactor::post(std::function<void()> task) {
    mTasks->post(std::move(task));
}

void Reactor::startPool() {
    if (!mStarted.exchange(true)) startThread();
}

void Reactor::startThread() {
    std::thread([this] {
        pthread_setname_np(pthread_self(), "binder");
        joinPool();
    }).detach();
}

void Reactor::joinPool() {
    // Who writes to a client's descriptor, a dump for one, is told by the write that nobody reads.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    while (true) serveOne();
}

void Reactor::serveOne() {
    Event event;
    ++mIdle;
    if (!takeReady(&event)) waitForEvents(&event);
    const bool lastIdle = --mIdle == 0;
    if (event.token == 0) return;
    if (lastIdle && mStarted) {
        uint32_t spawned = mSpawned;
        if (spawned < mMaxSpawned && mSpawned.compare_exchange_strong(spawned, spawned + 1)) {
            startThread();
        }
    }
    if (std::shared_ptr<Pollable> object = find(event.token)) object->serve(event.events);
}

bool Reactor::takeReady(Event* event) {
    if (mReadyCount == 0) return false;
    std::lock_guard lock(mReadyLock);
    if (mReady.empty()) return false;
    *event = mReady.front();
    mReady.pop_front();
    mReadyCount = mReady.size();
    shareReady();
    return true;
}

void Reactor::waitForEvents(Event* first) {
    epoll_event events[kEventsAtOnce];
    const int count = epoll_wait(mEpoll.get(), events, kEventsAtOnce, -1);
    if (count <= 0) return;
    *first = {events[0].data.u64, events[0].events};
    if (count == 1) return;
    {
        std::lock_guard lock(mReadyLock);
        for (int i = 1; i < count; ++i) mReady.push_back({events[i].data.u64, events[i].events});
        mReadyCount = mReady.size();
    }
    shareReady();
}

void Reactor::shareReady() {
    // This thread's own event may take long, so an idle thread must know of those left; this one
    // still counts as idle. A thread that becomes idle now looks for them itself.
    if (mReadyCount > 0 && mIdle > 1) mWakeUp->ring();
}

}  // namespace host::binder
