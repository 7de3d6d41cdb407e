// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <android-base/logging.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "serving_context.h"
#include "unix_socket.h"

namespace android::host {

using android::base::unique_fd;

Session::Session(const Setup& setup, AIBinder* root, std::string path, size_t maxCalls)
    : mSetup(setup),
      mPath(std::move(path)),
      mConnections(setup.isServer, maxCalls,
                   [this] {
                       unique_fd socket = dialAnother(/*incoming=*/false);
                       return socket.ok() &&
                              addConnection(std::move(socket), Connection::Caller::kUs);
                   }),
      mObjects(*this, setup.isServer),
      mRoot(root) {
    if (mRoot != nullptr) mRoot->incStrong();
}

Session::~Session() {
    end(nullptr);
}

std::shared_ptr<Session> Session::serve(const Setup& setup, AIBinder* root, size_t maxCalls) {
    std::shared_ptr<Session> session(new Session(setup, root, {}, maxCalls));
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
    unique_fd socket = dial(mPath, {});
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
    mConnections.setMaxClientCalls(std::min(static_cast<size_t>(threads), kMaxClientConnections));

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

unique_fd Session::dialAnother(bool incoming) {
    return dial(mPath, {.version = mSetup.version,
                        .passesFds = mSetup.passesFds,
                        .incoming = incoming,
                        .id = &mSetup.id});
}

binder_status_t Session::ensureIncoming() {
    if (mSetup.isServer) return STATUS_OK;
    std::lock_guard lock(mIncomingLock);
    if (mIncomingOpened) return STATUS_OK;
    if (mEnded) return STATUS_DEAD_OBJECT;
    unique_fd socket = dialAnother(/*incoming=*/true);
    mIncomingOpened = socket.ok() && addConnection(std::move(socket), Connection::Caller::kPeer);
    return mIncomingOpened ? STATUS_OK : STATUS_FAILED_TRANSACTION;
}

bool Session::addConnection(unique_fd socket, Connection::Caller caller) {
    const Connection::Options options{
        .caller = caller,
        .passesFds = mSetup.passesFds,
        // A client's own connections are read only by the threads that call on them.
        .isWatched = mSetup.isServer || caller == Connection::Caller::kPeer,
        .mayLinger = mSetup.isServer && caller == Connection::Caller::kPeer};
    auto connection =
        std::make_shared<Connection>(std::move(socket), options, weak_from_this(), mHeldFds);
    if (!mConnections.add(connection)) return false;
    if (!options.isWatched || Reactor::get().add(connection)) return true;
    connectionBroken(*connection, nullptr);
    return false;
}

bool Session::isAlive() {
    if (!mEnded && !mSetup.isServer && mConnections.isHungUp()) end(nullptr);
    return !mEnded;
}

void Session::connectionBroken(Connection& connection, const char* reason) {
    const bool isLast = mConnections.remove(connection);
    connection.shutDown();
    Reactor::get().remove(connection);
    if (isLast || reason != nullptr) end(reason);
}

bool Session::onTick(Deadline now) {
    Deadline since;
    if (!mObjects.hasGap(&since)) return false;
    if (now - since <= kPeerTimeout) return true;
    end("an earlier oneway call did not arrive in time");
    return false;
}

binder_status_t Session::addressArrived(WireAddress address, int32_t stability, bool isFirst,
                                        AIBinder** binder) {
    return mObjects.addressArrived(shared_from_this(), address, stability, isFirst, binder);
}

void Session::proxyDropped(ProxyBinder& proxy) {
    // While this thread serves the same peer, its answer carries the pending DEC_STRONGs.
    if (mObjects.proxyDropped(proxy) && ServingContext::nestedConnection(*this) == nullptr) {
        sendPending();
    }
}

void Session::tidyUp() {
    if (!mObjects.hasLeftovers()) return;
    const ObjectTable::Leftovers leftovers = mObjects.takeLeftovers();
    for (AIBinder* binder : leftovers.released) binder->decStrong();
    if (leftovers.isUnused) end(nullptr);
}

void Session::end(const char* reason) {
    std::shared_ptr<Session> self;  // let go last
    std::vector<AIBinder*> released;
    std::vector<ProxyBinder*> proxies;
    {
        std::lock_guard lock(mLock);
        if (mEnded.exchange(true)) return;
        self = std::move(mSelf);
        if (mRoot != nullptr) released.push_back(std::exchange(mRoot, nullptr));
    }
    if (reason != nullptr) {
        LOG(WARNING) << "Ending the binder session with process " << mSetup.peer.pid << ": "
                     << reason;
    }
    for (const auto& connection : mConnections.close()) {
        connection->shutDown();
        Reactor::get().remove(*connection);
    }
    mObjects.close(&released, &proxies);
    for (ProxyBinder* proxy : proxies) {
        // Recipients run on a pool thread: this one may hold locks of its own.
        if (proxy->hasDeathLinks()) {
            Reactor::get().post([proxy] {
                proxy->tellDeath();
                proxy->decStrong();
            });
        } else {
            proxy->decStrong();
        }
    }
    for (AIBinder* binder : released) binder->decStrong();
}

}  // namespace android::host
