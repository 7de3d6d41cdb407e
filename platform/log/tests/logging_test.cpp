// SPDX-License-Identifier: Apache-2.0
#include <android-base/logging.h>
#include <android/log.h>
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "child.h"

namespace {

using namespace android::base;
using testing::ElementsAre;
using testing::EndsWith;

enum Unscoped { EX_FIRST = 0 };

TEST(LoggingTest, FatalEntryShowsItsPlaceAndAbortsAlsoWhenSilenced) {
    const struct {
        std::function<void()> fail;
        const char* shown;
    } kCases[] = {
        {[] { CHECK_EQ(-3, EX_FIRST); }, "Check failed: -3 == EX_FIRST (-3=-3, EX_FIRST=0) \n"},
        {[] { CHECK_EQ(1, 2) << "more " << 3; }, "Check failed: 1 == 2 (1=1, 2=2) more 3\n"},
        {[] { CHECK(1 > 2) << "why"; }, "Check failed: 1 > 2 why\n"},
        {[] {
             errno = ENOENT;
             PCHECK(false) << "x";
         },
         "Check failed: false x: No such file or directory\n"},
        {[] { LOG(FATAL) << "over"; }, "over\n"},
    };
    for (const auto& item : kCases) {
        const ChildResult child = runChild("*:S", item.fail);
        EXPECT_EQ(SIGABRT, child.signal) << item.shown;
        EXPECT_THAT(child.text(),
                    testing::MatchesRegex(".* F [^ ]*: logging_test.cpp:[0-9]+\\] .*\n"));
        EXPECT_THAT(child.text(), EndsWith(std::string("] ") + item.shown));
    }
}

TEST(LoggingTest, StatementsEvaluateNothingMoreThanTheyShow) {
    const ChildResult child = runChild(nullptr, [] {
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
        _exit(errno == EACCES ? 0 : 4);
    });
    EXPECT_EQ(0, child.exitStatus);
    EXPECT_THAT(child.writes, ElementsAre(EndsWith(": 2: Permission denied\n")));
}

TEST(LoggingTest, InitLoggingSetsTagLoggerAndAborter) {
    const ChildResult child = runChild(nullptr, [] {
        char path[] = "/vendor/bin/hw/some-service";
        char* arguments[] = {path, nullptr};
        InitLogging(arguments, LogdLogger(SYSTEM),
                    [](const char* message) { dprintf(STDERR_FILENO, "aborter: %s", message); });
        LOG(ERROR) << "from libbase";
        __android_log_print(ANDROID_LOG_INFO, nullptr, "from liblog");
        LOG(FATAL) << "the end";
        _exit(1);
    });
    EXPECT_THAT(child.writes, ElementsAre(EndsWith(" E some-service: from libbase\n"),
                                          EndsWith(" I some-service: from liblog\n"),
                                          EndsWith("] the end\n"), "aborter: the end"));
    // An aborter that returns does not let the program go on.
    EXPECT_EQ(SIGABRT, child.signal);
}

}  // namespace
