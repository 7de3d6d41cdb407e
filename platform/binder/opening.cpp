// SPDX-License-Identifier: Apache-2.0
#include "opening.h"

#include <android-base/logging.h>
#include <errno.h>
#include <string.h>
#include <sys/random.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

#include "listener.h"

namespace android::host {

using android::base::unique_fd;

Opening::Opening(unique_fd socket, const Caller& peer, std::weak_ptr<Listener> listener)
    : mSocket(std::move(socket)), mPeer(peer), mListener(std::move(listener)) {}

bool Opening::start(const std::shared_ptr<Opening>& opening) {
    // Most openings are there already: those need neither a watch nor a clock.
    (void)opening->tryOwn();
    (void)opening->onReady(/*drain=*/true);
    if (opening->mIsDone) return true;
    if (!Reactor::get().add(opening)) return false;
    Reactor::get().watchTime(*opening);
    opening->giveBack();
    return true;
}

bool Opening::onReady(bool) {
    while (!mIsDone) {
        ssize_t count = recv(mSocket.get(), mBytes.data() + mHave, mWanted - mHave, MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
        if (count <= 0) {
            refuse(nullptr);
            return true;
        }
        mHave += static_cast<size_t>(count);
        if (mHave == mWanted) advance();
    }
    return true;
}

bool Opening::onTick(Deadline now) {
    if (mIsDone) return false;
    if (now - mBegin <= kPeerTimeout) return true;
    if (!tryOwn()) return true;  // it is being served just now
    if (!mIsDone) refuse("it did not complete its opening in time");
    return false;
}

void Opening::expect(Stage stage, size_t size) {
    mStage = stage;
    mHave = 0;
    mWanted = size;
}

void Opening::advance() {
    switch (mStage) {
        case Stage::kHeader:
            return takeHeader();
        case Stage::kSessionId:
            memcpy(mSessionId.data(), mBytes.data(), mSessionId.size());
            return isIncoming() ? joinSession() : expect(Stage::kInit, sizeof(WireConnectionInit));
        case Stage::kInit:
            if (memcmp(mBytes.data(), kConnectionInit.magic, sizeof(kConnectionInit.magic)) != 0) {
                return refuse("its first bytes are not those of a caller");
            }
            return mHeader.sessionIdSize == 0 ? startSession() : joinSession();
    }
}

void Opening::takeHeader() {
    memcpy(&mHeader, mBytes.data(), sizeof(mHeader));
    if (mHeader.fdMode > static_cast<uint8_t>(WireFdMode::kUnix)) {
        return refuse("unknown mode of passing descriptors");
    }
    if (mHeader.sessionIdSize == kSessionIdSize) return expect(Stage::kSessionId, kSessionIdSize);
    if (mHeader.sessionIdSize != 0) return refuse("wrong size of the session id");
    if (isIncoming()) return refuse("a session cannot begin with a connection for callbacks");
    WireNewSessionResponse response{std::min(mHeader.version, kProtocolVersion), {}};
    if (!write(&response, sizeof(response))) return refuse(nullptr);
    expect(Stage::kInit, sizeof(WireConnectionInit));
}

void Opening::startSession() {
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
    if (getrandom(setup.id.data(), setup.id.size(), 0) != static_cast<ssize_t>(setup.id.size())) {
        return refuse("no random session id available");
    }
    handOver(listener->open(setup), Connection::Caller::kPeer);
}

void Opening::joinSession() {
    std::shared_ptr<Listener> listener = mListener.lock();
    std::shared_ptr<Session> session = listener ? listener->find(mSessionId) : nullptr;
    if (!session) return refuse("unknown session id");
    handOver(session, isIncoming() ? Connection::Caller::kUs : Connection::Caller::kPeer);
}

void Opening::handOver(const std::shared_ptr<Session>& session, Connection::Caller caller) {
    Reactor::get().remove(*this);
    mIsDone = true;
    (void)session->addConnection(std::move(mSocket), caller);
}

void Opening::refuse(const char* reason) {
    if (reason != nullptr) {
        LOG(WARNING) << "Refusing a binder connection of process " << mPeer.pid << ": " << reason;
    }
    Reactor::get().remove(*this);
    mIsDone = true;
    mSocket.reset();
}

bool Opening::write(const void* data, size_t size) {
    return send(mSocket.get(), data, size, MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(size);
}

}  // namespace android::host
