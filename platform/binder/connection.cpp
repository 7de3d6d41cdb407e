// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <utility>

namespace android::host {
namespace {

using android::base::unique_fd;

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

void attachFds(msghdr* message, FdControl* control, std::span<const int> fds) {
    message->msg_control = control->bytes.data();
    message->msg_controllen = CMSG_SPACE(fds.size_bytes());
    cmsghdr* c = CMSG_FIRSTHDR(message);
    c->cmsg_level = SOL_SOCKET;
    c->cmsg_type = SCM_RIGHTS;
    c->cmsg_len = CMSG_LEN(fds.size_bytes());
    memcpy(CMSG_DATA(c), fds.data(), fds.size_bytes());
}

size_t totalSize(std::span<const iovec> pieces) {
    size_t size = 0;
    for (const iovec& piece : pieces) size += piece.iov_len;
    return size;
}

// One try, which does not wait, to send the pieces, `size` bytes in all.
ssize_t trySend(int socket, std::span<iovec> pieces, size_t size, std::span<const int> fds) {
    constexpr int kFlags = MSG_NOSIGNAL | MSG_DONTWAIT;
    // What the kernel takes longer to fetch piece by piece than it takes to put together here.
    constexpr size_t kSmall = 1024;
    ssize_t sent;
    if (fds.empty() && size <= kSmall) {
        std::array<uint8_t, kSmall> joined;  // not cleared
        auto end = joined.begin();
        for (const iovec& piece : pieces) {
            end = std::copy_n(static_cast<const uint8_t*>(piece.iov_base), piece.iov_len, end);
        }
        do {
            sent = ::send(socket, joined.data(), size, kFlags);
        } while (sent < 0 && errno == EINTR);
        return sent;
    }
    FdControl control;
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = pieces.size();
    if (!fds.empty()) attachFds(&message, &control, fds);
    do {
        sent = sendmsg(socket, &message, kFlags);
    } while (sent < 0 && errno == EINTR);
    return sent;
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

bool wouldBlock() {
    return errno == EAGAIN || errno == EWOULDBLOCK;
}

Clock::rep ticksNow() {
    return Clock::now().time_since_epoch().count();
}

bool isOver(Clock::rep since, Deadline now) {
    return since != 0 && now - Deadline(Clock::duration(since)) > kPeerTimeout;
}

// Waits until the socket has one of the events, or an error. False when the deadline passes first.
bool waitFor(int socket, short events, Deadline deadline) {
    while (true) {
        int limit = -1;
        if (deadline != kNoDeadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return false;
            limit = static_cast<int>(left.count());
        }
        pollfd state{socket, events, 0};
        const int count = poll(&state, 1, limit);
        if (count > 0) return true;
        if (count < 0 && errno != EINTR) return true;  // the next call on the socket says why
    }
}

}  // namespace

Connection::Connection(unique_fd socket, const Options& options, std::weak_ptr<ConnectionUser> user,
                       std::shared_ptr<HeldFds> heldFds)
    : mSocket(std::move(socket)),
      mOptions(options),
      mUser(std::move(user)),
      mHeldFds(std::move(heldFds)) {
    // Waiting readers otherwise have limits of their own, or none.
    constexpr timeval kNone{};
    constexpr timeval kLinger{.tv_sec = 0,
                              .tv_usec = std::chrono::microseconds(kLingerTime).count()};
    const timeval& limit = options.mayLinger ? kLinger : kNone;
    (void)setsockopt(mSocket.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
}

Connection::~Connection() {
    (void)mHeldFds->change(mCountedFds, 0);
}

bool Connection::onReady(bool drain) {
    std::shared_ptr<ConnectionUser> user = mUser.lock();
    if (!user) {
        // It ended before the pool had been told of this connection.
        Reactor::get().remove(*this);
        return true;
    }
    mUnread = true;
    mDrain = mDrain || drain;
    return serveArrived(*user);
}

bool Connection::serveArrived(ConnectionUser& user) {
    Frame frame;
    while (!hasUnsent()) {  // a peer that does not read its answers is not read from either
        switch (receive(&frame)) {
            case Received::kFrame:
                if (!user.serveFrame(*this, frame)) return false;
                break;
            case Received::kNothing:
                return true;
            case Received::kBroken:
                user.connectionBroken(*this, mReason);
                return true;
        }
    }
    return true;
}

bool Connection::linger() {
    if (!mOptions.mayLinger) return true;
    const Deadline now = Clock::now();
    mBusyCalls = now - std::exchange(mLastServed, now) < kLingerTime ? mBusyCalls + 1 : 0;
    if (mBusyCalls < kBusyCalls || hasUnsent() || !Reactor::get().beginLinger(*this)) return true;
    mIsLingering = true;
    mBusyCalls = 0;
    if (const std::shared_ptr<ConnectionUser> user = mUser.lock()) {
        // A read lasts kLingerTime at most: the socket's time limit.
        while (!Reactor::get().isNeeded() && !hasUnsent() && read(/*wait=*/true) == Read::kSome) {
            if (!serveArrived(*user)) return false;
        }
    }
    stopLingering();
    return true;
}

void Connection::stopLingering() {
    if (!std::exchange(mIsLingering, false)) return;
    std::lock_guard lock(mSendLock);
    Reactor::get().endLinger(*this, hasUnsent());
}

void Connection::onWritable() {
    if (!flush()) tellBroken(mReason);
}

void Connection::onDisowned() {
    if (caller() == Caller::kPeer) return;
    if (std::shared_ptr<ConnectionUser> user = mUser.lock()) user->connectionFreed();
}

void Connection::onHangUpWhileOwned() {
    if (mPeerWaits) tellBroken(nullptr);
}

bool Connection::onTick(Deadline now) {
    const Clock::rep unfinished = mUnfinishedSince;
    const Clock::rep unsent = mUnsentSince;
    if (isOver(unfinished, now)) {
        tellBroken("it began a message and did not finish it in time");
    } else if (isOver(unsent, now)) {
        tellBroken("it does not read what it is sent");
    } else {
        return unfinished != 0 || unsent != 0;
    }
    return false;
}

void Connection::tellBroken(const char* reason) {
    if (std::shared_ptr<ConnectionUser> user = mUser.lock()) user->connectionBroken(*this, reason);
}

Connection::Sent Connection::broken(const char* reason) {
    mReason = reason;
    return Sent::kBroken;
}

Connection::Received Connection::nextFrame(Frame* frame) {
    if (mIn.empty()) return Received::kNothing;
    switch (mIn.next(frame)) {
        case FrameBuffer::Result::kFrame:
            if (mUnfinishedSince != 0) mUnfinishedSince = 0;  // rare, and a store is not cheap
            return Received::kFrame;
        case FrameBuffer::Result::kIncomplete:
            return Received::kNothing;
        case FrameBuffer::Result::kTooLarge:
            mReason = "it announced a frame larger than 100000 bytes";
            return Received::kBroken;
        case FrameBuffer::Result::kTooManyFds:
            mReason = "it sent more than 253 descriptors with one frame";
            return Received::kBroken;
    }
    return Received::kBroken;
}

// Called when no whole frame is there: starts the clock for one that has begun.
bool Connection::noteUnfinished() {
    const size_t held = mIn.heldFds();
    const bool allowed = mHeldFds->change(std::exchange(mCountedFds, held), held);
    if (!mIn.empty() && mOptions.isWatched && mUnfinishedSince == 0) {
        mUnfinishedSince = ticksNow();
        Reactor::get().watchTime(*this);
    }
    if (!allowed) mReason = "it sent too many descriptors with unfinished frames";
    return allowed;
}

Connection::Received Connection::receive(Frame* frame) {
    while (true) {
        if (Received received = nextFrame(frame); received != Received::kNothing) return received;
        if (!noteUnfinished()) return Received::kBroken;
        if (!mUnread) return Received::kNothing;
        switch (read(/*wait=*/false)) {
            case Read::kSome:
                break;
            case Read::kNothing:
                return Received::kNothing;
            case Read::kBroken:
                return Received::kBroken;
        }
    }
}

Connection::Received Connection::receiveUntil(Deadline deadline, Frame* frame) {
    const bool mayBlock = deadline == kNoDeadline;
    while (true) {
        if (Received received = nextFrame(frame); received != Received::kNothing) return received;
        if (!noteUnfinished()) return Received::kBroken;
        if (!mayBlock && !waitFor(mSocket.get(), POLLIN, deadline)) return Received::kNothing;
        if (read(mayBlock) == Read::kBroken) return Received::kBroken;
    }
}

Connection::Read Connection::read(bool wait) {
    std::span<uint8_t> space = mIn.space();
    iovec piece{space.data(), space.size()};
    FdControl control;  // not cleared: the kernel fills what it uses
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    if (mOptions.passesFds) {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
    }
    ssize_t count;
    do {
        count = recvmsg(mSocket.get(), &message, MSG_CMSG_CLOEXEC | (wait ? 0 : MSG_DONTWAIT));
    } while (count < 0 && errno == EINTR);
    if (count < 0 && wouldBlock()) {
        mUnread = mDrain = false;
        return Read::kNothing;
    }
    if (count <= 0) {
        mReason = nullptr;
        return Read::kBroken;
    }
    bool hasFds = mOptions.passesFds && message.msg_controllen > 0;
    // After a short read the socket is empty, and what comes later wakes the pool again: one system
    // call a frame. But a read also ends after a message with descriptors, taken or not, and the
    // news of a hang-up may have come together with that of these bytes.
    const bool broughtFds = hasFds || (message.msg_flags & MSG_CTRUNC) != 0;
    mUnread = mDrain || broughtFds || static_cast<size_t>(count) == space.size();
    if (hasFds) {
        mIn.commit(static_cast<size_t>(count), takeFds(&message));
    } else {
        mIn.commit(static_cast<size_t>(count));
    }
    return Read::kSome;
}

Connection::Sent Connection::send(std::span<iovec> pieces, std::span<const int> fds, Full full,
                                  Deadline deadline) {
    const size_t size = totalSize(pieces);

    while (true) {
        {
            std::lock_guard lock(mSendLock);
            ssize_t sent = 0;
            if (!hasUnsent()) {
                sent = trySend(mSocket.get(), pieces, size, fds);
                if (sent == static_cast<ssize_t>(size)) return Sent::kAll;
                if (sent < 0 && !wouldBlock()) return broken(nullptr);
            }
            const bool hasBegun = sent > 0;
            if (!hasBegun && full == Full::kFail) return Sent::kFull;
            // Descriptors go with the first byte or not at all.
            if (hasBegun || fds.empty()) {
                pieces = skip(pieces, hasBegun ? static_cast<size_t>(sent) : 0);
                if (mUnsent.size() - mUnsentBegin + totalSize(pieces) > kMaxUnsentBytes) {
                    return broken("it does not read what it is sent");
                }
                keep(pieces);
                break;
            }
        }
        if (full == Full::kQueue) return broken("it does not read what it is sent");
        if (hasUnsent() ? flushUntil(deadline) != Sent::kAll
                        : !waitFor(mSocket.get(), POLLOUT, deadline)) {
            return broken("it does not read what it is sent");
        }
    }
    if (full == Full::kWait) return flushUntil(deadline);
    // No other thread would send the rest.
    if (!mOptions.isWatched) return flushUntil(Clock::now() + kPeerTimeout);
    return Sent::kAll;
}

void Connection::keep(std::span<iovec> pieces) {
    for (const iovec& piece : pieces) {
        const auto* bytes = static_cast<const uint8_t*>(piece.iov_base);
        mUnsent.insert(mUnsent.end(), bytes, bytes + piece.iov_len);
    }
    if (hasUnsent()) return;
    mUnsentSince = ticksNow();
    if (!mOptions.isWatched) return;
    Reactor::get().watchWritable(*this, true);
    Reactor::get().watchTime(*this);
}

// Sends what it can of the kept output. False when the connection is broken.
bool Connection::flush() {
    std::lock_guard lock(mSendLock);
    if (!hasUnsent()) return true;
    while (mUnsentBegin < mUnsent.size()) {
        ssize_t sent = ::send(mSocket.get(), mUnsent.data() + mUnsentBegin,
                              mUnsent.size() - mUnsentBegin, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR) continue;
        if (sent < 0 && wouldBlock()) return true;
        if (sent < 0) {
            mReason = nullptr;
            return false;
        }
        mUnsentBegin += static_cast<size_t>(sent);
        mUnsentSince = ticksNow();
    }
    std::vector<uint8_t>().swap(mUnsent);
    mUnsentBegin = 0;
    mUnsentSince = 0;
    if (mOptions.isWatched) Reactor::get().watchWritable(*this, false);
    return true;
}

Connection::Sent Connection::flushUntil(Deadline deadline) {
    while (hasUnsent()) {
        if (!waitFor(mSocket.get(), POLLOUT, deadline)) {
            return broken("it does not read what it is sent");
        }
        if (!flush()) return Sent::kBroken;
    }
    return Sent::kAll;
}

bool Connection::isHungUp() const {
    pollfd state{mSocket.get(), POLLRDHUP, 0};
    return poll(&state, 1, 0) > 0 && (state.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0;
}

void Connection::shutDown() {
    (void)shutdown(mSocket.get(), SHUT_RDWR);
}

}  // namespace android::host
