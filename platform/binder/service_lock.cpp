// SPDX-License-Identifier: Apache-2.0
#include "service_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>

#include <chrono>
#include <thread>

#include "unix_socket.h"

namespace android::host {
namespace {

using android::base::unique_fd;

constexpr std::chrono::milliseconds kLockAgainAfter(1);
constexpr int kLockTries = 50;

}  // namespace

unique_fd openLock(const std::string& socket, bool create) {
    return unique_fd(open((socket + std::string(kLockSuffix)).c_str(),
                          (create ? O_CREAT : 0) | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600));
}

bool takeLock(const unique_fd& lock) {
    for (int tries = 0; flock(lock.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
        if (errno != EWOULDBLOCK || tries == kLockTries) return false;
        std::this_thread::sleep_for(kLockAgainAfter);
    }
    return true;
}

bool isServed(const std::string& socket) {
    const unique_fd lock = openLock(socket, /*create=*/false);
    if (lock.ok()) return flock(lock.get(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return errno == ENOENT && connectUnix(socket).ok();
}

}  // namespace android::host
