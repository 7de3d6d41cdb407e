// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

#include <android-base/logging.h>
#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>

#include <array>
#include <utility>

#include "session.h"

namespace host::binder {
namespace {

using android::base::unique_fd;

// How long a peer may leave a message half taken before its session ends.
constexpr int kHalfMessageTimeoutMs = 5000;

// Room for the control message of a full set of descriptors.
struct FdControl {
    alignas(cmsghdr) std::array<uint8_t, CMSG_SPACE(sizeof(int) * kMaxFdsPerMessage)> bytes;
};

std::vector<unique_fd> takeFds(msghdr* message) {
    std::vector<unique_fd> fds;
    for (cmsghdr* c = CMSG_FIRSTHDR(message); c != nullptr; c = CMSG_NXTHDR(message, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd;
            memcpy(&fd, CMSG_DATA(c) + i * sizeof(int), sizeof(int));
            fds.emplace_back(fd);
        }
    }
    return fds;
}

size_t totalSize(std::span<const iovec> pieces) {
    size_t size = 0;
    for (const iovec& piece : pieces) size += piece.iov_len;
    return size;
}

// Drops the first `count` bytes of the pieces.
std::span<iovec> skip(std::span<iovec> pieces, size_t count) {
    while (!pieces.empty() && count >= pieces.front().iov_len) {
        count -= pieces.front().iov_len;
        pieces = pieces.subspan(1);
    }
    if (!pieces.empty()) {
        pieces.front().iov_base = static_cast<uint8_t*>(pieces.front().iov_base) + count;
        pieces.front().iov_len -= count;
    }
    return pieces;
}

}  // namespace

Connection::Connection(unique_fd socket, Caller caller, bool passesFds,
                       std::weak_ptr<Session> session)
    : mSocket(std::move(socket)),
      mCaller(caller),
      mPassesFds(passesFds),
      mSession(std::move(session)) {}

void Connection::onReady(bool drain) {
    std::shared_ptr<Session> session = mSession.lock();
    if (!session) {
        // It ended before the pool had been told of this connection.
        Reactor::get().remove(*this);
        return;
    }
    mUnread = true;
    mDrain = mDrain || drain;
    if (mQueued && !flushQueue()) {
        session->connectionBroken(*this);
        return;
    }
    Frame frame;
    while (!mQueued) {  // a peer that does not read its answers is not read from either
        switch (receive(&frame, /*wait=*/false)) {
            case Received::kFrame:
                session->serveFrame(*this, frame);
                break;
            case Received::kNothing:
                return;
            case Received::kBroken:
                session->connectionBroken(*this);
                return;
        }
    }
}

void Connection::onDisowned() {
    if (mCaller == Caller::kPeer) return;
    if (std::shared_ptr<Session> session = mSession.lock()) session->connectionFreed();
}

void Connection::onHangUpWhileOwned() {
    if (!mPeerWaits) return;
    if (std::shared_ptr<Session> session = mSession.lock()) session->connectionBroken(*this);
}

Connection::Received Connection::receive(Frame* frame, bool wait) {
    while (true) {
        switch (mIn.next(frame)) {
            case FrameBuffer::Result::kFrame:
                return Received::kFrame;
            case FrameBuffer::Result::kIncomplete:
                break;
            case FrameBuffer::Result::kTooLarge:
                LOG(WARNING) << "Binder peer announced a frame of " << frame->header.bodySize
                             << " bytes; at most " << kMaxBodySize << " are allowed";
                return Received::kBroken;
            case FrameBuffer::Result::kTooManyFds:
                LOG(WARNING) << "Binder peer sent more than " << kMaxFdsPerMessage
                             << " descriptors with one message";
                return Received::kBroken;
        }
        if (!wait && !mUnread) return Received::kNothing;
        switch (read(wait)) {
            case Read::kSome:
                break;
            case Read::kNothing:
                return Received::kNothing;
            case Read::kBroken:
                return Received::kBroken;
        }
    }
}

Connection::Read Connection::read(bool wait) {
    std::span<uint8_t> space = mIn.space();
    iovec piece{space.data(), space.size()};
    FdControl control;  // not cleared: the kernel fills what it uses
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    if (mPassesFds) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
    }
    ssize_t count;
    do {
        count = recvmsg(mSocket.get(), &message, MSG_CMSG_CLOEXEC | (wait ? 0 : MSG_DONTWAIT));
    } while (count < 0 && errno == EINTR);
    if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
        mUnread = mDrain = false;
        return Read::kNothing;
    }
    if (count <= 0) return Read::kBroken;
    bool hasFds = mPassesFds && message.msg_controllen > 0;
    // After a short read the socket is empty, and what comes later wakes the pool again: one system
    // call a frame. But a read also ends behind a message with descriptors, and the news of a
    // hang-up may have come together with that of these bytes.
    mUnread = mDrain || hasFds || static_cast<size_t>(count) == space.size();
    mIn.commit(static_cast<size_t>(count), hasFds ? takeFds(&message) : std::vector<unique_fd>());
    return Read::kSome;
}

Connection::Sent Connection::send(std::span<iovec> pieces, std::span<const int> fds, Full full) {
    FdControl control;
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    if (!fds.empty()) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = CMSG_SPACE(fds.size_bytes());
        cmsghdr* c = CMSG_FIRSTHDR(&message);
        c->cmsg_level = SOL_SOCKET;
        c->cmsg_type = SCM_RIGHTS;
        c->cmsg_len = CMSG_LEN(fds.size_bytes());
        memcpy(CMSG_DATA(c), fds.data(), fds.size_bytes());
    }
    size_t size = totalSize(pieces);

    while (true) {
        {
            std::lock_guard lock(mSendLock);
            if (mQueued && full == Full::kFail) return Sent::kFull;
            ssize_t sent;
            do {
                sent = sendmsg(mSocket.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
            } while (sent < 0 && errno == EINTR);
            if (sent == static_cast<ssize_t>(size)) return Sent::kAll;
            if (sent > 0) return sendRest(skip(pieces, static_cast<size_t>(sent)), full);
            if (errno != EAGAIN && errno != EWOULDBLOCK) return Sent::kBroken;
            if (full == Full::kFail) return Sent::kFull;
            if (full == Full::kQueue && fds.empty()) return sendRest(pieces, full);
        }
        pollfd wait{mSocket.get(), POLLOUT, 0};
        if (poll(&wait, 1, full == Full::kWait ? -1 : kHalfMessageTimeoutMs) == 0) {
            return Sent::kBroken;
        }
    }
}

Connection::Sent Connection::sendRest(std::span<iovec> pieces, Full full) {
    size_t size = totalSize(pieces);
    if (full == Full::kQueue) {
        mQueue.reset(new uint8_t[size]);
        mQueueBegin = 0;
        mQueueEnd = 0;
        for (const iovec& piece : pieces) {
            if (piece.iov_len == 0) continue;
            memcpy(mQueue.get() + mQueueEnd, piece.iov_base, piece.iov_len);
            mQueueEnd += piece.iov_len;
        }
        mQueued = true;
        Reactor::get().watchWritable(*this, true);
        return Sent::kAll;
    }
    // The peer has the beginning: the rest must follow before anything else can.
    while (size > 0) {
        pollfd wait{mSocket.get(), POLLOUT, 0};
        if (poll(&wait, 1, kHalfMessageTimeoutMs) <= 0) return Sent::kBroken;
        msghdr message{};
        message.msg_iov = pieces.data();
        message.msg_iovlen = pieces.size();
        ssize_t sent = sendmsg(mSocket.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno != EAGAIN && errno != EINTR) return Sent::kBroken;
        if (sent <= 0) continue;
        size -= static_cast<size_t>(sent);
        pieces = skip(pieces, static_cast<size_t>(sent));
    }
    return Sent::kAll;
}

bool Connection::flushQueue() {
    std::lock_guard lock(mSendLock);
    while (mQueueBegin < mQueueEnd) {
        ssize_t sent = ::send(mSocket.get(), mQueue.get() + mQueueBegin, mQueueEnd - mQueueBegin,
                              MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0) return errno == EAGAIN || errno == EWOULDBLOCK;
        mQueueBegin += static_cast<size_t>(sent);
    }
    mQueue.reset();
    mQueued = false;
    Reactor::get().watchWritable(*this, false);
    return true;
}

bool Connection::isHungUp() const {
    pollfd state{mSocket.get(), POLLRDHUP, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

void Connection::shutDown() {
    (void)shutdown(mSocket.get(), SHUT_RDWR);
}

}  // namespace host::binder
