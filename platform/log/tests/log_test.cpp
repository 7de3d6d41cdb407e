// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "../log_limiter.h"
#include "child.h"

namespace {

int gFillWhenReady = -1;  // a pipe

void fill(int pipe) {
    const std::string piece(4096, '#');
    fcntl(pipe, F_SETFL, O_WRONLY | O_NONBLOCK);
    while (write(pipe, piece.data(), piece.size()) > 0) {
    }
    fcntl(pipe, F_SETFL, O_WRONLY);
}

}  // namespace

// Stands before the C library's: when a descriptor is ready, another writer takes the room.
extern "C" int poll(pollfd* descriptors, nfds_t count, int timeoutMs) {
    const timespec timeout = {timeoutMs / 1000, timeoutMs % 1000 * 1000000L};
    const int ready = ppoll(descriptors, count, timeoutMs < 0 ? nullptr : &timeout, nullptr);
    if (ready > 0 && gFillWhenReady >= 0) fill(gFillWhenReady);
    return ready;
}

namespace {

using testing::ElementsAre;
using testing::EndsWith;

// The lines of a child's output from the letter of the priority on.
std::vector<std::string> bareLines(const std::string& text) {
    EXPECT_TRUE(text.empty() || text.back() == '\n') << "an unfinished line: " << text;
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        const size_t start = line.find_first_not_of("0123456789-:. ");
        EXPECT_TRUE(start >= strlen("MM-DD HH:MM:SS.mmm") && start < line.size()) << line;
        lines.push_back(line.substr(std::min(start, line.size())));
    }
    return lines;
}

TEST(LogTest, EntryIsOneThreadtimeLineInOneWrite) {
    const ChildResult child = runChild("chosen:D", [] {
        __android_log_print(ANDROID_LOG_INFO, "dock", "level %d\n", 3);
        __android_log_write(ANDROID_LOG_FATAL, nullptr, "");
        __android_log_set_default_tag("chosen");
        __android_log_write(ANDROID_LOG_DEBUG, nullptr, "b");
        if (fork() == 0) __android_log_print(ANDROID_LOG_INFO, "t", "%5d %5d", getpid(), gettid());
    });
    ASSERT_EQ(4u, child.writes.size());
    EXPECT_THAT(child.writes[0],
                testing::MatchesRegex("[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} +" +
                                      std::to_string(child.pid) + " +" + std::to_string(child.pid) +
                                      " I dock: level 3\n"));
    EXPECT_THAT(child.writes[1],
                EndsWith(std::string(" F ") + program_invocation_short_name + ": \n"));
    EXPECT_THAT(child.writes[2], EndsWith(" D chosen: b\n"));
    const std::string& forked = child.writes[3];
    const std::string own = forked.substr(forked.rfind(": ") + 2);
    EXPECT_THAT(forked, testing::HasSubstr(" " + own.substr(0, own.size() - 1) + " I t: "));
}

TEST(LogTest, UntrustedTextAndTagCannotForgeALine) {
    const ChildResult child = runChild(nullptr, [] {
        __android_log_write(ANDROID_LOG_INFO, "a\nb", "tab\tstays, €\nforged \x1b[2J \xff\n\n");
        __android_log_write(ANDROID_LOG_INFO, std::string(5000, '\n').c_str(), "text");
    });
    const auto lines = bareLines(child.text());
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("I a\\x0ab: tab\tstays, €\\x0aforged \\x1b[2J \\xff\\x0a", lines[0]);
    EXPECT_LT(lines[1].size(), 200u);
    EXPECT_THAT(lines[1], EndsWith(": text"));
}

TEST(LogTest, LongTextIsCutToOneLineBetweenCharacters) {
    // Around the size of one write, with a character that must not be torn.
    for (size_t size = 4040; size < 4110; ++size) {
        const std::string text = std::string(size, 'x') + "€";
        const ChildResult child =
            runChild(nullptr, [&] { __android_log_write(ANDROID_LOG_INFO, "t", text.c_str()); });
        ASSERT_EQ(1u, child.writes.size());
        EXPECT_LE(child.writes[0].size(), 4096u);
        std::string line = bareLines(child.text()).front().substr(5);
        if (line == text) continue;
        EXPECT_THAT(line, EndsWith("..."));
        EXPECT_EQ(text.substr(0, line.size() - 3), line.substr(0, line.size() - 3));
        EXPECT_GT(child.writes[0].size(), 4096u - 4);
    }
}

TEST(LogTest, ThresholdComesFromEnvironmentAndMinimum) {
    constexpr int kNone = ANDROID_LOG_DEFAULT;
    const struct {
        const char* logTags;
        int minimum;
        const char* dock;   // letters that appear under the tag "dock"
        const char* other;  // and under any other
    } kCases[] = {
        {nullptr, kNone, "IWEF", "IWEF"},
        {"", kNone, "IWEF", "IWEF"},
        {"*:d", kNone, "DIWEF", "DIWEF"},
        {"V", kNone, "VDIWEF", "VDIWEF"},
        {"dock:V", kNone, "VDIWEF", "IWEF"},
        {"dock:E *:D", kNone, "EF", "DIWEF"},
        {"*:S,dock:W", kNone, "WEF", ""},
        {"doc:V docks:V dock", kNone, "IWEF", "IWEF"},
        {"dock:Q :V *:VV ,, ", kNone, "IWEF", "IWEF"},
        {"dock:V dock:E", kNone, "EF", "IWEF"},
        {nullptr, ANDROID_LOG_ERROR, "EF", "EF"},
        {"dock:V", ANDROID_LOG_ERROR, "VDIWEF", "EF"},
        {"*:E", ANDROID_LOG_DEBUG, "DIWEF", "DIWEF"},
    };
    for (const auto& item : kCases) {
        const ChildResult child = runChild(item.logTags, [&] {
            __android_log_set_minimum_priority(item.minimum);
            for (int priority = ANDROID_LOG_VERBOSE; priority <= ANDROID_LOG_FATAL; ++priority) {
                const bool logged = __android_log_print(priority, "dock", "x") == 1;
                if (logged != (__android_log_is_loggable(priority, "dock", 0) == 1)) _exit(8);
                __android_log_write(priority, "other", "x");
            }
        });
        EXPECT_EQ(0, child.exitStatus);
        std::string dock;
        std::string other;
        for (const std::string& line : bareLines(child.text())) {
            (line.substr(2) == "dock: x" ? dock : other) += line[0];
        }
        EXPECT_EQ(item.dock, dock) << testing::PrintToString(item.logTags);
        EXPECT_EQ(item.other, other) << testing::PrintToString(item.logTags);
    }
}

TEST(LogTest, AssertLogsAndAborts) {
    const ChildResult child =
        runChild(nullptr, [] { __android_log_assert("a > b", "t", "the %s", "reason"); });
    EXPECT_EQ(SIGABRT, child.signal);
    EXPECT_THAT(bareLines(child.text()), ElementsAre("F t: the reason"));
}

TEST(LogTest, OutputThatFailsLosesEntriesAndTheirNumberIsLoggedLater) {
    FILE* const file = tmpfile();
    ASSERT_NE(nullptr, file);
    const ChildResult child = runChild(nullptr, [&] {
        int ends[2];
        if (pipe(ends) != 0) _exit(2);
        close(ends[0]);
        for (const int output : {ends[1], open("/dev/full", O_WRONLY), fileno(file)}) {
            dup2(output, STDERR_FILENO);
            errno = 77;
            __android_log_write(ANDROID_LOG_INFO, "t", "one");
            __android_log_write(ANDROID_LOG_INFO, "t", "two");
            if (errno != 77) _exit(3);
        }
    });
    EXPECT_EQ(0, child.exitStatus);
    std::string text(1024, '\0');
    text.resize(static_cast<size_t>(pread(fileno(file), text.data(), text.size(), 0)));
    fclose(file);
    EXPECT_THAT(bareLines(text), ElementsAre("W log: 4 log entries dropped: stderr blocked",
                                             "I t: one", "I t: two"));
}

TEST(LogTest, FullPipeMakesNobodyWait) {
    const ChildResult child = runChild(nullptr, [] {
        alarm(20);  // waiting in write() would be for ever
        const int output = dup(STDERR_FILENO);
        int ends[2];
        if (pipe(ends) != 0) _exit(2);
        dup2(ends[1], STDERR_FILENO);
        fill(ends[1]);
        __android_log_write(ANDROID_LOG_INFO, "t", "full from the start");
        std::string drained(1 << 20, '\0');
        if (read(ends[0], drained.data(), drained.size()) <= 0) _exit(3);
        gFillWhenReady = ends[1];
        __android_log_write(ANDROID_LOG_INFO, "t", "another writer was faster");
        gFillWhenReady = -1;
        if ((fcntl(ends[1], F_GETFL) & O_NONBLOCK) != 0) _exit(4);
        dup2(output, STDERR_FILENO);
        __android_log_write(ANDROID_LOG_INFO, "t", "again");
    });
    EXPECT_EQ(0, child.exitStatus) << child.signal;
    EXPECT_THAT(bareLines(child.text()),
                ElementsAre("W log: 2 log entries dropped: stderr blocked", "I t: again"));
}

TEST(LogTest, EachSecondLetsTheSameNumberThroughAndReportsWhatWasOmitted) {
    constexpr unsigned kMost = android::log::LogLimiter::kPerSecond;
    const struct {
        uint32_t second;
        unsigned entries;
        unsigned allowed;
        unsigned omitted;  // as the first one reports
    } kCases[] = {{7, kMost, kMost, 0}, {8, kMost + 5, kMost, 0}, {8, 3, 0, 99},    {9, 1, 1, 8},
                  {9, 1, 1, 0},         {8, kMost * 2, kMost, 0}, {12, 2, 2, kMost}};
    android::log::LogLimiter limiter;
    for (const auto& item : kCases) {
        unsigned omitted = 99;
        unsigned allowed = 0;
        for (unsigned i = 0; i < item.entries; ++i) {
            unsigned reported = 99;
            if (limiter.allow(item.second, &reported)) ++allowed;
            if (i == 0) omitted = reported;
        }
        EXPECT_EQ(item.allowed, allowed) << item.second;
        EXPECT_EQ(item.omitted, omitted) << item.second;
    }
}

TEST(LogTest, FloodFromOnePlaceIsLimitedAndOthersAreNot) {
    const ChildResult child = runChild(nullptr, [] {
        const auto log = [](int priority, unsigned line, const char* text) {
            __android_log_message entry = {sizeof(entry), LOG_ID_MAIN, priority, "t",
                                           "peer.cpp",    line,        text};
            __android_log_write_log_message(&entry);
        };
        for (int i = 0; i < 5000; ++i) {
            log(ANDROID_LOG_ERROR, 1, "flood");
            __android_log_write(ANDROID_LOG_WARN, "t", "flood");
        }
        log(ANDROID_LOG_ERROR, 2, "another place");
        for (int i = 0; i < 100; ++i) log(ANDROID_LOG_INFO, 3, "info");
    });
    const auto lines = bareLines(child.text());
    EXPECT_GT(lines.size(), 140u);
    EXPECT_LT(lines.size(), 500u);
    EXPECT_THAT(lines, testing::Contains("E t: another place"));
    EXPECT_EQ(100, std::count(lines.begin(), lines.end(), "I t: info"));
}

}  // namespace
