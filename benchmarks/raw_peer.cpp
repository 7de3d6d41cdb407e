// SPDX-License-Identifier: Apache-2.0
#include "raw_peer.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>

namespace bench {
namespace {

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) throw Trouble("too long for a socket: " + path);
    memcpy(address.sun_path, path.data(), path.size());
    return address;
}

bool connectTo(const Fd& fd, const std::string& path) {
    const sockaddr_un address = addressOf(path);
    return connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

}  // namespace

SocketPair::SocketPair() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        throw Trouble("cannot make a socket pair");
    }
    ours.reset(ends[0]);
    theirs.reset(ends[1]);
}

bool readAll(int fd, void* area, size_t size) {
    auto* to = static_cast<char*>(area);
    while (size > 0) {
        const ssize_t count = read(fd, to, size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        to += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

bool writeAll(int fd, const void* area, size_t size) {
    const auto* from = static_cast<const char*>(area);
    while (size > 0) {
        const ssize_t count = write(fd, from, size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        from += count;
        size -= static_cast<size_t>(count);
    }
    return true;
}

PingPong::PingPong(const WireSizes& sizes, std::optional<int> cpu)
    : mSizes(sizes),
      mBuffer(std::max(sizes.request, sizes.reply), 'x'),
      mPeer(
          [this] {
              const int socket = mSockets.theirs.get();
              while (readAll(socket, mBuffer.data(), mSizes.request) &&
                     writeAll(socket, mBuffer.data(), mSizes.reply)) {
              }
          },
          cpu) {
    mSockets.theirs.reset();
}

void PingPong::call() {
    if (!writeAll(mSockets.ours.get(), mBuffer.data(), mSizes.request) ||
        !readAll(mSockets.ours.get(), mBuffer.data(), mSizes.reply)) {
        throw Trouble("the raw peer is gone");
    }
}

std::string PingPong::describe() const {
    return "a raw socket round trip of " + std::to_string(mSizes.request) + " and " +
           std::to_string(mSizes.reply) + " bytes";
}

Fd datagramSocket(const std::string& path) {
    Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(fd.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof(on));
    const sockaddr_un address = addressOf(path);
    if (bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        throw Trouble("cannot bind " + path);
    }
    return fd;
}

Fd datagramSender(const std::string& path) {
    Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!connectTo(fd, path)) throw Trouble("nobody reads " + path);
    return fd;
}

bool isListening(const std::string& path) {
    return connectTo(Fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), path);
}

BareReader::BareReader(int fd) : mFd(fd), mEpoll(epoll_create1(EPOLL_CLOEXEC)) {
    fcntl(fd, F_SETFL, O_NONBLOCK);
    epoll_event event{};
    event.events = EPOLLIN;
    epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, fd, &event);
}

ssize_t BareReader::next(char* area, size_t size) {
    epoll_event event;
    epoll_wait(mEpoll.get(), &event, 1, -1);
    iovec piece{area, size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    sockaddr_storage sender;
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof(sender);
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    return syscall(SYS_recvmsg, mFd, &message, 0);
}

}  // namespace bench
