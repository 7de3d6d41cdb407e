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

#include "peer_limits.h"

namespace android::host {

// Something that may be pending for too long.
class Timed {
  public:
    virtual ~Timed() = default;

    // Checks that. Called by a pool thread, in regular intervals from Reactor::watchTime() on, for
    // as long as it returns true.
    virtual bool onTick(Deadline now) = 0;

  private:
    friend class Reactor;
    std::atomic<bool> mTicking{false};
};

// Something with a descriptor that the pool serves. At most one thread at a time owns it: the pool
// thread that serves it, or a caller that uses its socket for a call of its own.
class Pollable : public std::enable_shared_from_this<Pollable>, public Timed {
  public:
    // When the pool hears of new input again: at the next arrival, for whoever reads all there is;
    // or once rearm() asks for it, and then also of what is still there.
    enum class Trigger { kEdge, kOneShot };

    virtual int fd() const = 0;
    virtual Trigger trigger() const { return Trigger::kEdge; }

    // Serves what has arrived; the calling thread owns the object. With `drain` it must read until
    // the kernel has nothing more, since the news of it may have been given out already. Returns
    // false when it handed the ownership to another thread, which ends it with giveBack().
    virtual bool onReady(bool drain) = 0;

    // May serve what arrives in the next moment, too, waiting at the descriptor itself: that saves
    // the requests of a busy caller the way through the pool. The calling pool thread owns the
    // object. False as for onReady().
    virtual bool linger() { return true; }

    // The descriptor can take bytes again. Called by any thread, owner or not.
    virtual void onWritable() {}

    // The other side closed while another thread owns the object, perhaps for long.
    virtual void onHangUpWhileOwned() {}

    // A pool thread has given the object up; others may have waited for it.
    virtual void onDisowned() {}

    bool onTick(Deadline /*now*/) override { return false; }

    bool isOwned() const { return mState != State::kIdle; }

    // Takes ownership when it is free.
    [[nodiscard]] bool tryOwn();

    // Gives ownership up. False: something arrived meanwhile; the thread still owns the object and
    // must call onReady(true) and try again.
    [[nodiscard]] bool tryDisown();

    // Ends an ownership that onReady() handed on: the pool serves what has arrived meanwhile.
    void giveBack();

    // Serves it in this pool thread; when another thread owns it, that one is told to look again.
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

    // Whether the object's onWritable and onReady are also wanted when its socket can take bytes
    // again.
    void watchWritable(Pollable& object, bool wanted);
    // For Trigger::kOneShot: hear of input again, also of what is there already.
    void rearm(Pollable& object);

    // Has onTick called from kLimitCheckInterval on. Costs a system call when nothing was watched.
    template <typename Object>
    void watchTime(Object& object) {
        if (!static_cast<Timed&>(object).mTicking.exchange(true)) tick(object.weak_from_this());
    }

    // Around Pollable::linger(): takes the object's input from the pool, and gives it back. False
    // when no thread would be left to wait for all others, or another one lingers already.
    [[nodiscard]] bool beginLinger(Pollable& object);
    void endLinger(Pollable& object, bool writable);
    // Whether a lingering thread should return to the pool, since no thread waits for the others.
    bool isNeeded() const { return mIdle == 0; }

    // Runs `task` on a pool thread, after earlier tasks; waits for one where the pool has not been
    // started yet.
    void post(std::function<void()> task);

    // How many threads the runtime may start itself when all are busy, beside the first.
    void setMaxThreads(uint32_t count) { mMaxSpawned = count; }
    uint32_t maxThreads() const { return mMaxSpawned; }

    // Starts the first thread, once; later calls do nothing.
    void startPool();

    // Makes the calling thread a pool thread; does not return.
    void joinPool();

    // For the time of its life the calling thread waits for a peer. When that leaves no thread to
    // serve the others, a further thread takes its place until the wait is over.
    class PeerWait {
      public:
        PeerWait();
        ~PeerWait();
        PeerWait(const PeerWait&) = delete;
        PeerWait& operator=(const PeerWait&) = delete;

        // False when too many threads wait already, or there is no thread to take the place.
        [[nodiscard]] bool isAllowed() const { return mAllowed; }

      private:
        const bool mCounts;  // a pool thread's, and not inside another wait of the same thread
        bool mAllowed = true;
    };

  private:
    class TaskQueue;
    class Ticker;
    class WakeUp;

    struct Event {
        uint64_t token = 0;  // 0 for none
        uint32_t events = 0;
    };

    Reactor();
    void tick(std::weak_ptr<Timed> object);
    // Starts one more thread when the limit, and those waiting for peers, leave room for it.
    bool startSpareThread();
    bool startPoolThread();
    // Whether the calling thread, which replaced a waiting one, is no longer needed and has to end.
    bool retire();
    void serveOne() EXCLUDES(mReadyLock);
    void schedule(Pollable& object) EXCLUDES(mReadyLock);
    bool takeReady(Event* event) EXCLUDES(mReadyLock);
    void waitForEvents(Event* first) EXCLUDES(mReadyLock);
    void shareReady(uint32_t otherIdle);
    std::shared_ptr<Pollable> find(uint64_t token) EXCLUDES(mLock);

    friend class Pollable;

    struct Slot {
        uint32_t generation = 0;
        std::shared_ptr<Pollable> object;
    };

    android::base::unique_fd mEpoll;
    std::shared_ptr<TaskQueue> mTasks;  // const after construction, locks itself
    std::shared_ptr<Ticker> mTicker;    // const after construction, locks itself
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
    std::atomic<bool> mLingering{false};
    std::atomic<uint32_t> mWaiting{0};  // pool threads that wait for peers
};

}  // namespace android::host
