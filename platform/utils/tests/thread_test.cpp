// SPDX-License-Identifier: Apache-2.0
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utils/Thread.h>

#include <functional>
#include <future>
#include <string>

namespace {

using android::sp;
using android::status_t;
using android::Thread;
using android::wp;

constexpr auto kLimit = std::chrono::seconds(20);

// A thread whose work is given; tells when it is destroyed.
class TestThread : public Thread {
  public:
    explicit TestThread(std::function<bool(TestThread*)> work)
        : Thread(false), mWork(std::move(work)) {}
    ~TestThread() override { mDestroyed.set_value(pthread_self()); }

    std::future<pthread_t> destroyed() { return mDestroyed.get_future(); }
    using Thread::exitPending;

    status_t mReady = android::OK;

  private:
    status_t readyToRun() override { return mReady; }
    bool threadLoop() override { return mWork(this); }

    std::function<bool(TestThread*)> mWork;
    std::promise<pthread_t> mDestroyed;
};

TEST(ThreadTest, LoopRunsUntilItReturnsFalseAndMayRunAgain) {
    int calls = 0;
    const auto thread = sp<TestThread>::make([&](TestThread*) { return ++calls % 3 != 0; });
    for (int run = 1; run <= 2; ++run) {
        ASSERT_EQ(android::OK, thread->run("loop"));
        EXPECT_EQ(android::OK, thread->join());
        EXPECT_EQ(3 * run, calls);
        EXPECT_FALSE(thread->isRunning());
        EXPECT_EQ(-1, thread->getTid());
    }
}

TEST(ThreadTest, RunningThreadIsNotStartedTwiceAndEndsOnRequest) {
    std::promise<void> started;
    const auto thread = sp<TestThread>::make([&, first = true](TestThread*) mutable {
        if (first) started.set_value();
        first = false;
        return true;
    });
    ASSERT_EQ(android::OK, thread->run("forever"));
    EXPECT_EQ(android::INVALID_OPERATION, thread->run("again"));
    ASSERT_EQ(std::future_status::ready, started.get_future().wait_for(kLimit));
    EXPECT_TRUE(thread->isRunning());
    EXPECT_EQ(android::OK, thread->requestExitAndWait());
    EXPECT_FALSE(thread->isRunning());
    EXPECT_EQ(android::OK, thread->requestExitAndWait());
}

TEST(ThreadTest, NameIsCutAndTidIsTheKernels) {
    std::string name;
    pid_t tid = 0;
    pid_t told = 0;
    const auto thread = sp<TestThread>::make([&](TestThread* self) {
        char text[32] = {};
        pthread_getname_np(pthread_self(), text, sizeof(text));
        name = text;
        tid = gettid();
        told = self->getTid();
        return false;
    });
    ASSERT_EQ(android::OK, thread->run("0123456789abcdefgh"));
    ASSERT_EQ(android::OK, thread->join());
    EXPECT_EQ("0123456789abcde", name);
    EXPECT_EQ(tid, told);
}

TEST(ThreadTest, PriorityIsTheThreadsOwnAndMissingPrivilegeIsSilent) {
    for (const int wanted : {static_cast<int>(android::PRIORITY_BACKGROUND),
                             static_cast<int>(android::PRIORITY_HIGHEST)}) {
        const int before = getpriority(PRIO_PROCESS, 0);
        int inside = 99;
        const auto thread = sp<TestThread>::make([&](TestThread*) {
            inside = getpriority(PRIO_PROCESS, 0);
            return false;
        });
        ASSERT_EQ(android::OK, thread->run("nice", wanted));
        ASSERT_EQ(android::OK, thread->join());
        EXPECT_TRUE(inside == wanted || (wanted < 0 && inside == before)) << inside;
        EXPECT_EQ(before, getpriority(PRIO_PROCESS, 0));
    }
}

TEST(ThreadTest, WaitingForItselfWouldBlock) {
    status_t joined = android::OK;
    status_t exited = android::OK;
    const auto thread = sp<TestThread>::make([&](TestThread* self) {
        joined = self->join();
        exited = self->requestExitAndWait();
        return false;
    });
    ASSERT_EQ(android::OK, thread->run("self"));
    ASSERT_EQ(android::OK, thread->join());
    EXPECT_EQ(android::WOULD_BLOCK, joined);
    EXPECT_EQ(android::WOULD_BLOCK, exited);
}

TEST(ThreadTest, ThreadThatIsNotReadyNeverLoops) {
    bool looped = false;
    const auto thread = sp<TestThread>::make([&](TestThread*) { return looped = true; });
    thread->mReady = android::NO_INIT;
    ASSERT_EQ(android::OK, thread->run("unready"));
    EXPECT_EQ(android::NO_INIT, thread->join());
    EXPECT_FALSE(looped);
}

TEST(ThreadTest, RunningThreadKeepsItselfAndDestroysItselfAtTheEnd) {
    std::promise<void> proceed;
    auto proceedFuture = proceed.get_future();
    pthread_t own = {};
    auto thread = sp<TestThread>::make([&](TestThread*) {
        proceedFuture.wait();
        own = pthread_self();
        return false;
    });
    auto destroyed = thread->destroyed();
    const wp<TestThread> weak(thread);
    ASSERT_EQ(android::OK, thread->run("owner"));
    thread.clear();
    EXPECT_TRUE(static_cast<bool>(weak.promote()));
    proceed.set_value();
    ASSERT_EQ(std::future_status::ready, destroyed.wait_for(kLimit));
    EXPECT_NE(0, pthread_equal(own, destroyed.get()));
}

TEST(ThreadTest, EndlessLoopEndsWhenNobodyHoldsTheObject) {
    std::promise<void> started;
    auto thread = sp<TestThread>::make([&, first = true](TestThread*) mutable {
        if (first) started.set_value();
        first = false;
        return true;
    });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("orphan"));
    ASSERT_EQ(std::future_status::ready, started.get_future().wait_for(kLimit));
    thread.clear();
    EXPECT_EQ(std::future_status::ready, destroyed.wait_for(kLimit));
}

TEST(ThreadTest, StackThatCannotBeHadIsAnErrorAndThreadMayRunLater) {
    const auto thread = sp<TestThread>::make([](TestThread*) { return false; });
    EXPECT_EQ(android::UNKNOWN_ERROR, thread->run("huge", android::PRIORITY_DEFAULT, SIZE_MAX));
    EXPECT_FALSE(thread->isRunning());
    EXPECT_EQ(1, thread->getStrongCount());
    for (const size_t stack : {size_t{1}, size_t{100001}}) {
        ASSERT_EQ(android::OK, thread->run("small", android::PRIORITY_DEFAULT, stack));
        EXPECT_EQ(android::OK, thread->join());
    }
}

TEST(StatusTest, NamesAreThePlatformsAndOthersShowErrno) {
    EXPECT_EQ("OK", android::statusToString(android::OK));
    EXPECT_EQ("WOULD_BLOCK", android::statusToString(-EAGAIN));
    EXPECT_EQ("-5 (Input/output error)", android::statusToString(-EIO));
}

}  // namespace
