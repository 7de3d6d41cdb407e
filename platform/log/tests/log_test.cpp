// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "../log_limiter.h"

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

using namespace android::base;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

// The lines of a log from the letter of the priority on.
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

// Runs code in a process of its own, since what is logged first reads the environment and what is
// fatal ends the process. A body that returns ends it well; or else `signal` has to.
void expectLog(const std::function<void()>& body, const testing::Matcher<const std::string&>& log,
               int signal = 0) {
    const auto endsAsItShould = [&](int status) {
        return signal == 0 ? testing::ExitedWithCode(0)(status)
                           : testing::KilledBySignal(signal)(status);
    };
    const auto inChild = [&] {
        unsetenv("ANDROID_LOG_TAGS");
        body();
        _exit(0);
    };
    EXPECT_EXIT(inChild(), endsAsItShould, log);
}

template <typename Matcher>
auto lines(const Matcher& matcher) {
    return testing::ResultOf(bareLines, matcher);
}

TEST(LogTest, EntryIsOneThreadtimeLineInOneWriteAlsoAfterAFork) {
    const auto log = [] {
        // Keeps one write apart from the next.
        int ends[2];
        if (pipe2(ends, O_DIRECT) != 0) _exit(2);
        const int output = dup(STDERR_FILENO);
        dup2(ends[1], STDERR_FILENO);
        __android_log_write(ANDROID_LOG_INFO, nullptr, "text\n");
        char line[4096];
        const ssize_t size = read(ends[0], line, sizeof(line));
        dup2(output, STDERR_FILENO);
        dprintf(STDERR_FILENO, "%.*s", static_cast<int>(size), line);
        char wanted[64];
        snprintf(wanted, sizeof(wanted), " %5d %5d I log_test: text\n", getpid(), gettid());
        if (!std::string(line, static_cast<size_t>(size)).ends_with(wanted)) _exit(3);
    };
    expectLog(
        [&] {
            log();
            if (fork() == 0) log();
            int status = 0;
            wait(&status);
            if (status != 0) _exit(4);
        },
        MatchesRegex("([0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} +[0-9]+ +[0-9]+ I "
                     "log_test: text\n){2}"));
}

TEST(LogTest, UntrustedTextAndTagCannotForgeALine) {
    expectLog(
        [] {
            __android_log_write(ANDROID_LOG_INFO, "a\nb", "tab\tstays, €\nforged \x1b[2J \xff\n\n");
            __android_log_write(ANDROID_LOG_INFO, std::string(5000, '\n').c_str(), "text");
        },
        lines(ElementsAre("I a\\x0ab: tab\tstays, €\\x0aforged \\x1b[2J \\xff\\x0a",
                          MatchesRegex("I (\\\\x0a){9,49}: text"))));
}

TEST(LogTest, LongTextIsCutToOneLineBetweenCharacters) {
    for (std::string text : {"", "x", "xx"}) {
        for (int i = 0; i < 2000; ++i) text += "€";
        expectLog([&] { __android_log_write(ANDROID_LOG_INFO, "t", text.c_str()); },
                  testing::AllOf(MatchesRegex(".* I t: x*(€)+\\.\\.\\.\n"),
                                 testing::SizeIs(testing::Gt(4096u - 4)),
                                 testing::SizeIs(testing::Le(4096u))));
    }
}

TEST(LogTest, ThresholdComesFromEnvironmentAndMinimum) {
    constexpr int kNone = ANDROID_LOG_DEFAULT;
    const struct {
        const char* logTags;
        int minimum;
        std::string dock;   // letters that appear under the tag "dock"
        std::string other;  // and under any other
    } kCases[] = {
        {"", kNone, "IWEF", "IWEF"},
        {"*:d", kNone, "DIWEF", "DIWEF"},
        {"V", kNone, "VDIWEF", "VDIWEF"},
        {"dock:E *:D", kNone, "EF", "DIWEF"},
        {"*:S,dock:W", kNone, "WEF", ""},
        {"doc:V docks:V dock", kNone, "IWEF", "IWEF"},
        {"dock:Q :V *:VV ,, ", kNone, "IWEF", "IWEF"},
        {"dock:V dock:E", kNone, "EF", "IWEF"},
        {"dock:V", ANDROID_LOG_ERROR, "VDIWEF", "EF"},
        {"*:E", ANDROID_LOG_DEBUG, "DIWEF", "DIWEF"},
    };
    for (const auto& item : kCases) {
        SCOPED_TRACE(item.logTags);
        std::vector<std::string> wanted;
        for (const char letter : item.dock) wanted.push_back(letter + std::string(" dock: x"));
        for (const char letter : item.other) wanted.push_back(letter + std::string(" other: x"));
        expectLog(
            [&] {
                setenv("ANDROID_LOG_TAGS", item.logTags, 1);
                __android_log_set_minimum_priority(item.minimum);
                for (const char* tag : {"dock", "other"}) {
                    for (int level = ANDROID_LOG_VERBOSE; level <= ANDROID_LOG_FATAL; ++level) {
                        const int loggable = __android_log_is_loggable(level, tag, 0);
                        if ((__android_log_print(level, tag, "x") == 1) != loggable) _exit(8);
                    }
                }
            },
            lines(wanted));
    }
}

TEST(LogTest, AssertLogsAndAborts) {
    expectLog([] { __android_log_assert("a > b", "t", "the %s", "reason"); },
              lines(ElementsAre("F t: the reason")), SIGABRT);
}

TEST(LogTest, OutputThatFailsOrIsFullLosesEntriesAndTheirNumberIsLoggedLater) {
    expectLog(
        [] {
            alarm(20);  // waiting in write() would be for ever
            const int output = dup(STDERR_FILENO);
            int closed[2];
            int full[2];
            if (pipe(closed) != 0 || pipe(full) != 0) _exit(2);
            close(closed[0]);
            fill(full[1]);
            for (const int broken : {closed[1], open("/dev/full", O_WRONLY), full[1]}) {
                dup2(broken, STDERR_FILENO);
                errno = 77;
                __android_log_write(ANDROID_LOG_INFO, "t", "lost");
                if (errno != 77) _exit(3);
            }
            std::string drained(1 << 20, '\0');
            if (read(full[0], drained.data(), drained.size()) <= 0) _exit(4);
            gFillWhenReady = full[1];
            __android_log_write(ANDROID_LOG_INFO, "t", "another writer was faster");
            gFillWhenReady = -1;
            if ((fcntl(full[1], F_GETFL) & O_NONBLOCK) != 0) _exit(5);
            dup2(output, STDERR_FILENO);
            __android_log_write(ANDROID_LOG_INFO, "t", "one");
            __android_log_write(ANDROID_LOG_INFO, "t", "two");
        },
        lines(ElementsAre("W log: 4 log entries dropped: stderr blocked", "I t: one", "I t: two")));
}

TEST(LogTest, EachSecondLetsTheSameNumberThroughAndReportsWhatWasOmitted) {
    android::log::LogLimiter limiter;
    unsigned omitted = 99;
    for (unsigned i = 0; i < android::log::LogLimiter::kPerSecond + 5; ++i) {
        EXPECT_EQ(i < android::log::LogLimiter::kPerSecond, limiter.allow(7, &omitted)) << i;
        EXPECT_EQ(0u, omitted);
    }
    for (const unsigned wanted : {5, 0}) {
        EXPECT_TRUE(limiter.allow(8, &omitted));
        EXPECT_EQ(wanted, omitted);
    }
}

TEST(LogTest, FloodFromOnePlaceIsLimitedAndOthersAreNot) {
    expectLog(
        [] {
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
        },
        lines(testing::AllOf(testing::SizeIs(testing::Gt(140u)), testing::SizeIs(testing::Lt(500u)),
                             testing::Contains("E t: another place"),
                             testing::Contains("I t: info").Times(100))));
}

enum Unscoped { EX_FIRST = 0 };

TEST(LoggingTest, FatalEntryShowsItsPlaceAndAbortsAlsoWhenSilenced) {
    const struct {
        std::function<void()> fail;
        const char* shown;
    } kCases[] = {
        {[] { CHECK_EQ(-3, EX_FIRST); }, "Check failed: -3 == EX_FIRST (-3=-3, EX_FIRST=0) \n"},
        {[] { CHECK(1 > 2) << "why"; }, "Check failed: 1 > 2 why\n"},
        {[] {
             errno = ENOENT;
             PCHECK(false) << "x";
         },
         "Check failed: false x: No such file or directory\n"},
        {[] { LOG(FATAL) << "over"; }, "over\n"},
    };
    for (const auto& item : kCases) {
        expectLog(
            [&] {
                setenv("ANDROID_LOG_TAGS", "*:S", 1);
                item.fail();
            },
            testing::AllOf(MatchesRegex(".* F log_test: log_test.cpp:[0-9]+\\] .*\n"),
                           EndsWith(std::string("] ") + item.shown)),
            SIGABRT);
    }
}

TEST(LoggingTest, StatementsEvaluateNothingMoreThanTheyShow) {
    expectLog(
        [] {
            int calls = 0;
            const auto count = [&] { return ++calls; };
            CHECK_EQ(count(), 1) << count();
            LOG(DEBUG) << count();
            PLOG(VERBOSE) << count();
            if (calls == 1)
                CHECK(count() == 2) << count();
            else
                _exit(3);
            errno = EACCES;
            PLOG(WARNING) << calls;
            if (errno != EACCES) _exit(4);
        },
        lines(ElementsAre("W log_test: 2: Permission denied")));
}

TEST(LoggingTest, InitLoggingSetsTagLoggerAndAborter) {
    expectLog(
        [] {
            char path[] = "/vendor/bin/hw/some-service";
            char* arguments[] = {path, nullptr};
            InitLogging(arguments, LogdLogger(SYSTEM), [](const char* message) {
                __android_log_print(ANDROID_LOG_INFO, nullptr, "aborter: %s", message);
            });
            LOG(ERROR) << "from libbase";
            LOG(FATAL) << "the end";
        },
        lines(ElementsAre("E some-service: from libbase", EndsWith("] the end"),
                          "I some-service: aborter: the end")),
        // An aborter that returns does not let the program go on.
        SIGABRT);
}

}  // namespace
