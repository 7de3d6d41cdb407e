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

#include <algorithm>
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
        // To look only is cheaper than to wait, and mostly enough.
        struct pollfd ready = {fd, POLLOUT, 0};
        int count = poll(&ready, 1, 0);
        if (count == 0 && patienceMs > 0) count = poll(&ready, 1, patienceMs);
        if (count != 1 || ready.revents != POLLOUT) return false;
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

bool isPlainAscii(char c) {
    return (c >= 0x20 && c < 0x7F) || c == '\t';
}

// Takes whole characters off the front of `*text` and writes them, as they are or, when they could
// mislead, their first byte as \xNN, while there is room. Returns the number of bytes written.
size_t takeEscaped(std::string_view* text, char* to, size_t room) {
    size_t used = 0;
    while (!text->empty()) {
        size_t run = 0;
        const size_t most = std::min(text->size(), room - used);
        while (run < most && isPlainAscii((*text)[run])) ++run;
        if (run > 0) {
            memcpy(to + used, text->data(), run);
            used += run;
            text->remove_prefix(run);
            continue;
        }
        std::string_view rest = *text;
        const char32_t c = host::takeCharacter(&rest);
        const bool plain = c != host::kNoCharacter && (c == '\t' || !host::isControl(c));
        const size_t taken = plain ? text->size() - rest.size() : 1;
        const size_t length = plain ? taken : 4;
        if (used + length > room) break;
        if (plain) {
            memcpy(to + used, text->data(), length);
        } else {
            constexpr char kHex[] = "0123456789abcdef";
            const auto byte = static_cast<uint8_t>(text->front());
            to[used] = '\\';
            to[used + 1] = 'x';
            to[used + 2] = kHex[byte >> 4];
            to[used + 3] = kHex[byte & 15];
        }
        used += length;
        text->remove_prefix(taken);
    }
    return used;
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

// Gathers whole lines and writes them together, at most PIPE_BUF bytes at once, so that lines of
// different threads and processes do not mix.
class LineBuffer {
  public:
    LineBuffer(int fd, int priority, std::string_view tag) : mFd(fd) {
        printTime(mPrefix);
        size_t used = kTimeLength;
        const std::string_view ids = processAndThread();
        used += ids.copy(mPrefix + used, ids.size());
        mPrefix[used++] = letterOf(priority);
        mPrefix[used++] = ' ';
        used += takeEscaped(&tag, mPrefix + used, kMaxTag);
        mPrefix[used++] = ':';
        mPrefix[used++] = ' ';
        mPrefixLength = used;
    }

    // `line` holds no line feed.
    void addLine(std::string_view line) {
        beginLine();
        for (;;) {
            mUsed += takeEscaped(&line, mBuffer + mUsed, sizeof(mBuffer) - mUsed - 1);
            if (line.empty()) break;
            continueLine();
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
