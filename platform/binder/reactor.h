// SPDX-License-Identifier: Apache-2.0
//
// The process's one binder runtime: a pool of threads that waits on one epoll descriptor and serves
// whatever becomes ready, the sockets of all sessions alike. Server and client side share it.
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace host::binder {

// Something with a descriptor that the pool serves. At most one thread at a time owns it: the pool
// thread that serves it, or a caller that uses its socket for a call of its own.
class Pollable : public std::enable_shared_from_this<Pollable> {
  public:
    virtual ~Pollable() = default;

    virtual int fd() const = 0;

    // Serves what has arrived; the calling thread owns the object. With `drain` it must read until
    // the kernel has nothing more, since the news of it may have been given out already.
    virtual void onReady(bool drain) = 0;

    // The other side closed while another thread owns the object, perhaps for long.
    virtual void onHangUpWhileOwned() {}

    // A pool thread has given the object up; others may have waited for it.
    virtual void onDisowned() {}

    bool isOwned() const { return mState != State::kIdle; }

    // Takes ownership when nobody has it.
    [[nodiscard]] bool tryOwn();

    // Gives ownership up. False: something arrived meanwhile; the thread still owns the object and
    // must call onReady(true) and try again.
    [[nodiscard]] bool tryDisown();

    // Ownership for the pool: when somebody has it, that thread is told to look once more.
    void serve(uint32_t epollEvents);

  private:
    friend class Reactor;

    enum class State : uint8_t { kIdle, kOwned, kOwnedWithNews };

    std::atomic<State> mState{State::kIdle};
    uint64_t mToken = 0;  // set once, by Reactor::add
};

class Reactor {
  public:
    // Made on first use and never destroyed: pool threads outlive main().
    static Reactor& get();

    // Watches the object's descriptor and keeps the object until remove(). False when the kernel
    // refuses (out of memory or watches).
    [[nodiscard]] bool add(const std::shared_ptr<Pollable>& object);
    void remove(Pollable& object);

    // Whether the object's onReady is also wanted when its socket can take bytes again.
    void watchWritable(Pollable& object, bool wanted);

    // Runs `task` on a pool thread; waits for one where the pool has not been started yet.
    void post(std::function<void()> task);

    // How many threads the runtime may start itself when all are busy, beside the first.
    void setMaxThreads(uint32_t count) { mMaxSpawned = count; }
    uint32_t maxThreads() const { return mMaxSpawned; }

    // Starts the first thread, once; later calls do nothing.
    void startPool();

    // Makes the caller a pool thread, for good.
    void joinPool();

  private:
    class TaskQueue;
    class WakeUp;

    struct Event {
        uint64_t token = 0;  // 0 is nobody's
        uint32_t events = 0;
    };

    Reactor();
    void startThread();
    void serveOne() EXCLUDES(mReadyLock);
    bool takeReady(Event* event) EXCLUDES(mReadyLock);
    void waitForEvents(Event* first) EXCLUDES(mReadyLock);
    void shareReady();
    std::shared_ptr<Pollable> find(uint64_t token) EXCLUDES(mLock);

    struct Slot {
        uint32_t generation = 0;
        std::shared_ptr<Pollable> object;
    };

    android::base::unique_fd mEpoll;
    std::shared_ptr<TaskQueue> mTasks;  // const after construction, locks itself
    std::shared_ptr<WakeUp> mWakeUp;    // const after construction

    std::mutex mLock;
    std::vector<Slot> mSlots GUARDED_BY(mLock);
    std::vector<uint32_t> mFreeSlots GUARDED_BY(mLock);

    // Events that one thread fetched together with its own. Whoever is free takes them.
    std::mutex mReadyLock;
    std::deque<Event> mReady GUARDED_BY(mReadyLock);
    std::atomic<size_t> mReadyCount{0};

    std::atomic<bool> mStarted{false};
    std::atomic<uint32_t> mMaxSpawned{15};  // the platform's default
    std::atomic<uint32_t> mSpawned{0};
    std::atomic<uint32_t> mIdle{0};
};

}  // namespace host::binder
