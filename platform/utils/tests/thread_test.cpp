// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <utils/Thread.h>

#include <atomic>
#include <functional>
#include <future>

namespace {

using android::sp;
using android::Thread;

// A thread whose loop is given. Tells which thread destroys it.
class TestThread : public Thread {
  public:
    explicit TestThread(std::function<bool()> loop) : Thread(false), mLoop(std::move(loop)) {}
    ~TestThread() override { mDestroyed.set_value(pthread_self()); }
    std::future<pthread_t> destroyed() { return mDestroyed.get_future(); }

  private:
    bool threadLoop() override { return mLoop(); }

    const std::function<bool()> mLoop;
    std::promise<pthread_t> mDestroyed;
};

TEST(ThreadTest, LoopRunsUntilItReturnsFalseAndMayRunAgain) {
    std::promise<void> proceed;
    std::atomic<int> calls{0};
    auto thread = sp<TestThread>::make([&] {
        if (calls == 0) proceed.get_future().wait();
        return ++calls % 3 != 0;
    });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("loop"));
    EXPECT_EQ(android::INVALID_OPERATION, thread->run("again"));
    proceed.set_value();
    while (thread->run("again") == android::INVALID_OPERATION) sched_yield();
    thread.clear();
    destroyed.wait();
    EXPECT_EQ(6, calls);
}

TEST(ThreadTest, RunningThreadKeepsItselfWithNameAndPriorityOfItsOwn) {
    const int before = getpriority(PRIO_PROCESS, 0);
    std::promise<void> proceed;
    char name[32] = {};
    int inside = 99;
    pthread_t own = {};
    auto thread = sp<TestThread>::make([&] {
        proceed.get_future().wait();
        pthread_getname_np(pthread_self(), name, sizeof(name));
        inside = getpriority(PRIO_PROCESS, 0);
        own = pthread_self();
        return false;
    });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("0123456789abcdefgh", android::PRIORITY_LOWEST));
    thread.clear();
    proceed.set_value();
    const pthread_t last = destroyed.get();
    EXPECT_NE(0, pthread_equal(own, last));
    EXPECT_STREQ("0123456789abcde", name);
    EXPECT_EQ(android::PRIORITY_LOWEST, inside);
    EXPECT_EQ(before, getpriority(PRIO_PROCESS, 0));
}

}  // namespace
