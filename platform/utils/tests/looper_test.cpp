// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utils/Looper.h>

#include <chrono>
#include <functional>
#include <set>
#include <thread>
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
    // Closes both ends and makes a new pipe whose reading end has the same number.
    void reopen() {
        const int number = read.get();
        read.reset();
        write.reset();
        unique_fd other;
        EXPECT_TRUE(android::base::Pipe(&other, &write, O_CLOEXEC | O_NONBLOCK));
        if (other.get() != number) {
            EXPECT_EQ(number, dup3(other.get(), number, O_CLOEXEC));
        } else {
            (void)other.release();
        }
        read.reset(number);
    }
    unique_fd read;
    unique_fd write;
};

class CallbackObject : public android::LooperCallback {
  public:
    explicit CallbackObject(std::function<int(int, int)> body) : mBody(std::move(body)) {}
    int handleEvent(int fd, int events, void*) override { return mBody(fd, events); }

  private:
    std::function<int(int, int)> mBody;
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

TEST_F(LooperTest, ReadyDescriptorIsReportedWithEverythingRegistered) {
    const Pipe pipe;
    int mark;
    ASSERT_EQ(1, add(pipe.read.get(), 7, &mark));
    pipe.fill();
    EXPECT_EQ(7, poll(kLimitMs));
    EXPECT_EQ(pipe.read.get(), mFd);
    EXPECT_EQ(Looper::EVENT_INPUT, mEvents);
    EXPECT_EQ(&mark, mData);
}

TEST_F(LooperTest, TimeoutTellsNothing) {
    const Pipe pipe;
    ASSERT_EQ(1, add(pipe.read.get()));
    for (const int timeout : {0, 1, 15}) {
        EXPECT_EQ(Looper::POLL_TIMEOUT, poll(timeout));
        EXPECT_EQ(0, mFd);
        EXPECT_EQ(0, mEvents);
        EXPECT_EQ(nullptr, mData);
    }
}

TEST_F(LooperTest, LaterRegistrationReplacesTheEarlier) {
    const Pipe pipe;
    int mark;
    pipe.fill();
    ASSERT_EQ(1, add(pipe.read.get(), 1));
    EXPECT_EQ(1, poll(kLimitMs));
    ASSERT_EQ(1, add(pipe.read.get(), 2, &mark));
    EXPECT_EQ(2, poll(kLimitMs));
    EXPECT_EQ(&mark, mData);
    ASSERT_EQ(1, add(pipe.read.get(), 2, &mark, 0));
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
    ASSERT_EQ(1, mLooper->addFd(
                     pipe.read.get(), 0, Looper::EVENT_INPUT, [](int, int, void*) { return 1; },
                     nullptr));
    EXPECT_EQ(Looper::POLL_CALLBACK, poll(kLimitMs));
    EXPECT_EQ(0, mFd);
}

TEST_F(LooperTest, RepeatedRegistrationInEveryPassKeepsReporting) {
    const Pipe pipe;
    for (int pass = 0; pass < 100; ++pass) {
        ASSERT_EQ(1, add(pipe.read.get()));
        if (pass % 10 == 5) {
            ASSERT_EQ(Looper::POLL_TIMEOUT, poll(pass % 20 == 5 ? 0 : 12));
        }
        pipe.fill();
        ASSERT_EQ(0, poll(kLimitMs));
        ASSERT_EQ(pipe.read.get(), mFd);
        pipe.drain();
    }
}

TEST_F(LooperTest, NumberOfAClosedDescriptorWorksAgainAfterAddFd) {
    // Before the first poll, after one that reported it, after one that did not, and each of it
    // twice.
    for (int polled = 0; polled < 3; ++polled) {
        Pipe pipe;
        ASSERT_EQ(1, add(pipe.read.get()));
        for (int times = 0; times < 2; ++times) {
            if (polled == 1) {
                pipe.fill();
                ASSERT_EQ(0, poll(kLimitMs));
            } else if (polled == 2) {
                ASSERT_EQ(Looper::POLL_TIMEOUT, poll(0));
            }
            pipe.reopen();
            ASSERT_EQ(1, add(pipe.read.get()));
            pipe.fill();
            EXPECT_EQ(0, poll(kLimitMs)) << "polled " << polled << " times " << times;
            EXPECT_EQ(pipe.read.get(), mFd);
            pipe.drain();
        }
        EXPECT_EQ(1, mLooper->removeFd(pipe.read.get()));
    }
}

TEST_F(LooperTest, PollWithoutTimeNoticesAReopenedDescriptorToo) {
    Pipe pipe;
    ASSERT_EQ(1, add(pipe.read.get()));
    pipe.fill();
    ASSERT_EQ(0, poll(kLimitMs));
    pipe.reopen();
    pipe.fill();
    ASSERT_EQ(1, add(pipe.read.get()));
    EXPECT_EQ(0, poll(0));
}

TEST_F(LooperTest, ClosedFileKeptOpenElsewhereIsNotReportedForItsOldNumber) {
    Pipe pipe;
    ASSERT_EQ(1, add(pipe.read.get()));
    const unique_fd kept(dup(pipe.read.get()));
    const unique_fd keptWrite(dup(pipe.write.get()));
    pipe.reopen();
    ASSERT_EQ(1, add(pipe.read.get()));
    ASSERT_EQ(1, ::write(keptWrite.get(), "x", 1));
    // At most one wake-up for nothing, then silence.
    EXPECT_LT(poll(0), 0);
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
    pipe.fill();
    EXPECT_EQ(0, poll(kLimitMs));
}

TEST_F(LooperTest, RemovedDescriptorIsNotReported) {
    Pipe one;
    Pipe two;
    ASSERT_EQ(1, add(one.read.get(), 1));
    ASSERT_EQ(1, add(two.read.get(), 2));
    one.fill();
    two.fill();
    const int first = poll(kLimitMs);
    // The other one was seen ready by the same wait, and is removed before it is asked for.
    const int other = first == 1 ? two.read.get() : one.read.get();
    EXPECT_EQ(1, mLooper->removeFd(other));
    EXPECT_EQ(0, mLooper->removeFd(other));
    EXPECT_EQ(first, poll(kLimitMs));
}

TEST_F(LooperTest, AllReadyDescriptorsComeOneByOne) {
    std::vector<Pipe> pipes(40);
    std::set<int> expected;
    for (size_t i = 0; i < pipes.size(); ++i) {
        ASSERT_EQ(1, add(pipes[i].read.get(), static_cast<int>(i)));
        pipes[i].fill();
        expected.insert(static_cast<int>(i));
    }
    std::set<int> seen;
    while (seen.size() < pipes.size()) {
        const int ident = poll(kLimitMs);
        ASSERT_GE(ident, 0);
        EXPECT_TRUE(seen.insert(ident).second) << ident;
        pipes[static_cast<size_t>(ident)].drain();
    }
    EXPECT_EQ(expected, seen);
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
}

TEST_F(LooperTest, WakeEndsOnePollFromAnyThread) {
    std::thread waker([looper = mLooper] { looper->wake(); });
    EXPECT_EQ(Looper::POLL_WAKE, poll(kLimitMs));
    waker.join();
    mLooper->wake();
    mLooper->wake();
    EXPECT_EQ(Looper::POLL_WAKE, poll(kLimitMs));
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
}

TEST_F(LooperTest, DescriptorAddedDuringAPollIsSeenByIt) {
    Pipe pipe;
    std::thread adder([&] {
        while (!mLooper->isPolling()) std::this_thread::yield();
        EXPECT_EQ(1, add(pipe.read.get(), 3));
        pipe.fill();
    });
    EXPECT_EQ(3, poll(kLimitMs));
    adder.join();
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

TEST_F(LooperTest, CallbackObjectStaysUntilItReturnsZero) {
    const Pipe pipe;
    int calls = 0;
    auto callback = sp<CallbackObject>::make([&](int fd, int events) {
        EXPECT_EQ(pipe.read.get(), fd);
        EXPECT_EQ(Looper::EVENT_INPUT, events);
        return ++calls < 3 ? 1 : 0;
    });
    ASSERT_EQ(1, mLooper->addFd(pipe.read.get(), 0, Looper::EVENT_INPUT, callback, nullptr));
    pipe.fill();
    EXPECT_EQ(Looper::POLL_TIMEOUT, mLooper->pollAll(50));
    EXPECT_EQ(3, calls);
    EXPECT_EQ(1, callback->getStrongCount()) << "the looper let go of it";
}

TEST_F(LooperTest, CallbackMayRemoveItselfAndOthers) {
    const Pipe one;
    const Pipe two;
    int calls = 0;
    for (const Pipe* pipe : {&one, &two}) {
        const int other = pipe == &one ? two.read.get() : one.read.get();
        const auto callback = sp<CallbackObject>::make([&, other](int fd, int) {
            ++calls;
            mLooper->removeFd(fd);
            mLooper->removeFd(other);
            return 1;
        });
        ASSERT_EQ(1, mLooper->addFd(pipe->read.get(), 0, Looper::EVENT_INPUT, callback, nullptr));
        pipe->fill();
    }
    EXPECT_EQ(Looper::POLL_CALLBACK, poll(kLimitMs));
    EXPECT_EQ(1, calls);
    EXPECT_EQ(Looper::POLL_TIMEOUT, poll(0));
}

TEST_F(LooperTest, RegistrationsThatCannotWorkAreRefused) {
    const Pipe pipe;
    EXPECT_EQ(-1, add(-1));
    EXPECT_EQ(-1, add(pipe.read.get(), -1));
    EXPECT_EQ(-1, add(1000000));
    const sp<Looper> strict = sp<Looper>::make(false);
    EXPECT_EQ(-1, strict->addFd(pipe.read.get(), 0, Looper::EVENT_INPUT, nullptr, nullptr));
    EXPECT_EQ(0, mLooper->removeFd(pipe.read.get()));
}

TEST(LooperThreadTest, EachThreadHasItsOwnLooper) {
    const sp<Looper> mine = Looper::prepare(Looper::PREPARE_ALLOW_NON_CALLBACKS);
    EXPECT_TRUE(mine == Looper::getForThread());
    EXPECT_TRUE(mine == Looper::prepare(Looper::PREPARE_ALLOW_NON_CALLBACKS));
    EXPECT_TRUE(mine->getAllowNonCallbacks());
    std::thread([] { EXPECT_EQ(nullptr, Looper::getForThread().get()); }).join();
    Looper::setForThread(nullptr);
    EXPECT_EQ(1, mine->getStrongCount());
}

}  // namespace
