// SPDX-License-Identifier: Apache-2.0
#include "connection_pool.h"

#include <android-base/logging.h>

#include <algorithm>
#include <utility>

#include "dial.h"

namespace android::host {

ConnectionPool::ConnectionPool(bool isServer, size_t maxClientCalls,
                               std::function<bool()> openAnother)
    : mIsServer(isServer), mOpenAnother(std::move(openAnother)), mMaxClientCalls(maxClientCalls) {}

bool ConnectionPool::add(const std::shared_ptr<Connection>& connection) {
    {
        std::lock_guard lock(mLock);
        if (mIsClosed) return false;
        auto& list = connection->caller() == Connection::Caller::kPeer ? mServing : mCalling;
        const bool clientCalls = mIsServer == (connection->caller() == Connection::Caller::kPeer);
        if (list.size() >= (clientCalls ? mMaxClientCalls : kMaxIncomingConnections)) {
            LOG(WARNING) << "Refusing a connection: a binder session may have at most "
                         << list.size();
            return false;
        }
        // Under the lock: once the client reads it, its callbacks find the connection here.
        if (mIsServer && connection->caller() == Connection::Caller::kUs &&
            !sendAll(connection->fd(), &kConnectionInit, sizeof(kConnectionInit))) {
            return false;
        }
        list.push_back(connection);
    }
    notifyFreed();
    return true;
}

bool ConnectionPool::remove(const Connection& connection) {
    std::lock_guard lock(mLock);
    auto& list = connection.caller() == Connection::Caller::kPeer ? mServing : mCalling;
    std::erase_if(list, [&](const auto& c) { return c.get() == &connection; });
    mFreed.notify_all();
    // A server's session lives while a client can call in it; a client's needs every connection it
    // opened, since what was under way on a lost one cannot be known.
    return !mIsServer || mServing.empty();
}

std::vector<std::shared_ptr<Connection>> ConnectionPool::close() {
    std::lock_guard lock(mLock);
    mIsClosed = true;
    std::vector<std::shared_ptr<Connection>> all = std::move(mServing);
    all.insert(all.end(), mCalling.begin(), mCalling.end());
    mServing.clear();
    mCalling.clear();
    mFreed.notify_all();
    return all;
}

std::shared_ptr<Connection> ConnectionPool::findFree() {
    for (const std::shared_ptr<Connection>& connection : mCalling) {
        if (connection->tryOwn()) return connection;
    }
    return nullptr;
}

std::shared_ptr<Connection> ConnectionPool::acquire(Deadline deadline, binder_status_t* status)
    NO_THREAD_SAFETY_ANALYSIS {  // std::unique_lock is not annotated
    std::unique_lock lock(mLock);
    std::shared_ptr<Connection> connection;
    *status = STATUS_OK;
    if (!mIsClosed && (connection = findFree())) return connection;
    ++mWaiting;
    while (*status == STATUS_OK) {
        if (mIsClosed) {
            *status = STATUS_DEAD_OBJECT;
        } else if ((connection = findFree())) {
            break;
        } else if (mIsServer && mCalling.empty()) {
            *status = STATUS_WOULD_BLOCK;
        } else if (!mIsServer && mCalling.size() + mOpening < mMaxClientCalls) {
            ++mOpening;
            lock.unlock();
            const bool opened = mOpenAnother();
            lock.lock();
            --mOpening;
            // After a refusal, make do with the open ones.
            if (!opened) mMaxClientCalls = std::max<size_t>(mCalling.size(), 1);
        } else if (deadline == kNoDeadline) {
            mFreed.wait(lock);
        } else if (mFreed.wait_until(lock, deadline) == std::cv_status::timeout) {
            *status = STATUS_TIMED_OUT;
        }
    }
    --mWaiting;
    return connection;
}

void ConnectionPool::release(Connection& connection) {
    while (!connection.tryDisown()) {
        if (!connection.onReady(/*drain=*/true)) return;
    }
    notifyFreed();
}

void ConnectionPool::notifyFreed() {
    if (mWaiting == 0) return;
    std::lock_guard lock(mLock);
    mFreed.notify_all();
}

std::shared_ptr<Connection> ConnectionPool::forMessage() {
    std::lock_guard lock(mLock);
    std::shared_ptr<Connection> chosen;
    for (const auto& candidate : mCalling) {
        if (!chosen || chosen->isOwned()) chosen = candidate;
    }
    return chosen;
}

bool ConnectionPool::isHungUp() {
    std::lock_guard lock(mLock);
    return !mCalling.empty() && mCalling.front()->isHungUp();
}

size_t ConnectionPool::maxClientCalls() {
    std::lock_guard lock(mLock);
    return mMaxClientCalls;
}

void ConnectionPool::setMaxClientCalls(size_t count) {
    std::lock_guard lock(mLock);
    mMaxClientCalls = count;
}

}  // namespace android::host
