// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <pthread.h>
#include <utils/Thread.h>

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

TEST(ThreadTest, RunningThreadKeepsItselfUntilItsLoopReturnsFalse) {
    std::promise<void> proceed;
    int calls = 0;
    pthread_t own = {};
    auto thread = sp<TestThread>::make([&] {
        if (calls == 0) proceed.get_future().wait();
        own = pthread_self();
        return ++calls < 3;
    });
    auto destroyed = thread->destroyed();
    ASSERT_EQ(android::OK, thread->run("loop"));
    EXPECT_EQ(android::INVALID_OPERATION, thread->run("again"));
    thread.clear();
    proceed.set_value();
    const pthread_t last = destroyed.get();
    EXPECT_NE(0, pthread_equal(own, last));
    EXPECT_EQ(3, calls);
}

}  // namespace
