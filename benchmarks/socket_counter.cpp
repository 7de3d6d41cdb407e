// SPDX-License-Identifier: Apache-2.0
#include "socket_counter.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<uint64_t> gSent{0};
std::atomic<uint64_t> gReceived{0};

void add(std::atomic<uint64_t>& sum, ssize_t size) {
    if (size > 0) sum.fetch_add(static_cast<uint64_t>(size), std::memory_order_relaxed);
}

}  // namespace

namespace bench {

SocketBytes socketBytes() {
    return {gSent.load(std::memory_order_relaxed), gReceived.load(std::memory_order_relaxed)};
}

}  // namespace bench

// In place of the C library's functions of these names, for every library of this process.
extern "C" {

ssize_t sendmsg(int fd, const msghdr* message, int flags) {
    const ssize_t size = syscall(SYS_sendmsg, fd, message, flags);
    add(gSent, size);
    return size;
}

ssize_t send(int fd, const void* data, size_t size, int flags) {
    const ssize_t sent = syscall(SYS_sendto, fd, data, size, flags, nullptr, 0);
    add(gSent, sent);
    return sent;
}

ssize_t recvmsg(int fd, msghdr* message, int flags) {
    const ssize_t size = syscall(SYS_recvmsg, fd, message, flags);
    add(gReceived, size);
    return size;
}

}  // extern "C"
