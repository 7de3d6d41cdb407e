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
#include <string.h>
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

std::atomic<uint32_t> gLost{0};

char letterOf(int priority) {
    constexpr std::string_view kLetters = "??VDIWEFS";
    return priority >= 0 && static_cast<size_t>(priority) < kLetters.size() ? kLetters[priority]
                                                                            : '?';
}

// Files never wait for a reader. Whether the last line went to one is what is looked for first.
std::atomic<bool> gToFile{false};

// Whether it can be sought in, as what a reader empties cannot.
bool isFile(int fd) {
    return lseek(fd, 0, SEEK_CUR) >= 0;
}

// Writes what the descriptor takes at once. Its description may be shared with other processes, so
// O_NONBLOCK is not for this one to set.
ssize_t writeAtOnce(int fd, const char* data, size_t size) {
    const struct iovec area = {const_cast<char*>(data), size};
    ssize_t written = pwritev2(fd, &area, 1, -1, RWF_NOWAIT);
    if (written >= 0 || (errno != EOPNOTSUPP && errno != EAGAIN)) return written;
    int error = errno;
    if (isFile(fd)) {
        gToFile.store(true, std::memory_order_relaxed);
        return write(fd, data, size);
    }
    if (error == EOPNOTSUPP) {
        // A terminal, or a pipe on a kernel before 6.4: through a description of our own, where one
        // can be had (not of another user's terminal).
        char path[32];
        snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);
        const int own = open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        written = write(own >= 0 ? own : fd, data, size);
        error = errno;
        if (own >= 0) close(own);
    }
    errno = error;
    return written;
}

// To look only is cheaper than to wait, and mostly enough. A descriptor without a reader is not
// ready: writing to it would raise SIGPIPE.
bool isReady(int fd, int* patienceMs) {
    struct pollfd ready = {fd, POLLOUT, 0};
    int count = poll(&ready, 1, 0);
    if (count == 0 && *patienceMs > 0) {
        count = poll(&ready, 1, *patienceMs);
        *patienceMs = 0;
    }
    return count == 1 && ready.revents == POLLOUT;
}

bool writeWithoutBlocking(int fd, const char* data, size_t size, int patienceMs) {
    for (int tries = 0; tries < kMaxTries; ++tries) {
        ssize_t written;
        if (gToFile.load(std::memory_order_relaxed) && isFile(fd)) {
            written = write(fd, data, size);
        } else {
            gToFile.store(false, std::memory_order_relaxed);
            if (!isReady(fd, &patienceMs)) return false;
            written = writeAtOnce(fd, data, size);
        }
        if (written == static_cast<ssize_t>(size)) return true;
        // EAGAIN: another writer was faster.
        if (written < 0 && errno != EINTR && errno != EAGAIN) return false;
        if (written > 0) {
            data += written;
            size -= static_cast<size_t>(written);
        }
    }
    return false;
}

std::atomic<uint32_t> gForks{0};

// " PID TID ", worked out once a thread (and again after a fork).
std::string_view processAndThread() {
    static const int sWatched = pthread_atfork(nullptr, nullptr, [] { ++gForks; });
    (void)sWatched;
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

void putDigits(char* to, int count, long value) {
    while (count-- > 0) {
        to[count] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

constexpr size_t kTimeLength = sizeof("MM-DD HH:MM:SS.mmm") - 1;

// The local time; what changes once a minute is worked out once a minute.
void printTime(char* to) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    static thread_local time_t sMinute = -1;
    static thread_local char sText[kTimeLength + 1];
    const time_t minute = now.tv_sec / 60;
    if (minute != sMinute) {
        struct tm time;
        localtime_r(&now.tv_sec, &time);
        strftime(sText, sizeof(sText), "%m-%d %H:%M:00.000", &time);
        sMinute = minute;
    }
    memcpy(to, sText, kTimeLength);
    putDigits(to + kTimeLength - 6, 2, now.tv_sec % 60);
    putDigits(to + kTimeLength - 3, 3, now.tv_nsec / 1000000);
}

// Writes a line of at most PIPE_BUF bytes at once, so that lines of different threads and processes
// do not mix. Returns false when it was lost.
bool writeLine(int fd, int priority, std::string_view tag, std::string_view text, int patienceMs) {
    char line[PIPE_BUF];
    printTime(line);
    size_t used = kTimeLength;
    const std::string_view ids = processAndThread();
    used += ids.copy(line + used, ids.size());
    line[used++] = letterOf(priority);
    line[used++] = ' ';
    used += host::takeEscaped(&tag, line + used, kMaxTag);
    line[used++] = ':';
    line[used++] = ' ';
    if (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    used += host::takeEscaped(&text, line + used, sizeof(line) - used - kCut.size() - 1);
    if (!text.empty()) used += kCut.copy(line + used, kCut.size());
    line[used++] = '\n';
    return writeWithoutBlocking(fd, line, used, patienceMs);
}

}  // namespace

void writeEntry(int fd, int priority, const char* tag, const char* text) {
    const int savedErrno = errno;
    const uint32_t lost = gLost.load(std::memory_order_relaxed);
    if (lost > 0) {
        char report[96];
        const int size = snprintf(report, sizeof(report),
                                  "%u log entries were lost: standard error took no more", lost);
        if (writeLine(fd, ANDROID_LOG_WARN, "log", {report, static_cast<size_t>(size)}, 0)) {
            gLost.fetch_sub(lost, std::memory_order_relaxed);
        }
    }
    if (!writeLine(fd, priority, tag, text, gLost == 0 ? kPatienceMs : 0)) {
        gLost.fetch_add(1, std::memory_order_relaxed);
    }
    errno = savedErrno;
}

}  // namespace android::log
