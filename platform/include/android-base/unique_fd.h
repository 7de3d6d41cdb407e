// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/macros.h>
#include <fcntl.h>
#include <unistd.h>

// The owner of a file descriptor, as in Android's libbase.
//
// Differs from Android: descriptors carry no owner tag (there is no fdsan), so closing one that
// somebody else owns is not detected.

namespace android::base {

struct DefaultCloser {
    // Keeps errno. Never repeated after EINTR: Linux has freed the number by then.
    static void Close(int fd) {
        const int savedErrno = errno;
        ::close(fd);
        errno = savedErrno;
    }
};

// Holds one descriptor or -1, and closes it when destroyed, reset or assigned to. Moved, not
// copied. Not for use by several threads at once.
template <typename Closer>
class unique_fd_impl final {
  public:
    unique_fd_impl() = default;
    explicit unique_fd_impl(int fd) : mFd(fd) {}
    unique_fd_impl(const unique_fd_impl&) = delete;
    unique_fd_impl& operator=(const unique_fd_impl&) = delete;
    unique_fd_impl(unique_fd_impl&& other) noexcept : mFd(other.release()) {}
    unique_fd_impl& operator=(unique_fd_impl&& other) noexcept {
        if (this != &other) reset(other.release());
        return *this;
    }
    ~unique_fd_impl() { reset(); }

    // Closes what is held and holds `fd` from now on. Keeps errno.
    void reset(int fd = -1) {
        const int former = mFd;
        mFd = fd;
        if (former != -1) Closer::Close(former);
    }

    int get() const { return mFd; }
    operator int() const { return get(); }  // NOLINT: as on Android
    bool ok() const { return mFd >= 0; }
    bool operator>=(int rhs) const { return get() >= rhs; }
    bool operator<(int rhs) const { return get() < rhs; }
    bool operator==(int rhs) const { return get() == rhs; }
    bool operator!=(int rhs) const { return get() != rhs; }
    bool operator==(const unique_fd_impl& rhs) const { return get() == rhs.get(); }
    bool operator!=(const unique_fd_impl& rhs) const { return get() != rhs.get(); }
    // `if (!fd)` would mean descriptor 0: say `fd.ok()`.
    bool operator!() const = delete;

    // Gives the descriptor up: the caller closes it.
    [[nodiscard]] int release() {
        const int fd = mFd;
        mFd = -1;
        return fd;
    }

  private:
    int mFd = -1;
};

using unique_fd = unique_fd_impl<DefaultCloser>;

// Makes a pipe, closed on exec unless `flags` say otherwise. On failure returns false with errno
// set and leaves both arguments alone.
template <typename Closer>
[[nodiscard]] bool Pipe(unique_fd_impl<Closer>* read, unique_fd_impl<Closer>* write,
                        int flags = O_CLOEXEC) {
    int fds[2];
    if (pipe2(fds, flags) != 0) return false;
    read->reset(fds[0]);
    write->reset(fds[1]);
    return true;
}

}  // namespace android::base

// Closing a descriptor that a unique_fd will close again is a mistake.
template <typename Closer>
int close(const android::base::unique_fd_impl<Closer>&) = delete;
