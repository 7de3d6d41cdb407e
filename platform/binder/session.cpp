// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <android-base/logging.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "unix_socket.h"

namespace host::binder {
namespace {

using android::base::unique_fd;

// The platform's client opens no more connections than this, whatever the server would allow.
constexpr size_t kMaxClientConnections = 10;
constexpr size_t kMaxIncomingConnections = 10;

// How long a server may take over the opening of a connection. All its threads may be busy with
// slow calls, so this only tells a hang from a wait.
constexpr timeval kOpeningTimeout{60, 0};

bool sendAll(int socket, const void* data, size_t size) {
    return send(socket, data, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

bool receiveAll(int socket, void* data, size_t size) {
    return recv(socket, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

}  // namespace

Session::Session(const Setup& setup, AIBinder* root, std::string path, size_t maxConnections)
    : mSetup(setup), mPath(std::move(path)), mRoot(root), mMaxConnections(maxConnections) {
    if (mRoot != nullptr) mRoot->incStrong();
}

Session::~Session() {
    end(nullptr);
}

std::shared_ptr<Session> Session::serve(const Setup& setup, AIBinder* root,
                                        uint32_t maxConnections) {
    std::shared_ptr<Session> session(new Session(setup, root, {}, maxConnections));
    std::lock_guard lock(session->mLock);
    session->mSelf = session;
    return session;
}

AIBinder* Session::connect(const std::string& path) {
    Setup setup{.isServer = false,
                .version = kProtocolVersion,
                .passesFds = true,
                .peer = {getuid(), getpid()},
                .id = {}};
    std::shared_ptr<Session> session(new Session(setup, nullptr, path, 1));
    {
        std::lock_guard lock(session->mLock);
        session->mSelf = session;
    }
    AIBinder* root = nullptr;
    binder_status_t status = session->setUpClient(&root);
    if (status != STATUS_OK) {
        session->end(nullptr);
        return nullptr;
    }
    return root;
}

binder_status_t Session::setUpClient(AIBinder** root) {
    unique_fd socket = dial(/*incoming=*/false, /*newSession=*/true);
    if (!socket.ok()) return STATUS_DEAD_OBJECT;
    WireNewSessionResponse response;
    if (!receiveAll(socket.get(), &response, sizeof(response))) return STATUS_DEAD_OBJECT;
    if (response.version > kProtocolVersion) {
        LOG(ERROR) << "The service at " << mPath << " answers with protocol version "
                   << response.version << "; at most " << kProtocolVersion << " was offered";
        return STATUS_BAD_VALUE;
    }
    mSetup.version = response.version;
    mSetup.passesFds = response.version >= 1;
    mSetup.peer = peerOf(socket.get());
    if (!addConnection(std::move(socket), Connection::Caller::kUs)) return STATUS_DEAD_OBJECT;

    AParcel in;
    AParcel out;
    int32_t threads = 0;
    binder_status_t status = transact(nullptr, kGetMaxThreads, in, out, 0);
    if (status == STATUS_OK) status = out.readValue(&threads);
    if (status == STATUS_OK && threads < 1) status = STATUS_BAD_VALUE;
    if (status != STATUS_OK) return status;
    {
        std::lock_guard lock(mLock);
        mMaxConnections = std::min(static_cast<size_t>(threads), kMaxClientConnections);
    }

    out.clear();
    int32_t size = 0;
    status = transact(nullptr, kGetSessionId, in, out, 0);
    if (status == STATUS_OK) status = out.readCount(1, &size);
    if (status == STATUS_OK && size != static_cast<int32_t>(kSessionIdSize)) {
        status = STATUS_BAD_VALUE;
    }
    if (status != STATUS_OK) return status;
    memcpy(mSetup.id.data(), out.read(kSessionIdSize), kSessionIdSize);

    out.clear();
    status = transact(nullptr, kGetRoot, in, out, 0);
    if (status == STATUS_OK) status = out.readBinder(root);
    if (status == STATUS_OK && *root == nullptr) status = STATUS_NAME_NOT_FOUND;
    return status;
}

unique_fd Session::dial(bool incoming, bool newSession) {
    unique_fd socket = connectUnix(mPath);
    if (!socket.ok()) return socket;
    (void)setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kOpeningTimeout,
                     sizeof(kOpeningTimeout));
    // Header, id and init are written at once, without waiting for an answer.
    struct {
        WireConnectionHeader header;
        std::array<uint8_t, kSessionIdSize + sizeof(WireConnectionInit)> rest;
    } opening{};
    opening.header.version = mSetup.version;
    opening.header.options = incoming ? kConnectionIncoming : 0;
    opening.header.fdMode =
        static_cast<uint8_t>(mSetup.passesFds ? WireFdMode::kUnix : WireFdMode::kNone);
    size_t size = sizeof(opening.header);
    if (!newSession) {
        opening.header.sessionIdSize = kSessionIdSize;
        memcpy(opening.rest.data(), mSetup.id.data(), kSessionIdSize);
        size += kSessionIdSize;
    }
    if (!incoming) {
        memcpy(reinterpret_cast<uint8_t*>(&opening) + size, &kConnectionInit,
               sizeof(kConnectionInit));
        size += sizeof(kConnectionInit);
    }
    if (!sendAll(socket.get(), &opening, size)) return {};
    if (incoming) {
        WireConnectionInit init;
        if (!receiveAll(socket.get(), &init, sizeof(init)) ||
            memcmp(init.magic, kConnectionInit.magic, sizeof(init.magic)) != 0) {
            LOG(WARNING) << "The service at " << mPath << " takes no callback connection";
            return {};
        }
    }
    return socket;
}

void Session::ensureIncoming() {
    if (mSetup.isServer) return;
    std::lock_guard lock(mIncomingLock);
    if (mIncomingOpened || mEnded) return;
    mIncomingOpened = true;
    unique_fd socket = dial(/*incoming=*/true, /*newSession=*/false);
    if (socket.ok()) (void)addConnection(std::move(socket), Connection::Caller::kPeer);
}

bool Session::addConnection(unique_fd socket, Connection::Caller caller) {
    constexpr timeval kNoTimeout{0, 0};
    (void)setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kNoTimeout, sizeof(kNoTimeout));
    bool onlyOurs = !mSetup.isServer && caller == Connection::Caller::kUs;
    auto connection =
        std::make_shared<Connection>(std::move(socket), caller, mSetup.passesFds, weak_from_this());
    {
        std::lock_guard lock(mLock);
        if (mEnded) return false;
        auto& list = caller == Connection::Caller::kPeer ? mServing : mCalling;
        bool clientCalls = mSetup.isServer == (caller == Connection::Caller::kPeer);
        if (list.size() >= (clientCalls ? mMaxConnections : kMaxIncomingConnections)) {
            LOG(WARNING) << "Binder peer " << mSetup.peer.pid << " wants more than the "
                         << list.size() << " connections its session may have";
            return false;
        }
        // Under the lock: once the client reads it, its callbacks find the connection here.
        if (mSetup.isServer && caller == Connection::Caller::kUs &&
            !sendAll(connection->fd(), &kConnectionInit, sizeof(kConnectionInit))) {
            return false;
        }
        list.push_back(connection);
    }
    // A client's own connections are read by whoever calls on them and by nobody else.
    if (onlyOurs || Reactor::get().add(connection)) {
        connectionFreed();
        return true;
    }
    connectionBroken(*connection);
    return false;
}

std::shared_ptr<Connection> Session::freeConnection() {
    for (const std::shared_ptr<Connection>& connection : mCalling) {
        if (connection->tryOwn()) return connection;
    }
    return nullptr;
}

std::shared_ptr<Connection> Session::acquireConnection(binder_status_t* status)
    NO_THREAD_SAFETY_ANALYSIS {  // std::unique_lock is not annotated
    std::unique_lock lock(mLock);
    ++mWaiting;
    std::shared_ptr<Connection> connection;
    *status = STATUS_OK;
    while (*status == STATUS_OK) {
        if (mEnded) {
            *status = STATUS_DEAD_OBJECT;
        } else if ((connection = freeConnection())) {
            break;
        } else if (mSetup.isServer && mCalling.empty()) {
            *status = STATUS_WOULD_BLOCK;
        } else if (!mSetup.isServer && mCalling.size() + mOpening < mMaxConnections) {
            ++mOpening;
            lock.unlock();
            unique_fd socket = dial(/*incoming=*/false, /*newSession=*/false);
            bool opened = socket.ok() && addConnection(std::move(socket), Connection::Caller::kUs);
            lock.lock();
            --mOpening;
            // A server that refuses gets no further attempts; what is open must do.
            if (!opened) mMaxConnections = std::max<size_t>(mCalling.size(), 1);
        } else {
            mConnectionFreed.wait(lock);
        }
    }
    --mWaiting;
    return connection;
}

bool Session::isAlive() {
    bool hungUp = false;
    if (!mEnded && !mSetup.isServer) {
        std::lock_guard lock(mLock);
        hungUp = !mCalling.empty() && mCalling.front()->isHungUp();
    }
    if (hungUp) end(nullptr);
    return !mEnded;
}

void Session::releaseConnection(Connection& connection) {
    while (!connection.tryDisown()) connection.onReady(/*drain=*/true);
    connectionFreed();
}

void Session::connectionFreed() {
    if (mWaiting == 0) return;
    std::lock_guard lock(mLock);
    mConnectionFreed.notify_all();
}

void Session::connectionBroken(Connection& connection) {
    bool last = false;
    {
        std::lock_guard lock(mLock);
        auto& list = connection.caller() == Connection::Caller::kPeer ? mServing : mCalling;
        std::erase_if(list, [&](const auto& c) { return c.get() == &connection; });
        // A server's session lives while a client can call in it; a client's needs every connection
        // it opened, since what was under way on a lost one cannot be known.
        last = !mSetup.isServer || mServing.empty();
        mConnectionFreed.notify_all();
    }
    connection.shutDown();
    Reactor::get().remove(connection);
    if (last) end(nullptr);
}

void Session::end(const char* reason) {
    std::vector<std::shared_ptr<Connection>> connections;
    std::unordered_map<uint64_t, Node> nodes;
    std::vector<AIBinder*> released;
    std::shared_ptr<Session> self;  // let go last
    {
        std::lock_guard lock(mLock);
        if (mEnded.exchange(true)) return;
        self = std::move(mSelf);
        connections = std::move(mServing);
        connections.insert(connections.end(), mCalling.begin(), mCalling.end());
        mCalling.clear();
        nodes = std::move(mNodes);
        mNodes.clear();
        mLocalAddresses.clear();
        mOwing.clear();
        released = std::move(mReleased);
        if (mRoot != nullptr) released.push_back(std::exchange(mRoot, nullptr));
        for (auto& [_, node] : nodes) {
            if (node.local != nullptr) released.push_back(node.local);
            // Held until told; under the lock, since proxyDropped() waits for it before the proxy
            // goes.
            if (node.proxy != nullptr && !node.proxy->tryIncStrong()) node.proxy = nullptr;
        }
        mConnectionFreed.notify_all();
    }
    if (reason != nullptr) {
        LOG(WARNING) << "Ending the binder session with process " << mSetup.peer.pid << ": "
                     << reason;
    }
    for (const auto& connection : connections) {
        connection->shutDown();
        Reactor::get().remove(*connection);
    }
    for (auto& [_, node] : nodes) {
        if (node.proxy == nullptr) continue;
        // Recipients run on a pool thread: this one may hold locks of its own.
        if (node.proxy->hasDeathLinks()) {
            Reactor::get().post([proxy = node.proxy] {
                proxy->tellDeath();
                proxy->decStrong();
            });
        } else {
            node.proxy->decStrong();
        }
    }
    for (AIBinder* binder : released) binder->decStrong();
}

size_t Session::addressCount() {
    std::lock_guard lock(mLock);
    return mNodes.size();
}

}  // namespace host::binder
