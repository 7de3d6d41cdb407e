// SPDX-License-Identifier: Apache-2.0
#include "listener.h"

#include <android-base/logging.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "opening.h"
#include "unix_socket.h"

namespace android::host {
namespace {

using android::base::unique_fd;

unique_fd openReserve() {
    return unique_fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

Listener::Listener(unique_fd socket, AIBinder* root, size_t maxCalls)
    : mSocket(std::move(socket)), mRoot(root), mMaxCalls(maxCalls), mReserve(openReserve()) {
    mRoot->incStrong();
}

Listener::~Listener() {
    mRoot->decStrong();
}

bool Listener::onReady(bool) {
    bool isExhausted = false;
    while (true) {
        unique_fd socket = accept(&isExhausted);
        if (!socket.ok()) break;
        Caller peer = peerOf(socket.get());
        if (peer.uid != geteuid()) {
            LOG(WARNING) << "Refusing a binder connection of user " << peer.uid << ", process "
                         << peer.pid << ": only user " << geteuid() << " may connect";
            continue;
        }
        auto self = std::static_pointer_cast<Listener>(shared_from_this());
        (void)Opening::start(std::make_shared<Opening>(std::move(socket), peer, self));
    }
    // Without descriptors it would be called again at once, for nothing.
    if (isExhausted) {
        Reactor::get().watchTime(*this);
    } else {
        Reactor::get().rearm(*this);
    }
    return true;
}

bool Listener::onTick(Deadline) {
    Reactor::get().rearm(*this);
    return false;
}

unique_fd Listener::accept(bool* isExhausted) {
    while (true) {
        if (!mReserve.ok()) mReserve = openReserve();
        unique_fd socket(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.ok()) return socket;
        if (errno == EINTR || errno == ECONNABORTED) continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK) return {};
        const bool isOutOfFds = errno == EMFILE || errno == ENFILE;
        PLOG(ERROR) << "Cannot accept a binder connection";
        if (!isOutOfFds || !mReserve.ok()) {
            *isExhausted = true;
            return {};
        }
        mReserve.reset();
        unique_fd(accept4(mSocket.get(), nullptr, nullptr, SOCK_CLOEXEC)).reset();
    }
}

std::shared_ptr<Session> Listener::open(const Session::Setup& setup) {
    std::shared_ptr<Session> session = Session::serve(setup, mRoot, mMaxCalls);
    std::lock_guard lock(mLock);
    if (mSessions.size() >= mForgetAt) {
        std::erase_if(mSessions, [](const auto& entry) { return entry.second.expired(); });
        mForgetAt = std::max<size_t>(64, 2 * mSessions.size());
    }
    mSessions[setup.id] = session;
    return session;
}

std::shared_ptr<Session> Listener::find(const Session::Id& id) {
    std::lock_guard lock(mLock);
    auto found = mSessions.find(id);
    return found == mSessions.end() ? nullptr : found->second.lock();
}

}  // namespace android::host
