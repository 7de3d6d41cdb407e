// SPDX-License-Identifier: Apache-2.0
#include "uevent_listener.h"

#include <linux/netlink.h>
#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace virtual_dock {
namespace {

constexpr uint32_t kKernelGroup = 1;
constexpr int kSocketBuffer = 256 * 1024;

int openKernelSocket() {
    const int fd =
        socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_KOBJECT_UEVENT);
    if (fd < 0) return -1;
    // A smaller buffer will do too.
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &kSocketBuffer, sizeof(kSocketBuffer));
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kKernelGroup;
    if (bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) return fd;
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
}

}  // namespace

bool UeventListener::start(Heard heard, std::string* problem) {
    mSocket = openKernelSocket();
    mStop = mSocket < 0 ? -1 : eventfd(0, EFD_CLOEXEC);
    int error = errno;
    if (mStop >= 0) {
        mHeard = std::move(heard);
        // Signals are for the process's own threads. Not std::thread, which ends a process without
        // exceptions when there can be no more threads.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        error = pthread_create(
            &mThread, nullptr,
            [](void* self) -> void* {
                static_cast<UeventListener*>(self)->run();
                return nullptr;
            },
            this);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        if (error == 0) return true;
        close(std::exchange(mStop, -1));
    }
    if (mSocket >= 0) close(std::exchange(mSocket, -1));
    *problem = std::string("cannot listen for uevents: ") + std::strerror(error);
    return false;
}

void UeventListener::stop() {
    if (mStop < 0) return;
    eventfd_write(mStop, 1);
    pthread_join(mThread, nullptr);
    close(std::exchange(mStop, -1));
    close(std::exchange(mSocket, -1));
    mHeard = nullptr;
}

void UeventListener::run() {
    pthread_setname_np(pthread_self(), "uevent-recorder");
    // Where that is allowed, no later than the service's own listener, which has this priority.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), -20);
    std::array<char, kMaxMessage> message;
    for (;;) {
        pollfd polled[] = {{mSocket, POLLIN, 0}, {mStop, POLLIN, 0}};
        if (poll(polled, 2, -1) < 0) continue;
        if (polled[1].revents != 0) return;
        sockaddr_nl sender{};
        socklen_t senderSize = sizeof(sender);
        // Fails after messages were lost, too: the next ones come.
        const ssize_t count = recvfrom(mSocket, message.data(), message.size(), 0,
                                       reinterpret_cast<sockaddr*>(&sender), &senderSize);
        const bool fromKernel = senderSize >= sizeof(sender) && sender.nl_pid == 0;
        if (count <= 0 || !fromKernel) continue;
        if (!mHeard(TraceMoment::now(), {message.data(), static_cast<size_t>(count)})) return;
    }
}

}  // namespace virtual_dock
