// SPDX-License-Identifier: Apache-2.0
#include "line_writer.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <host/escape.h>
#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

namespace android::log {
namespace {

constexpr int kPatienceMs = 20;
constexpr int kMaxTries = 10;
constexpr size_t kMaxTag = 128;
constexpr std::string_view kCut = "...";  // ends a text that was too long

std::atomic<uint32_t> gDropped{0};

char letterOf(int priority) {
    constexpr std::string_view kLetters = "??VDIWEFS";
    const auto at = static_cast<size_t>(priority);
    return at < kLetters.size() ? kLetters[at] : '?';
}

// Writes what the descriptor accepts at once. Its file description may be shared with other
// processes, so O_NONBLOCK must not be set on it.
ssize_t writeAtOnce(int fd, std::string_view data) {
    const iovec area = {const_cast<char*>(data.data()), data.size()};
    const ssize_t written = pwritev2(fd, &area, 1, -1, RWF_NOWAIT);
    if (written >= 0 || (errno != EOPNOTSUPP && errno != EAGAIN)) return written;
    const int error = errno;
    // What can be sought in is a file, which never waits for a reader.
    if (lseek(fd, 0, SEEK_CUR) >= 0) return write(fd, data.data(), data.size());
    errno = error;
    if (error == EAGAIN) return -1;
    // A terminal, or a pipe before Linux 6.4: through a file description of our own, unless access
    // to it is denied (another user's terminal).
    char path[32];
    snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);
    const int own = open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    const ssize_t result = write(own >= 0 ? own : fd, data.data(), data.size());
    const int reason = errno;
    if (own >= 0) close(own);
    errno = reason;
    return result;
}

bool writeWithoutBlocking(int fd, std::string_view data, int patienceMs) {
    for (int tries = 0; tries < kMaxTries && !data.empty(); ++tries) {
        // A descriptor without a reader is not ready: writing to it would raise SIGPIPE.
        pollfd ready = {fd, POLLOUT, 0};
        if (poll(&ready, 1, patienceMs) != 1 || ready.revents != POLLOUT) return false;
        patienceMs = 0;
        const ssize_t written = writeAtOnce(fd, data);
        // EAGAIN: another writer was faster.
        if (written < 0 && errno != EINTR && errno != EAGAIN) return false;
        if (written > 0) data.remove_prefix(static_cast<size_t>(written));
    }
    return data.empty();
}

std::atomic<uint32_t> gForks{0};

// " PID TID ", formatted once a thread and again after a fork: asking the kernel each time makes a
// line half as slow again.
std::string_view processAndThread() {
    [[maybe_unused]] static const int sWatched = pthread_atfork(nullptr, nullptr, [] { ++gForks; });
    static thread_local uint32_t sForks;
    static thread_local char sText[32];
    static thread_local size_t sLength = 0;
    if (const uint32_t forks = gForks; sLength == 0 || sForks != forks) {
        sLength =
            static_cast<size_t>(snprintf(sText, sizeof(sText), " %5d %5d ", getpid(), gettid()));
        sForks = forks;
    }
    return {sText, sLength};
}

// Writes a line of at most PIPE_BUF bytes at once, so that lines of different threads and processes
// do not mix. Returns false when it was dropped.
bool writeLine(int fd, int priority, std::string_view tag, std::string_view text, int patienceMs) {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    tm time;
    localtime_r(&now.tv_sec, &time);
    char line[PIPE_BUF];
    size_t used = strftime(line, sizeof(line), "%m-%d %H:%M:%S.", &time);
    for (long unit = 100'000'000; unit >= 1'000'000; unit /= 10) {
        line[used++] = static_cast<char>('0' + now.tv_nsec / unit % 10);
    }
    const std::string_view ids = processAndThread();
    used += ids.copy(line + used, ids.size());
    line[used++] = letterOf(priority);
    line[used++] = ' ';
    used += host::takeEscaped(&tag, line + used, kMaxTag);
    line[used++] = ':';
    line[used++] = ' ';
    if (text.ends_with('\n')) text.remove_suffix(1);
    used += host::takeEscaped(&text, line + used, sizeof(line) - used - kCut.size() - 1);
    if (!text.empty()) used += kCut.copy(line + used, kCut.size());
    line[used++] = '\n';
    return writeWithoutBlocking(fd, {line, used}, patienceMs);
}

}  // namespace

void writeEntry(int fd, int priority, const char* tag, const char* text) {
    const int savedErrno = errno;
    if (const uint32_t dropped = gDropped.load(); dropped > 0) {
        char report[64];
        snprintf(report, sizeof(report), "%u log entries dropped: stderr blocked", dropped);
        if (writeLine(fd, ANDROID_LOG_WARN, "log", report, 0)) gDropped.fetch_sub(dropped);
    }
    if (!writeLine(fd, priority, tag, text, gDropped == 0 ? kPatienceMs : 0)) ++gDropped;
    errno = savedErrno;
}

}  // namespace android::log
