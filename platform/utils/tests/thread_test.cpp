// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <utils/Thread.h>

#include <functional>
#include <future>
#include <string>

namespace {

using android::sp;
using android::status_t;
using android::Thread;

constexpr auto kLimit = std::chrono::seconds(20);

// A thread whose work is given; tells when its loop has begun and when it is destroyed.
class TestThread : public Thread {
  public:
    explicit TestThread(std::function<bool(TestThread*)> work)
        : Thread(false), mWork(std::move(work)) {}
    ~TestThread() override { mDestroyed.set_value(pthread_self()); }

    void awaitLoop() {
        ASSERT_EQ(std::future_status::ready, mStarted.get_future().wait_for(kLimit));
    }
    std::future<pthread_t> destroyed() { return mDestroyed.get_future(); }

    status_t mReady = android::OK;
    int mCalls = 0;

  private:
    status_t readyToRun() override { return mReady; }
    bool threadLoop() override {
        if (++mCalls == 1) mStarted.set_value();
        return mWork(this);
    }

    std::function<bool(TestThread*)> mWork;
    std::promise<void> mStarted;
    std::promise<pthread_t> mDestroyed;
};

TEST(ThreadTest, LoopRunsUntilItReturnsFalseAndMayRunAgain) {
    const auto thread =
        sp<TestThread>::make([](TestThread* self) { return self->mCalls % 3 != 0; });
    for (int run = 1; run <= 2; ++run) {
        ASSERT_EQ(android::OK, thread->run("loop"));
        EXPECT_EQ(android::OK, thread->join());
        EXPECT_EQ(3 * run, thread->mCalls);
        EXPECT_FALSE(thread->isRunning());
    }
}

TEST(ThreadTest, RunningThreadIsNotStartedTwiceAndEndsOnRequest) {
    const auto thread = sp<TestThread>::make([](TestThread*) { return true; });
    ASSERT_EQ(android::OK, thread->run("forever"));
    EXPECT_EQ(android::INVALID_OPERATION, thread->run("again"));
    thread->awaitLoop();
    EXPECT_TRUE(thread->isRunning());
    EXPECT_EQ(android::OK, thread->requestExitAndWait());
    EXPECT_FALSE(thread->isRunning());
}

TEST(ThreadTest, NameAndPriorityAreTheThreadsOwnAndWaitingForItselfWouldBlock) {
    const int before = getpriority(PRIO_PROCESS, 0);
    for (const int wanted : {static_cast<int>(android::PRIORITY_BACKGROUND),
                             static_cast<int>(android::PRIORITY_HIGHEST)}) {
        char name[32] = {};
        int inside = 99;
        status_t joined = android::OK;
        const auto thread = sp<TestThread>::make([&](TestThread* self) {
            pthread_getname_np(pthread_self(), name, sizeof(name));
            inside = getpriority(PRIO_PROCESS, 0);
            joined = self->join();
            return false;
        });
        ASSERT_EQ(android::OK, thread->run("0123456789abcdefgh", wanted));
        ASSERT_EQ(android::OK, thread->join());
        EXPECT_STREQ("0123456789abcde", name);
        // Missing privilege is silent.
        EXPECT_TRUE(inside == wanted || (wanted < 0 && inside == before)) << inside;
        EXPECT_EQ(before, getpriority(PRIO_PROCESS, 0));
        EXPECT_EQ(android::WOULD_BLOCK, joined);
    }
}

TEST(ThreadTest, ThreadThatIsNotReadyNeverLoops) {
    const auto thread = sp<TestThread>::make([](TestThread*) { return true; });
    thread->mReady = android::NO_INIT;
    ASSERT_EQ(android::OK, thread->run("unready"));
    EXPECT_EQ(android::NO_INIT, thread->join());
    EXPECT_EQ(0, thread->mCalls);
}

TEST(ThreadTest, RunningThreadKeepsItselfAndDestroysItselfAtTheEnd) {
    std::promise<void> proceed;
    pthread_t own = {};
    auto thread = sp<TestThread>::make([&](TestThread*) {
        proceed.get_future().wait();
        own = pthread_self();
        return false;
    });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("owner"));
    thread.clear();
    proceed.set_value();
    ASSERT_EQ(std::future_status::ready, destroyed.wait_for(kLimit));
    EXPECT_NE(0, pthread_equal(own, destroyed.get()));
}

TEST(ThreadTest, EndlessLoopEndsWhenNobodyHoldsTheObject) {
    auto thread = sp<TestThread>::make([](TestThread*) { return true; });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("orphan"));
    thread->awaitLoop();
    thread.clear();
    EXPECT_EQ(std::future_status::ready, destroyed.wait_for(kLimit));
}

TEST(ThreadTest, StackThatCannotBeHadIsAnErrorAndThreadMayRunLater) {
    const auto thread = sp<TestThread>::make([](TestThread*) { return false; });
    EXPECT_EQ(android::UNKNOWN_ERROR, thread->run("huge", android::PRIORITY_DEFAULT, SIZE_MAX));
    EXPECT_FALSE(thread->isRunning());
    EXPECT_EQ(1, thread->getStrongCount());
    ASSERT_EQ(android::OK, thread->run("small", android::PRIORITY_DEFAULT, 1));
    EXPECT_EQ(android::OK, thread->join());
}

}  // namespace
