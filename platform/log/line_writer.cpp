// SPDX-License-Identifier: Apache-2.0
#include "line_writer.h"

#include <android/log.h>
#include <errno.h>
#include <host/utf8.h>
#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <string_view>

namespace android::log {
namespace {

constexpr int kPatienceMs = 20;
constexpr size_t kMaxTag = 128;

std::atomic<uint32_t> gLost{0};

char letterOf(int priority) {
    constexpr std::string_view kLetters = "??VDIWEFS";
    return priority >= 0 && static_cast<size_t>(priority) < kLetters.size() ? kLetters[priority]
                                                                            : '?';
}

// Looks before it writes, since a full pipe would block and one without reader would raise SIGPIPE.
bool writeWithoutBlocking(int fd, const char* data, size_t size, int patienceMs) {
    while (size > 0) {
        struct pollfd ready = {fd, POLLOUT, 0};
        if (poll(&ready, 1, patienceMs) != 1 || ready.revents != POLLOUT) return false;
        const ssize_t written = write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

// The number of bytes of the character at the start of `text` that is written as it is, or 0 when
// its first byte must be escaped.
size_t plainLength(std::string_view text) {
    const size_t before = text.size();
    const char32_t c = host::takeCharacter(&text);
    const bool plain = c == '\t' || (c != host::kNoCharacter && !host::isControl(c));
    return plain ? before - text.size() : 0;
}

constexpr size_t kEscapeLength = 4;

void escape(uint8_t byte, char* to) {
    constexpr char kHex[] = "0123456789abcdef";
    to[0] = '\\';
    to[1] = 'x';
    to[2] = kHex[byte >> 4];
    to[3] = kHex[byte & 15];
}

std::atomic<uint32_t> gForks{0};

// Process and thread, asked of the kernel once a thread (and again after a fork).
struct Ids {
    uint32_t forks;
    pid_t process;
    pid_t thread;
};

const Ids& currentIds() {
    static const int sWatched = pthread_atfork(nullptr, nullptr, [] { ++gForks; });
    (void)sWatched;
    static thread_local Ids sIds{gForks, getpid(), gettid()};
    if (const uint32_t forks = gForks; sIds.forks != forks) sIds = {forks, getpid(), gettid()};
    return sIds;
}

// The local time's part that changes once a minute is worked out once a minute.
int printTime(char* to, size_t size) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    static thread_local time_t sMinute = -1;
    static thread_local struct tm sTime;
    const time_t minute = now.tv_sec / 60;
    if (minute != sMinute) {
        localtime_r(&now.tv_sec, &sTime);
        sMinute = minute;
    }
    return snprintf(to, size, "%02d-%02d %02d:%02d:%02d.%03d", sTime.tm_mon + 1, sTime.tm_mday,
                    sTime.tm_hour, sTime.tm_min, static_cast<int>(now.tv_sec % 60),
                    static_cast<int>(now.tv_nsec / 1000000));
}

// Gathers whole lines and writes them together, at most PIPE_BUF bytes at once, so that lines of
// different threads and processes do not mix.
class LineBuffer {
  public:
    LineBuffer(int fd, int priority, std::string_view tag) : mFd(fd) {
        const Ids& ids = currentIds();
        size_t used = static_cast<size_t>(printTime(mPrefix, sizeof(mPrefix)));
        used += static_cast<size_t>(snprintf(mPrefix + used, sizeof(mPrefix) - used, " %5d %5d %c ",
                                             ids.process, ids.thread, letterOf(priority)));
        used = appendTag(used, tag);
        mPrefix[used++] = ':';
        mPrefix[used++] = ' ';
        mPrefixLength = used;
    }

    // `line` holds no line feed.
    void addLine(std::string_view line) {
        beginLine();
        while (!line.empty()) {
            const size_t plain = plainLength(line);
            const size_t length = plain != 0 ? plain : kEscapeLength;
            if (mUsed + length + 1 > sizeof(mBuffer)) continueLine();
            if (plain != 0) {
                memcpy(mBuffer + mUsed, line.data(), plain);
            } else {
                escape(static_cast<uint8_t>(line[0]), mBuffer + mUsed);
            }
            mUsed += length;
            line.remove_prefix(plain != 0 ? plain : 1);
        }
        mBuffer[mUsed++] = '\n';
        mWholeLines = mUsed;
    }

    // Returns false when part of the entry was lost.
    bool finish() {
        writeWholeLines();
        return !mLost;
    }

  private:
    size_t appendTag(size_t used, std::string_view tag) {
        const size_t end = used + kMaxTag;
        while (!tag.empty()) {
            const size_t plain = plainLength(tag);
            const size_t length = plain != 0 ? plain : kEscapeLength;
            if (used + length > end) break;
            if (plain != 0) {
                memcpy(mPrefix + used, tag.data(), plain);
            } else {
                escape(static_cast<uint8_t>(tag[0]), mPrefix + used);
            }
            used += length;
            tag.remove_prefix(plain != 0 ? plain : 1);
        }
        return used;
    }

    void beginLine() {
        if (mUsed + mPrefixLength + 1 > sizeof(mBuffer)) writeWholeLines();
        memcpy(mBuffer + mUsed, mPrefix, mPrefixLength);
        mUsed += mPrefixLength;
    }

    // Called when the line being gathered no longer fits: first the lines before it go; when it is
    // alone and still too long, it ends here and goes on as a new line.
    void continueLine() {
        if (mWholeLines > 0) {
            writeWholeLines();
            return;
        }
        mBuffer[mUsed++] = '\n';
        mWholeLines = mUsed;
        writeWholeLines();
        beginLine();
    }

    void writeWholeLines() {
        const bool waitAllowed = !mLost && gLost.load(std::memory_order_relaxed) == 0;
        if (mWholeLines > 0 &&
            !writeWithoutBlocking(mFd, mBuffer, mWholeLines, waitAllowed ? kPatienceMs : 0)) {
            mLost = true;
        }
        memmove(mBuffer, mBuffer + mWholeLines, mUsed - mWholeLines);
        mUsed -= mWholeLines;
        mWholeLines = 0;
    }

    const int mFd;
    bool mLost = false;
    size_t mPrefixLength = 0;
    size_t mUsed = 0;
    size_t mWholeLines = 0;  // bytes of mBuffer that are finished lines
    char mPrefix[kMaxTag + 64];
    char mBuffer[PIPE_BUF];
};

void reportLost(int fd) {
    const uint32_t lost = gLost.load(std::memory_order_relaxed);
    if (lost == 0) return;
    char text[96];
    const int size =
        snprintf(text, sizeof(text), "%u log entries were lost: standard error took no more", lost);
    LineBuffer buffer(fd, ANDROID_LOG_WARN, "log");
    buffer.addLine({text, static_cast<size_t>(size)});
    if (buffer.finish()) gLost.fetch_sub(lost, std::memory_order_relaxed);
}

}  // namespace

void writeEntry(int fd, int priority, const char* tag, const char* text) {
    const int savedErrno = errno;
    reportLost(fd);
    std::string_view rest = text;
    if (!rest.empty() && rest.back() == '\n') rest.remove_suffix(1);
    LineBuffer buffer(fd, priority, tag);
    for (size_t end = 0; end != std::string_view::npos;) {
        end = rest.find('\n');
        buffer.addLine(rest.substr(0, end));
        if (end != std::string_view::npos) rest.remove_prefix(end + 1);
    }
    if (!buffer.finish()) gLost.fetch_add(1, std::memory_order_relaxed);
    errno = savedErrno;
}

}  // namespace android::log
