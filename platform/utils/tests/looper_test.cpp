// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utils/Looper.h>

#include <set>
#include <vector>

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
    int poll(int timeoutMs) { return mLooper->pollOnce(timeoutMs, &mFd, &mEvents, &mData); }
    int add(int fd, int ident = 0, void* data = nullptr, int events = Looper::EVENT_INPUT) {
        return mLooper->addFd(fd, ident, events, nullptr, data);
    }

    sp<Looper> mLooper = sp<Looper>::make(true);
    int mFd = -1;
    int mEvents = -1;
    void* mData = this;
};

TEST_F(LooperTest, LaterRegistrationReplacesTheEarlier) {
    const Pipe pipe;
    int mark;
    pipe.fill();
    ASSERT_EQ(1, add(pipe.read.get(), 1));
    EXPECT_EQ(1, poll(kLimitMs));
    ASSERT_EQ(1, add(pipe.read.get(), 2, &mark));
    EXPECT_EQ(2, poll(kLimitMs));
    EXPECT_EQ(pipe.read.get(), mFd);
    EXPECT_EQ(Looper::EVENT_INPUT, mEvents);
    EXPECT_EQ(&mark, mData);
    ASSERT_EQ(1, add(pipe.read.get(), 2, &mark, 0));
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
    EXPECT_EQ(0, mFd);
    EXPECT_EQ(0, mEvents);
    EXPECT_EQ(nullptr, mData);
}

TEST_F(LooperTest, RepeatedRegistrationInEveryPassKeepsReporting) {
    const Pipe pipe;
    for (int pass = 0; pass < 100; ++pass) {
        ASSERT_EQ(1, add(pipe.read.get()));
        if (pass % 10 == 5) {
            ASSERT_EQ(Looper::POLL_TIMEOUT, poll(pass % 20 == 5 ? 0 : 2));
        }
        pipe.fill();
        ASSERT_EQ(0, poll(kLimitMs));
        ASSERT_EQ(pipe.read.get(), mFd);
        pipe.drain();
    }
}

TEST_F(LooperTest, RemovedDescriptorsNumberServesAgain) {
    const Pipe pipe;
    const Pipe other;
    const int number = pipe.read.get();
    ASSERT_EQ(1, add(number));
    EXPECT_EQ(1, mLooper->removeFd(number));
    EXPECT_EQ(0, mLooper->removeFd(number));
    ASSERT_EQ(number, dup3(other.read.get(), number, O_CLOEXEC));
    ASSERT_EQ(1, add(number, 3));
    other.fill();
    EXPECT_EQ(3, poll(kLimitMs));
}

TEST_F(LooperTest, AllReadyDescriptorsComeInTurn) {
    std::vector<Pipe> pipes(40);
    for (size_t i = 0; i < pipes.size(); ++i) {
        ASSERT_EQ(1, add(pipes[i].read.get(), static_cast<int>(i)));
        pipes[i].fill();
    }
    std::set<int> seen;
    for (size_t i = 0; i < pipes.size(); ++i) seen.insert(poll(kLimitMs));
    EXPECT_EQ(pipes.size(), seen.size());
    EXPECT_EQ(0, *seen.begin());
}

TEST_F(LooperTest, HangUpIsReportedUnasked) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, ends));
    ASSERT_EQ(1, add(ends[0]));
    close(ends[1]);
    EXPECT_EQ(0, poll(kLimitMs));
    EXPECT_EQ(Looper::EVENT_INPUT | Looper::EVENT_HANGUP, mEvents);
    close(ends[0]);
}

TEST_F(LooperTest, RegistrationsThatCannotWorkAreRefused) {
    const Pipe pipe;
    EXPECT_EQ(-1, add(-1));
    EXPECT_EQ(-1, add(pipe.read.get(), -1));
    EXPECT_EQ(-1, add(1000000));
    EXPECT_EQ(-1, mLooper->addFd(
                      pipe.read.get(), 0, Looper::EVENT_INPUT, [](int, int, void*) { return 1; },
                      nullptr));
    const sp<Looper> strict = sp<Looper>::make(false);
    EXPECT_EQ(-1, strict->addFd(pipe.read.get(), 0, Looper::EVENT_INPUT, nullptr, nullptr));
}

}  // namespace
