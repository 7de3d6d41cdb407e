// SPDX-License-Identifier: Apache-2.0
#include "unix_socket.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace android::host {
namespace {

using android::base::unique_fd;

// A socket address holds 107 characters; a longer path is named through its folder's descriptor.
struct Address {
    explicit Address(const std::string& path) {
        std::string name = path;
        size_t slash = path.rfind('/');
        if (path.size() >= sizeof(address.sun_path) && slash != std::string::npos) {
            folder.reset(open(path.substr(0, slash).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
            name = "/proc/self/fd/" + std::to_string(folder.get()) + path.substr(slash);
        }
        valid = name.size() < sizeof(address.sun_path);
        if (valid) memcpy(address.sun_path, name.c_str(), name.size() + 1);
    }

    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }

    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    unique_fd folder;
    bool valid = false;
};

}  // namespace

unique_fd connectUnix(const std::string& path) {
    Address address(path);
    unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!address.valid) errno = ENAMETOOLONG;
    if (!fd.ok() || !address.valid ||
        connect(fd.get(), address.get(), sizeof(address.address)) != 0) {
        return {};
    }
    return fd;
}

unique_fd listenUnix(const std::string& path) {
    Address address(path);
    unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!address.valid) errno = ENAMETOOLONG;
    // The mode of a socket file comes from its descriptor, so other users can never connect.
    if (!fd.ok() || !address.valid || fchmod(fd.get(), 0600) != 0 ||
        bind(fd.get(), address.get(), sizeof(address.address)) != 0 ||
        listen(fd.get(), SOMAXCONN) != 0) {
        return {};
    }
    return fd;
}

Caller peerOf(int socket) {
    ucred credentials{};
    socklen_t size = sizeof(credentials);
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return {static_cast<uid_t>(-1), -1};
    }
    return {credentials.uid, credentials.pid};
}

}  // namespace android::host
