// SPDX-License-Identifier: Apache-2.0
// raw_server PATH: listens on a Unix socket, echoes what comes, until it is killed. What starting
// and idling cost a C++ program that owns a socket and nothing else.
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

namespace {

int listenAt(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return -1;
    std::memcpy(address.sun_path, path.data(), path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(fd, 16) != 0) {
        return -1;
    }
    return fd;
}

void watch(int epoll, int fd) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string path = argc == 2 ? argv[1] : "";
    const int listener = listenAt(path);
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (listener < 0 || epoll < 0) {
        std::cerr << "usage: raw_server PATH; cannot listen at '" << path << "'\n";
        return 1;
    }
    watch(epoll, listener);
    for (;;) {
        epoll_event event;
        if (epoll_wait(epoll, &event, 1, -1) != 1) continue;
        if (event.data.fd == listener) {
            if (const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC); client >= 0) {
                watch(epoll, client);
            }
            continue;
        }
        char bytes[4096];
        const ssize_t size = read(event.data.fd, bytes, sizeof(bytes));
        if (size <= 0 || write(event.data.fd, bytes, static_cast<size_t>(size)) != size) {
            close(event.data.fd);
        }
    }
}
