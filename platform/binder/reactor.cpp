// SPDX-License-Identifier: Apache-2.0
#include "reactor.h"

#include <android-base/logging.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <utility>

#include "thread.h"

namespace android::host {
namespace {

using android::base::unique_fd;

// Edge-triggered: the news of one arrival wakes one thread once, and a thread that reads all that
// was there needs no further system call to go back to waiting.
constexpr uint32_t kReadEvents = EPOLLIN | EPOLLRDHUP | EPOLLET;

// Fetched in one system call; a burst of calls to many connections costs one for several.
constexpr int kEventsAtOnce = 16;

thread_local bool tIsPoolThread = false;
thread_local int tPeerWaits = 0;

uint32_t eventsOf(const Pollable& object) {
    return object.trigger() == Pollable::Trigger::kEdge ? kReadEvents
                                                        : uint32_t{EPOLLIN | EPOLLONESHOT};
}

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

void Pollable::giveBack() {
    mState = State::kIdle;
    Reactor::get().schedule(*this);
}

void Pollable::serve(uint32_t epollEvents) {
    if ((epollEvents & EPOLLOUT) != 0) onWritable();
    while (!tryOwn()) {
        State owned = State::kOwned;
        (void)mState.compare_exchange_strong(owned, State::kOwnedWithNews);
        if (owned == State::kIdle) continue;
        if ((epollEvents & EPOLLHUP) != 0) onHangUpWhileOwned();
        return;
    }
    bool drain = (epollEvents & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    do {
        if (!onReady(drain) || !linger()) return;
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

    bool onReady(bool) override {
        eventfd_t count;
        (void)eventfd_read(mEvent.get(), &count);
        while (std::function<void()> task = pop()) task();
        return true;
    }

  private:
    std::function<void()> pop() EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        if (mTasks.empty()) return nullptr;
        std::function<void()> task = std::move(mTasks.front());
        mTasks.pop_front();
        return task;
    }

    const unique_fd mEvent;
    std::mutex mLock;
    std::deque<std::function<void()>> mTasks GUARDED_BY(mLock);
};

// Rings only while something is pending: an idle process sleeps.
class Reactor::Ticker : public Pollable {
  public:
    Ticker() : mTimer(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
        PCHECK(mTimer.ok());
    }

    int fd() const override { return mTimer.get(); }

    void watch(std::weak_ptr<Timed> object) EXCLUDES(mLock) {
        std::lock_guard lock(mLock);
        if (mWatched.empty()) {
            constexpr long kNanoseconds = std::chrono::nanoseconds(kLimitCheckInterval).count();
            const itimerspec once{.it_interval = {}, .it_value = {0, kNanoseconds}};
            (void)timerfd_settime(mTimer.get(), 0, &once, nullptr);
        }
        mWatched.push_back(std::move(object));
    }

    bool onReady(bool) override {
        uint64_t rings;
        (void)read(mTimer.get(), &rings, sizeof(rings));
        std::vector<std::weak_ptr<Timed>> watched;
        {
            std::lock_guard lock(mLock);
            watched.swap(mWatched);
        }
        const Deadline now = Clock::now();
        for (const auto& weak : watched) {
            const std::shared_ptr<Timed> object = weak.lock();
            if (!object) continue;
            object->mTicking = false;
            if (object->onTick(now) && !object->mTicking.exchange(true)) watch(weak);
        }
        return true;
    }

  private:
    const unique_fd mTimer;
    std::mutex mLock;
    std::vector<std::weak_ptr<Timed>> mWatched GUARDED_BY(mLock);
};

// Brings one waiting thread back from the kernel.
class Reactor::WakeUp : public Pollable {
  public:
    WakeUp() : mEvent(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) { PCHECK(mEvent.ok()); }

    int fd() const override { return mEvent.get(); }
    void ring() { (void)eventfd_write(mEvent.get(), 1); }
    // Each ring is news of its own; the count is never read.
    bool onReady(bool) override { return true; }

  private:
    const unique_fd mEvent;
};

Reactor& Reactor::get() {
    static Reactor* const reactor = new Reactor;
    return *reactor;
}

Reactor::Reactor()
    : mEpoll(epoll_create1(EPOLL_CLOEXEC)),
      mTasks(std::make_shared<TaskQueue>()),
      mTicker(std::make_shared<Ticker>()),
      mWakeUp(std::make_shared<WakeUp>()) {
    PCHECK(mEpoll.ok());
    CHECK(add(mTasks));
    CHECK(add(mTicker));
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
    epoll_event event{.events = eventsOf(*object), .data = {.u64 = object->mToken}};
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

bool Reactor::beginLinger(Pollable& object) {
    if (isNeeded() || mLingering.exchange(true)) return false;
    epoll_event event{.events = EPOLLET, .data = {.u64 = object.mToken}};
    (void)epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, object.fd(), &event);
    return true;
}

void Reactor::endLinger(Pollable& object, bool writable) {
    watchWritable(object, writable);  // also of what has arrived meanwhile
    mLingering = false;
}

void Reactor::rearm(Pollable& object) {
    epoll_event event{.events = eventsOf(object), .data = {.u64 = object.mToken}};
    (void)epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, object.fd(), &event);
}

void Reactor::tick(std::weak_ptr<Timed> object) {
    mTicker->watch(std::move(object));
}

void Reactor::post(std::function<void()> task) {
    mTasks->post(std::move(task));
}

void Reactor::startPool() {
    if (!mStarted.exchange(true)) (void)startPoolThread();
}

bool Reactor::startPoolThread() {
    const bool started = startThread("binder", [this] {
        tIsPoolThread = true;
        while (!retire()) serveOne();
    });
    if (!started) LOG(ERROR) << "Cannot start a binder thread: no thread left";
    return started;
}

bool Reactor::startSpareThread() {
    uint32_t spawned = mSpawned;
    if (!mStarted || spawned >= mMaxSpawned + mWaiting ||
        !mSpawned.compare_exchange_strong(spawned, spawned + 1)) {
        return true;  // there are as many as there may be
    }
    if (startPoolThread()) return true;
    --mSpawned;
    return false;
}

bool Reactor::retire() {
    uint32_t spawned = mSpawned;
    // The last idle thread stays, to notice what arrives.
    if (spawned <= mMaxSpawned + mWaiting || mIdle == 0 ||
        !mSpawned.compare_exchange_strong(spawned, spawned - 1)) {
        return false;
    }
    // It may have been this thread that was woken for what is ready.
    shareReady(mIdle);
    return true;
}

void Reactor::joinPool() {
    tIsPoolThread = true;
    while (true) serveOne();
}

Reactor::PeerWait::PeerWait() : mCounts(tIsPoolThread && tPeerWaits == 0) {
    ++tPeerWaits;
    if (!mCounts) return;
    Reactor& reactor = Reactor::get();
    mAllowed = ++reactor.mWaiting <= kMaxWaitingThreads;
    if (mAllowed && reactor.mIdle == 0) mAllowed = reactor.startSpareThread();
    if (!mAllowed) {
        LOG(WARNING) << "A call to a binder peer fails: too many threads wait for peers, "
                        "or no thread is left";
    }
}

Reactor::PeerWait::~PeerWait() {
    --tPeerWaits;
    if (!mCounts) return;
    Reactor& reactor = Reactor::get();
    --reactor.mWaiting;
    // The thread that took the place has to notice that it is one too many.
    if (reactor.mSpawned > reactor.mMaxSpawned + reactor.mWaiting) reactor.mWakeUp->ring();
}

void Reactor::serveOne() {
    Event event;
    ++mIdle;
    if (!takeReady(&event)) waitForEvents(&event);
    const bool lastIdle = --mIdle == 0;
    if (event.token == 0) return;
    if (lastIdle) (void)startSpareThread();
    if (std::shared_ptr<Pollable> object = find(event.token)) object->serve(event.events);
}

void Reactor::schedule(Pollable& object) {
    {
        std::lock_guard lock(mReadyLock);
        // The news of a hang-up may have been given out while the object was owned.
        mReady.push_back({object.mToken, EPOLLIN | EPOLLRDHUP});
        mReadyCount = mReady.size();
    }
    shareReady(mIdle);
}

bool Reactor::takeReady(Event* event) {
    if (mReadyCount == 0) return false;
    {
        std::lock_guard lock(mReadyLock);
        if (mReady.empty()) return false;
        *event = mReady.front();
        mReady.pop_front();
        mReadyCount = mReady.size();
    }
    shareReady(mIdle - 1);
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
    shareReady(mIdle - 1);
}

void Reactor::shareReady(uint32_t otherIdle) {
    // This thread's own work may take long, so an idle thread must know of what is left. A thread
    // that becomes idle now looks for it itself.
    if (mReadyCount > 0 && otherIdle > 0) mWakeUp->ring();
}

}  // namespace android::host
