// SPDX-License-Identifier: Apache-2.0
#include "control_listener.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace virtual_dock {
namespace {

using android::base::unique_fd;

constexpr int kBacklog = 16;

std::string failure(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// Whether a process accepts connections at the address.
bool isServed(const sockaddr_un& address) {
    const unique_fd probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (probe < 0) return true;
    const int result =
        connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    return result == 0 || (errno != ECONNREFUSED && errno != ENOENT);
}

}  // namespace

bool ControlListener::open(const std::string& path, std::string* error) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        *error = path + " is too long for a socket path";
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());

    const std::string lockPath = path + ".lock";
    mLock.reset(::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (mLock < 0) {
        *error = failure("cannot open " + lockPath);
        return false;
    }
    if (flock(mLock.get(), LOCK_EX | LOCK_NB) != 0) {
        *error = "another virtual dock listens at " + path;
        return false;
    }
    struct stat status;
    if (lstat(path.c_str(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            *error = path + " exists and is not a socket";
            return false;
        }
        if (isServed(address)) {
            *error = "another process listens at " + path;
            return false;
        }
        unlink(path.c_str());
    }
    mSocket.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // The file takes the mode of the socket, so it is private from the start.
    if (mSocket >= 0 && fchmod(mSocket.get(), 0600) == 0 &&
        bind(mSocket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
        listen(mSocket.get(), kBacklog) == 0) {
        return true;
    }
    *error = failure("cannot listen at " + path);
    mSocket.reset();
    return false;
}

}  // namespace virtual_dock
