// SPDX-License-Identifier: Apache-2.0
#include "listener.h"

#include <android-base/logging.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

#include "unix_socket.h"

namespace host::binder {
namespace {

using android::base::unique_fd;

unique_fd openReserve() {
    return unique_fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

// A connection that has not said yet what it is. Reads exactly the opening and leaves the rest.
class Opening : public Pollable {
  public:
    Opening(unique_fd socket, const Caller& peer, std::weak_ptr<Listener> listener)
        : mSocket(std::move(socket)), mPeer(peer), mListener(std::move(listener)) {}

    int fd() const override { return mSocket.get(); }

    void onReady(bool) override {
        while (mSocket.ok()) {
            ssize_t count =
                recv(mSocket.get(), mBytes.data() + mHave, mWanted - mHave, MSG_DONTWAIT);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return;
            if (count <= 0) return refuse(nullptr);
            mHave += static_cast<size_t>(count);
            if (mHave == mWanted) advance();
        }
    }

  private:
    enum class Stage { kHeader, kSessionId, kInit };

    void expect(Stage stage, size_t size) {
        mStage = stage;
        mHave = 0;
        mWanted = size;
    }

    void advance() {
        switch (mStage) {
            case Stage::kHeader:
                return takeHeader();
            case Stage::kSessionId:
                memcpy(mSessionId.data(), mBytes.data(), mSessionId.size());
                return isIncoming() ? join() : expect(Stage::kInit, sizeof(WireConnectionInit));
            case Stage::kInit:
                if (memcmp(mBytes.data(), kConnectionInit.magic, sizeof(kConnectionInit.magic)) !=
                    0) {
                    return refuse("its first bytes are not those of a caller");
                }
                return mHeader.sessionIdSize == 0 ? start() : join();
        }
    }

    bool isIncoming() const { return (mHeader.options & kConnectionIncoming) != 0; }

    void takeHeader() {
        memcpy(&mHeader, mBytes.data(), sizeof(mHeader));
        if (mHeader.fdMode > static_cast<uint8_t>(WireFdMode::kUnix)) {
            return refuse("it wants a way to pass descriptors that does not exist");
        }
        if (mHeader.sessionIdSize == kSessionIdSize) {
            return expect(Stage::kSessionId, kSessionIdSize);
        }
        if (mHeader.sessionIdSize != 0) return refuse("its session id has a wrong size");
        if (isIncoming()) return refuse("a session cannot begin with a callback connection");
        WireNewSessionResponse response{std::min(mHeader.version, kProtocolVersion), {}};
        if (!write(&response, sizeof(response))) return refuse(nullptr);
        expect(Stage::kInit, sizeof(WireConnectionInit));
    }

    void start() {
        std::shared_ptr<Listener> listener = mListener.lock();
        if (!listener) return refuse(nullptr);
        Session::Setup setup{
            .isServer = true,
            .version = std::min(mHeader.version, kProtocolVersion),
            .passesFds =
                mHeader.version >= 1 && mHeader.fdMode == static_cast<uint8_t>(WireFdMode::kUnix),
            .peer = mPeer,
            .id = {},
        };
        if (getrandom(setup.id.data(), setup.id.size(), 0) !=
            static_cast<ssize_t>(setup.id.size())) {
            return refuse("there is no random session id to be had");
        }
        handOver(listener->open(setup), Connection::Caller::kPeer);
    }

    void join() {
        std::shared_ptr<Listener> listener = mListener.lock();
        std::shared_ptr<Session> session = listener ? listener->find(mSessionId) : nullptr;
        if (!session) return refuse("its session does not exist");
        handOver(session, isIncoming() ? Connection::Caller::kUs : Connection::Caller::kPeer);
    }

    void handOver(const std::shared_ptr<Session>& session, Connection::Caller caller) {
        Reactor::get().remove(*this);
        (void)session->addConnection(std::move(mSocket), caller);
        mSocket.reset();
    }

    void refuse(const char* reason) {
        if (reason != nullptr) {
            LOG(WARNING) << "Refusing a binder connection of process " << mPeer.pid << ": "
                         << reason;
        }
        Reactor::get().remove(*this);
        mSocket.reset();
    }

    bool write(const void* data, size_t size) {
        return send(mSocket.get(), data, size, MSG_NOSIGNAL | MSG_DONTWAIT) ==
               static_cast<ssize_t>(size);
    }

    unique_fd mSocket;
    const Caller mPeer;
    const std::weak_ptr<Listener> mListener;
    Stage mStage = Stage::kHeader;
    std::array<uint8_t, kSessionIdSize> mBytes{};
    size_t mHave = 0;
    size_t mWanted = sizeof(WireConnectionHeader);
    WireConnectionHeader mHeader{};
    Session::Id mSessionId{};
};

}  // namespace

Listener::Listener(unique_fd socket, AIBinder* root)
    : mSocket(std::move(socket)), mRoot(root), mReserve(openReserve()) {
    mRoot->incStrong();
}

Listener::~Listener() {
    mRoot->decStrong();
}

void Listener::onReady(bool) {
    while (true) {
        unique_fd socket = accept();
        if (!socket.ok()) return;
        Caller peer = peerOf(socket.get());
        if (peer.uid != geteuid()) {
            LOG(WARNING) << "Refusing a binder connection of user " << peer.uid << ", process "
                         << peer.pid << ": only user " << geteuid() << " may connect";
            continue;
        }
        auto self = std::static_pointer_cast<Listener>(shared_from_this());
        (void)Reactor::get().add(std::make_shared<Opening>(std::move(socket), peer, self));
    }
}

unique_fd Listener::accept() {
    while (true) {
        unique_fd socket(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.ok()) return socket;
        if (errno == EINTR || errno == ECONNABORTED) continue;
        if ((errno == EMFILE || errno == ENFILE) && mReserve.ok()) {
            LOG(ERROR) << "No descriptor left for another binder connection; turning it away";
            mReserve.reset();
            unique_fd(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC)).reset();
            mReserve = openReserve();
            continue;
        }
        if (errno != EAGAIN && errno != EWOULDBLOCK) PLOG(ERROR) << "Cannot accept a connection";
        return {};
    }
}

std::shared_ptr<Session> Listener::open(const Session::Setup& setup) {
    std::shared_ptr<Session> session =
        Session::serve(setup, mRoot, Reactor::get().maxThreads() + 1);
    std::lock_guard lock(mLock);
    std::erase_if(mSessions, [](const auto& entry) { return entry.second.expired(); });
    mSessions[setup.id] = session;
    return session;
}

std::shared_ptr<Session> Listener::find(const Session::Id& id) {
    std::lock_guard lock(mLock);
    auto found = mSessions.find(id);
    return found == mSessions.end() ? nullptr : found->second.lock();
}

}  // namespace host::binder
