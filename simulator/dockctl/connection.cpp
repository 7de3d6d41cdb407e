// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

#include <fmt/core.h>
#include <host/runtime_dir.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace dockctl {

Connection::Connection() {
    std::string folder;
    std::string error;
    if (!android::host::hostRuntimeDir(&folder, &error)) throw NoDock(error);
    mPath = folder + "/dock";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (mPath.size() >= sizeof(address.sun_path)) {
        throw NoDock(mPath + " is too long for a socket path");
    }
    std::memcpy(address.sun_path, mPath.data(), mPath.size());
    mFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(mFd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const int reason = errno;
        close(mFd);
        throw NoDock(
            fmt::format("no virtual dock at {} ({}); start the service, and give both the same "
                        "ANDROID_HOST_DIR",
                        mPath, std::strerror(reason)));
    }
}

Connection::~Connection() {
    close(mFd);
}

void Connection::send(const std::string& line) {
    const std::string text = line + "\n";
    size_t sent = 0;
    while (sent < text.size()) {
        const ssize_t count = ::send(mFd, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR) {
            throw NoDock(fmt::format("the dock at {} went away: {}", mPath, std::strerror(errno)));
        }
        if (count > 0) sent += static_cast<size_t>(count);
    }
}

std::string Connection::receive(int limitSeconds) {
    for (;;) {
        const size_t end = mInput.find('\n');
        if (end != std::string::npos) {
            std::string line = mInput.substr(0, end);
            mInput.erase(0, end + 1);
            return line;
        }
        pollfd readable{mFd, POLLIN, 0};
        if (poll(&readable, 1, limitSeconds == 0 ? -1 : limitSeconds * 1000) == 0) {
            throw NoDock(
                fmt::format("the dock at {} did not answer for {} s", mPath, limitSeconds));
        }
        char bytes[4096];
        const ssize_t count = recv(mFd, bytes, sizeof(bytes), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw NoDock(fmt::format("the dock at {} went away", mPath));
        mInput.append(bytes, static_cast<size_t>(count));
    }
}

}  // namespace dockctl
