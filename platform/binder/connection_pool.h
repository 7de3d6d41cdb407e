// SPDX-License-Identifier: Apache-2.0
//
// The connections of a session: who may call on which.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "binder.h"
#include "connection.h"

namespace android::host {

// Any thread.
class ConnectionPool {
  public:
    // `maxClientCalls`: connections on which the client may call. A client's pool opens further
    // ones with `openAnother`, which adds what it opened and returns whether it could.
    ConnectionPool(bool isServer, size_t maxClientCalls, std::function<bool()> openAnother);

    // Takes a connection in; for one on which a server calls, first tells the client that it may
    // listen. False when the pool is closed or has as many as it may.
    bool add(const std::shared_ptr<Connection>& connection) EXCLUDES(mLock);
    // Drops a connection. True when the session cannot go on without it.
    bool remove(const Connection& connection) EXCLUDES(mLock);
    // Drops all, for good; whoever waits in acquire() gets STATUS_DEAD_OBJECT.
    std::vector<std::shared_ptr<Connection>> close() EXCLUDES(mLock);

    // A connection for a call, owned by the calling thread until release(). Waits for one, or opens
    // one. Null with STATUS_DEAD_OBJECT when closed, STATUS_WOULD_BLOCK when the peer gave this
    // side none, STATUS_TIMED_OUT.
    std::shared_ptr<Connection> acquire(Deadline deadline, binder_status_t* status) EXCLUDES(mLock);
    void release(Connection& connection);
    // A connection was given up elsewhere.
    void notifyFreed() EXCLUDES(mLock);

    // One for a message without a reply, a free one first: whole messages may go out on a
    // connection on which another thread's call waits. Null when there is none.
    std::shared_ptr<Connection> forMessage() EXCLUDES(mLock);

    // Whether the other side is known to have closed, for a pool whose connections are not watched.
    bool isHungUp() EXCLUDES(mLock);

    size_t maxClientCalls() EXCLUDES(mLock);
    void setMaxClientCalls(size_t count) EXCLUDES(mLock);

  private:
    std::shared_ptr<Connection> findFree() REQUIRES(mLock);

    const bool mIsServer;
    const std::function<bool()> mOpenAnother;
    std::atomic<int> mWaiting{0};  // threads in acquire()

    std::mutex mLock;
    bool mIsClosed GUARDED_BY(mLock) = false;
    size_t mMaxClientCalls GUARDED_BY(mLock);
    size_t mOpening GUARDED_BY(mLock) = 0;
    std::vector<std::shared_ptr<Connection>> mServing GUARDED_BY(mLock);  // the peer calls on them
    std::vector<std::shared_ptr<Connection>> mCalling GUARDED_BY(mLock);  // we call on them
    std::condition_variable mFreed;
};

}  // namespace android::host
