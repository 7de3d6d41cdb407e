// SPDX-License-Identifier: Apache-2.0
#include <host/runtime_dir.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <virtual_dock/client.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace virtual_dock {
namespace {

std::string controlSocketPath() {
    const char* const named = std::getenv("VIRTUAL_DOCK");
    if (named != nullptr && named[0] != '\0') return named;
    std::string folder;
    std::string error;
    if (!android::host::hostRuntimeDir(&folder, &error)) throw NoDock(error);
    return folder + "/dock";
}

}  // namespace

Connection::Connection() : Connection(controlSocketPath()) {}

Connection::Connection(const std::string& path) : mPath(path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (mPath.size() >= sizeof(address.sun_path)) {
        throw NoDock(mPath + " is too long for a socket path");
    }
    std::memcpy(address.sun_path, mPath.data(), mPath.size());
    mFd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(mFd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        const std::string reason = std::strerror(errno);
        close(mFd);
        throw NoDock("no virtual dock at " + mPath + " (" + reason +
                     "); start virtual-dock or the service, with the same $ANDROID_HOST_DIR or "
                     "$VIRTUAL_DOCK "
                     "as here");
    }
}

Connection::~Connection() {
    close(mFd);
}

void Connection::write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(mFd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0) {
            bytes.remove_prefix(static_cast<size_t>(count));
        } else if (errno != EINTR) {
            throw NoDock("the dock at " + mPath + " went away: " + std::strerror(errno));
        }
    }
}

bool Connection::waitForLine(std::chrono::milliseconds limit) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + limit;
    while (mInput.find('\n') == std::string::npos) {
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        const int timeout =
            limit.count() < 0 ? -1 : static_cast<int>(std::max<int64_t>(0, rest.count()));
        pollfd readable{mFd, POLLIN, 0};
        const int ready = poll(&readable, 1, timeout);
        if (ready == 0) return false;
        char bytes[4096];
        const ssize_t count = ready < 0 ? -1 : recv(mFd, bytes, sizeof(bytes), 0);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw NoDock("the dock at " + mPath + " went away");
        mInput.append(bytes, static_cast<size_t>(count));
    }
    return true;
}

std::string Connection::receive(std::chrono::seconds limit) {
    if (!waitForLine(limit)) {
        throw NoDock("the dock at " + mPath + " did not answer for " +
                     std::to_string(limit.count()) + " s");
    }
    const size_t end = mInput.find('\n');
    std::string line = mInput.substr(0, end);
    mInput.erase(0, end + 1);
    return line;
}

}  // namespace virtual_dock
