// SPDX-License-Identifier: Apache-2.0
#include "datagram_socket.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

namespace android::cutils {
namespace {

// Holds an advisory lock on a file while it lives.
class FileLock {
  public:
    explicit FileLock(const std::string& path)
        : mFd(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
        while (mFd >= 0 && flock(mFd, LOCK_EX) != 0) {
            if (errno == EINTR) continue;
            close(mFd);
            mFd = -1;
        }
    }
    ~FileLock() {
        const int savedErrno = errno;
        if (mFd >= 0) close(mFd);
        errno = savedErrno;
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool held() const { return mFd >= 0; }

  private:
    int mFd;
};

const sockaddr* asAny(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

// True when the path is free now. Otherwise errno says why.
bool removeDeadSocket(const sockaddr_un& address) {
    struct stat info;
    if (lstat(address.sun_path, &info) != 0) return errno == ENOENT;
    if (!S_ISSOCK(info.st_mode)) {
        errno = EEXIST;
        return false;
    }
    const int probe = socket(PF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (probe < 0) return false;
    const bool refused = connect(probe, asAny(address), sizeof(address)) != 0;
    const int reason = errno;
    close(probe);
    if (refused && reason == ECONNREFUSED) return unlink(address.sun_path) == 0;
    errno = refused && reason != EPROTOTYPE ? reason : EADDRINUSE;
    return false;
}

}  // namespace

bool bindDatagramSocket(int fd, const char* path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    strcpy(address.sun_path, path);
    const FileLock lock(std::string(path) + ".lock");
    // The socket's file takes the mode of the socket itself, so it is private from its first
    // moment.
    return lock.held() && removeDeadSocket(address) && fchmod(fd, 0600) == 0 &&
           bind(fd, asAny(address), sizeof(address)) == 0;
}

}  // namespace android::cutils
