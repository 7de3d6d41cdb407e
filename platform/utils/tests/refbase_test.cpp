// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <utils/RefBase.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace {

using android::RefBase;
using android::sp;
using android::wp;

struct Events {
    int first = 0;
    int last = 0;
    int deleted = 0;
};

class Watched : public virtual RefBase {
  public:
    explicit Watched(Events* events) : mEvents(events) {}
    ~Watched() override { ++mEvents->deleted; }
    void onFirstRef() override { ++mEvents->first; }
    void onLastStrongRef(const void*) override { ++mEvents->last; }

  private:
    Events* const mEvents;
};

TEST(RefBaseTest, ObjectGoesWithItsLastStrongReference) {
    Events events;
    {
        sp<Watched> one = sp<Watched>::make(&events);
        sp<Watched> two = one;
        sp<Watched> three = std::move(one);
        EXPECT_EQ(nullptr, one.get());  // NOLINT(bugprone-use-after-move): that is the point
        two.clear();
        three = three.get();
        EXPECT_EQ(1, three->getStrongCount());
        EXPECT_EQ(1, events.first);
        EXPECT_EQ(0, events.last);
    }
    EXPECT_EQ(1, events.last);
    EXPECT_EQ(1, events.deleted);
}

TEST(RefBaseTest, WeakPointerPromotesOnlyWhileObjectLives) {
    Events events;
    wp<Watched> weak(new Watched(&events));
    const wp<Watched> copy(weak);
    // The first reference may come from a weak pointer.
    sp<Watched> strong = weak.promote();
    EXPECT_EQ(1, strong->getStrongCount());
    EXPECT_EQ(1, events.first);
    strong.clear();
    EXPECT_EQ(1, events.deleted);
    weak.clear();
    EXPECT_FALSE(static_cast<bool>(weak.promote()));
    EXPECT_FALSE(static_cast<bool>(copy.promote()));
}

TEST(RefBaseTest, ObjectWithoutReferencesBelongsToItsMaker) {
    Events events;
    {
        Watched local(&events);
        const wp<Watched> weak(&local);
    }
    EXPECT_EQ(1, events.deleted);
    EXPECT_EQ(0, events.first);
}

// The destructor of the former object comes back to the pointer that is being assigned.
TEST(RefBaseTest, AssignmentIsCompleteBeforeFormerObjectGoes) {
    struct Nosy : public RefBase {
        Nosy(sp<RefBase>* holder, const RefBase** seen) : mHolder(holder), mSeen(seen) {}
        ~Nosy() override { *mSeen = mHolder->get(); }
        sp<RefBase>* mHolder;
        const RefBase** mSeen;
    };
    Events events;
    const RefBase* seen = nullptr;
    sp<RefBase> holder;
    holder = sp<Nosy>::make(&holder, &seen);
    const sp<RefBase> next = sp<Watched>::make(&events);
    holder = next;
    EXPECT_EQ(next.get(), seen);
}

TEST(RefBaseTest, ThreadsShareAndRaceToTheEnd) {
    for (int round = 0; round < 50; ++round) {
        Events events;
        sp<Watched> strong = sp<Watched>::make(&events);
        const wp<Watched> weak(strong);
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([weak, mine = strong]() mutable {
                for (int j = 0; j < 200; ++j) {
                    const sp<Watched> copy = mine;
                    EXPECT_EQ(copy, weak.promote());
                }
                mine.clear();
                // Now the object may go at any moment, but not under a promoted pointer.
                const sp<Watched> late = weak.promote();
                EXPECT_TRUE(!late || late->getStrongCount() > 0);
            });
        }
        strong.clear();
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(1, events.deleted);
        EXPECT_EQ(1, events.first);
    }
}

}  // namespace
