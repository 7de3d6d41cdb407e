// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utils/Looper.h>

namespace {

using android::Looper;
using android::sp;
using android::base::unique_fd;

constexpr int kLimitMs = 20000;

TEST(LooperTest, RepeatedRegistrationInEveryPassKeepsReporting) {
    const auto looper = sp<Looper>::make(true);
    unique_fd reader;
    unique_fd writer;
    ASSERT_TRUE(android::base::Pipe(&reader, &writer));
    int fd = -1;
    int events = -1;
    // A later registration replaces the earlier.
    for (const int ident : {0, 0, 0, 2, 2}) {
        ASSERT_EQ(1, looper->addFd(reader, ident, Looper::EVENT_INPUT, nullptr, nullptr));
        ASSERT_EQ(Looper::POLL_TIMEOUT, looper->pollOnce(ident, &fd, &events, nullptr));
        EXPECT_EQ(0, fd);
        EXPECT_EQ(0, events);
        char byte = 'x';
        ASSERT_EQ(1, write(writer, &byte, 1));
        ASSERT_EQ(ident, looper->pollOnce(kLimitMs, &fd, &events, nullptr));
        EXPECT_EQ(reader, fd);
        EXPECT_EQ(Looper::EVENT_INPUT, events);
        ASSERT_EQ(1, read(reader, &byte, 1));
    }
    writer.reset();
    ASSERT_EQ(2, looper->pollOnce(kLimitMs, &fd, &events, nullptr));
    EXPECT_EQ(Looper::EVENT_HANGUP, events);
}

}  // namespace
