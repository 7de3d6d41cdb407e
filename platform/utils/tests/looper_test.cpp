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

struct Pipe {
    Pipe() { EXPECT_TRUE(android::base::Pipe(&read, &write, O_CLOEXEC | O_NONBLOCK)); }
    void fill() const { EXPECT_EQ(1, ::write(write.get(), "x", 1)); }
    void drain() const {
        char byte;
        EXPECT_EQ(1, ::read(read.get(), &byte, 1));
    }
    unique_fd read;
    unique_fd write;
};

class LooperTest : public testing::Test {
  protected:
    int poll(int timeoutMs) { return mLooper->pollOnce(timeoutMs, &mFd, &mEvents, nullptr); }
    int add(int fd, int ident = 0) {
        return mLooper->addFd(fd, ident, Looper::EVENT_INPUT, nullptr, nullptr);
    }

    sp<Looper> mLooper = sp<Looper>::make(true);
    int mFd = -1;
    int mEvents = -1;
};

TEST_F(LooperTest, RepeatedRegistrationInEveryPassKeepsReporting) {
    const Pipe pipe;
    for (int pass = 0; pass < 10; ++pass) {
        ASSERT_EQ(1, add(pipe.read.get()));
        ASSERT_EQ(Looper::POLL_TIMEOUT, poll(pass % 2));
        EXPECT_EQ(0, mFd);
        EXPECT_EQ(0, mEvents);
        pipe.fill();
        ASSERT_EQ(0, poll(kLimitMs));
        ASSERT_EQ(pipe.read.get(), mFd);
        pipe.drain();
    }
    // A later registration replaces the earlier.
    ASSERT_EQ(1, add(pipe.read.get(), 2));
    pipe.fill();
    EXPECT_EQ(2, poll(kLimitMs));
    EXPECT_EQ(Looper::EVENT_INPUT, mEvents);
}

TEST_F(LooperTest, RegistrationsThatCannotWorkAreRefused) {
    const Pipe pipe;
    EXPECT_EQ(-1, add(-1));
    EXPECT_EQ(-1, add(pipe.read.get(), -1));
    const auto callback = [](int, int, void*) { return 1; };
    EXPECT_EQ(-1, mLooper->addFd(pipe.read.get(), 0, Looper::EVENT_INPUT, callback, nullptr));
}

}  // namespace
