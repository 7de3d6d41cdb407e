// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android/log.h>
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <thread>

#include "../../log/tests/child.h"

namespace {

using namespace android::base;
using testing::EndsWith;
using testing::IsEmpty;

enum Unscoped { EX_FIRST = 0 };

TEST(CheckTest, FailureLogsBothValuesWithPlaceAndAborts) {
    const int* const null = nullptr;
    const char* const noText = nullptr;
    const struct {
        std::function<void()> check;
        const char* shown;
    } kCases[] = {
        {[] { CHECK_EQ(-3, EX_FIRST); }, "Check failed: -3 == EX_FIRST (-3=-3, EX_FIRST=0) \n"},
        {[] { CHECK_EQ(1, 2) << "more " << 3; }, "Check failed: 1 == 2 (1=1, 2=2) more 3\n"},
        {[] { CHECK_NE(1, 1); }, "Check failed: 1 != 1 (1=1, 1=1) \n"},
        {[] { CHECK_LT(1, 1); }, "Check failed: 1 < 1 (1=1, 1=1) \n"},
        {[] { CHECK_LE(2, 1); }, "Check failed: 2 <= 1 (2=2, 1=1) \n"},
        {[] { CHECK_GT(1, 1); }, "Check failed: 1 > 1 (1=1, 1=1) \n"},
        {[] { CHECK_GE(0, 1); }, "Check failed: 0 >= 1 (0=0, 1=1) \n"},
        {[] { CHECK(1 > 2) << "why"; }, "Check failed: 1 > 2 why\n"},
        {[&] { CHECK_NE(null, nullptr); },
         "Check failed: null != nullptr (null=0, nullptr=(null)) \n"},
        {[] { CHECK_STREQ("a", "b"); }, "Check failed: \"a\" == \"b\" \n"},
        {[&] { CHECK_STREQ(noText, "b"); }, "Check failed: \"(null)\" == \"b\" \n"},
        {[] { CHECK_STRNE("a", "a"); }, "Check failed: \"a\" != \"a\" \n"},
        {[] {
             errno = ENOENT;
             PCHECK(false) << "x";
         },
         "Check failed: false x: No such file or directory\n"},
        {[] { LOG(FATAL) << "over"; }, "over\n"},
    };
    for (const auto& item : kCases) {
        const ChildResult child = runChild("*:S", item.check);
        // Silenced, it still ends the process.
        EXPECT_EQ(SIGABRT, child.signal) << item.shown;
        EXPECT_THAT(child.text(),
                    testing::MatchesRegex(".* F [^ ]*: logging_test.cpp:[0-9]+\\] .*\n"));
        EXPECT_THAT(child.text(), EndsWith(std::string("] ") + item.shown));
    }
}

TEST(CheckTest, PassingCheckEvaluatesOnceAndLogsNothing) {
    const ChildResult child = runChild("*:V", [] {
        int calls = 0;
        const auto count = [&] { return ++calls; };
        CHECK_EQ(count(), 1) << count();
        CHECK(count() == 2) << count();
        CHECK_STREQ("a", std::string("a").c_str());
        if (calls == 2)
            CHECK_GE(calls, 2);
        else
            _exit(3);
        _exit(calls == 2 ? 0 : 4);
    });
    EXPECT_EQ(0, child.exitStatus);
    EXPECT_THAT(child.writes, IsEmpty());
}

TEST(CheckTest, AborterOfTheProgramIsCalledWithTheText) {
    const ChildResult child = runChild(nullptr, [] {
        SetAborter([](const char* message) { _exit(strcmp(message, "the end") == 0 ? 42 : 1); });
        LOG(FATAL) << "the end";
    });
    EXPECT_EQ(42, child.exitStatus);
}

TEST(CheckTest, AborterThatReturnsDoesNotLetTheProgramGoOn) {
    const ChildResult child = runChild(nullptr, [] {
        SetAborter([](const char*) {});
        LOG(FATAL) << "the end";
        _exit(1);
    });
    EXPECT_EQ(SIGABRT, child.signal);
}

TEST(LoggingTest, DroppedStatementEvaluatesNothing) {
    const ChildResult child = runChild(nullptr, [] {
        int calls = 0;
        LOG(DEBUG) << ++calls;
        PLOG(VERBOSE) << ++calls;
        LOG(INFO) << "kept " << calls;
    });
    EXPECT_THAT(child.text(), EndsWith("kept 0\n"));
    EXPECT_EQ(1u, child.writes.size());
}

TEST(LoggingTest, InitLoggingTakesTagFromProgramPath) {
    const ChildResult child = runChild(nullptr, [] {
        char path[] = "/vendor/bin/hw/some-service";
        char* arguments[] = {path, nullptr};
        InitLogging(arguments, LogdLogger(SYSTEM));
        LOG(ERROR) << "from libbase";
        __android_log_print(ANDROID_LOG_INFO, nullptr, "from liblog");
    });
    EXPECT_EQ(0, child.exitStatus);
    ASSERT_EQ(2u, child.writes.size());
    EXPECT_THAT(child.writes[0], EndsWith(" E some-service: from libbase\n"));
    EXPECT_THAT(child.writes[1], EndsWith(" I some-service: from liblog\n"));
}

TEST(LoggingTest, ErrnoIsShownByPlogAndKept) {
    const ChildResult child = runChild(nullptr, [] {
        errno = EACCES;
        PLOG(WARNING) << "opening";
        _exit(errno == EACCES ? 0 : 1);
    });
    EXPECT_EQ(0, child.exitStatus);
    EXPECT_THAT(child.text(), EndsWith(": opening: Permission denied\n"));
}

TEST(LoggingTest, LoggerIsReplacedWhileOthersLog) {
    const ChildResult child = runChild(nullptr, [] {
        const auto quiet = [](LogId, LogSeverity, const char*, const char*, unsigned int,
                              const char*) {};
        SetLogger(quiet);
        std::thread logging([] {
            for (int i = 0; i < 2000; ++i) LOG(INFO) << "entry " << i;
        });
        for (int i = 0; i < 100; ++i) SetLogger(quiet);
        logging.join();
    });
    EXPECT_EQ(0, child.exitStatus);
    EXPECT_THAT(child.writes, IsEmpty());
}

}  // namespace
