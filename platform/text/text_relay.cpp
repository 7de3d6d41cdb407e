// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <fcntl.h>
#include <host/escape.h>
#include <host/text_relay.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>

namespace android::host {
namespace {

// More than a pipe holds: whoever keeps writing must not keep finish() waiting.
constexpr size_t kMostAfterFinish = 1 << 20;

// 0 or the errno.
int writeAll(int descriptor, const std::string& text) {
    for (size_t at = 0; at < text.size();) {
        const ssize_t written = write(descriptor, text.data() + at, text.size() - at);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0 && errno == EAGAIN) {
            pollfd ready = {descriptor, POLLOUT, 0};
            poll(&ready, 1, -1);
            continue;
        }
        if (written <= 0) return written < 0 ? errno : EIO;
        at += static_cast<size_t>(written);
    }
    return 0;
}

}  // namespace

TextRelay::TextRelay(int to) : mTo(to) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    mReadEnd.reset(ends[0]);
    base::unique_fd writeEnd(ends[1]);
    mFinish.reset(eventfd(0, EFD_CLOEXEC));
    if (!mFinish.ok() || fcntl(mReadEnd.get(), F_SETFL, O_NONBLOCK) != 0) return;
    mWriteEnd = std::move(writeEnd);
    mThread = std::thread([this] { copy(); });
}

int TextRelay::finish() {
    if (!mThread.joinable()) return mError;
    mWriteEnd.reset();
    eventfd_write(mFinish.get(), 1);
    mThread.join();
    return mError;
}

void TextRelay::copy() {
    StreamEscaper escaper;
    size_t left = SIZE_MAX;
    for (;;) {
        pollfd waits[] = {{mReadEnd.get(), POLLIN, 0}, {mFinish.get(), POLLIN, 0}};
        if (left == SIZE_MAX && poll(waits, 2, -1) < 0) continue;
        if (left == SIZE_MAX && waits[1].revents != 0) left = kMostAfterFinish;
        char piece[16384];
        const ssize_t got = left > 0 ? read(mReadEnd.get(), piece, sizeof(piece)) : 0;
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && errno == EAGAIN && left == SIZE_MAX) continue;
        if (got <= 0) break;
        const auto size = static_cast<size_t>(got);
        if (left != SIZE_MAX) left -= std::min(left, size);
        mError = writeAll(mTo, escaper.next({piece, size}));
        if (mError != 0) {
            mReadEnd.reset();
            return;
        }
    }
    mError = writeAll(mTo, escaper.end());
}

}  // namespace android::host
