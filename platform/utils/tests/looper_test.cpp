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

class LooperTest : public testing::Test {
  protected:
    LooperTest() { EXPECT_TRUE(android::base::Pipe(&mRead, &mWrite)); }
    int poll(int timeoutMs) { return mLooper->pollOnce(timeoutMs, &mFd, &mEvents, nullptr); }
    int add(int fd, int ident) {
        return mLooper->addFd(fd, ident, Looper::EVENT_INPUT, nullptr, nullptr);
    }

    const sp<Looper> mLooper = sp<Looper>::make(true);
    unique_fd mRead;
    unique_fd mWrite;
    int mFd = -1;
    int mEvents = -1;
};

TEST_F(LooperTest, RepeatedRegistrationInEveryPassKeepsReporting) {
    // A later registration replaces the earlier.
    for (const int ident : {0, 0, 0, 2, 2}) {
        ASSERT_EQ(1, add(mRead, ident));
        ASSERT_EQ(Looper::POLL_TIMEOUT, poll(ident));
        EXPECT_EQ(0, mFd);
        EXPECT_EQ(0, mEvents);
        char byte = 'x';
        ASSERT_EQ(1, write(mWrite, &byte, 1));
        ASSERT_EQ(ident, poll(kLimitMs));
        EXPECT_EQ(mRead, mFd);
        EXPECT_EQ(Looper::EVENT_INPUT, mEvents);
        ASSERT_EQ(1, read(mRead, &byte, 1));
    }
    mWrite.reset();
    ASSERT_EQ(2, poll(kLimitMs));
    EXPECT_EQ(Looper::EVENT_HANGUP, mEvents);
}

TEST_F(LooperTest, RegistrationsThatCannotWorkAreRefused) {
    EXPECT_EQ(-1, add(-1, 0));
    EXPECT_EQ(-1, add(mRead, -1));
    const auto callback = [](int, int, void*) { return 1; };
    EXPECT_EQ(-1, mLooper->addFd(mRead, 0, Looper::EVENT_INPUT, callback, nullptr));
}

}  // namespace
