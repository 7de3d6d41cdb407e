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
    int lastWeak = 0;
};

class Watched : public virtual RefBase {
  public:
    explicit Watched(Events* events, bool livesWeakly = false) : mEvents(events) {
        if (livesWeakly) extendObjectLifetime(OBJECT_LIFETIME_WEAK);
    }
    ~Watched() override { ++mEvents->deleted; }
    void onFirstRef() override { ++mEvents->first; }
    void onLastStrongRef(const void*) override { ++mEvents->last; }
    void onLastWeakRef(const void*) override { ++mEvents->lastWeak; }

  private:
    Events* const mEvents;
};

class Derived : public Watched {
  public:
    using Watched::Watched;
};

TEST(RefBaseTest, ObjectGoesWithItsLastStrongReference) {
    Events events;
    {
        sp<Watched> one = sp<Derived>::make(&events);
        sp<Watched> two = one;
        EXPECT_EQ(2, one->getStrongCount());
        sp<Watched> three = std::move(one);
        EXPECT_EQ(nullptr, one.get());  // NOLINT(bugprone-use-after-move): that is the point
        two.clear();
        three = three.get();
        EXPECT_EQ(1, three->getStrongCount());
        EXPECT_EQ(1, events.first);
        EXPECT_EQ(0, events.last);
        EXPECT_TRUE(three == sp<Watched>::fromExisting(three.get()));
    }
    EXPECT_EQ(1, events.first);
    EXPECT_EQ(1, events.last);
    EXPECT_EQ(1, events.deleted);
}

TEST(RefBaseTest, WeakPointerPromotesOnlyWhileObjectLives) {
    Events events;
    sp<Watched> strong = sp<Watched>::make(&events);
    const wp<Watched> weak(strong);
    wp<Watched> copy(weak);
    EXPECT_TRUE(copy == weak);
    EXPECT_TRUE(static_cast<bool>(weak.promote()));
    strong.clear();
    EXPECT_EQ(1, events.deleted);
    EXPECT_FALSE(static_cast<bool>(weak.promote()));
    copy.clear();
    EXPECT_FALSE(static_cast<bool>(weak.promote()));
    EXPECT_FALSE(static_cast<bool>(wp<Watched>().promote()));
}

TEST(RefBaseTest, ObjectWithoutReferencesBelongsToItsMaker) {
    Events events;
    { Watched local(&events); }
    EXPECT_EQ(1, events.deleted);
    {
        Watched local(&events);
        wp<Watched> weak(&local);
    }
    EXPECT_EQ(2, events.deleted);
    EXPECT_EQ(0, events.first);
}

TEST(RefBaseTest, FirstReferenceMayComeFromAWeakPointer) {
    Events events;
    auto* object = new Watched(&events);
    wp<Watched> weak(object);
    sp<Watched> strong = weak.promote();
    EXPECT_EQ(object, strong.get());
    EXPECT_EQ(1, events.first);
    strong.clear();
    EXPECT_EQ(1, events.deleted);
}

TEST(RefBaseTest, WeakLifetimeKeepsObjectUntilTheLastWeakReference) {
    Events events;
    sp<Watched> strong = sp<Watched>::make(&events, true);
    wp<Watched> weak(strong);
    strong.clear();
    EXPECT_EQ(1, events.last);
    EXPECT_EQ(0, events.deleted);
    strong = weak.promote();
    EXPECT_TRUE(static_cast<bool>(strong));
    weak.clear();
    EXPECT_EQ(0, events.deleted);
    strong.clear();
    EXPECT_EQ(1, events.lastWeak);
    EXPECT_EQ(1, events.deleted);
}

// The destructor of the former object comes back to the pointer that is being assigned.
TEST(RefBaseTest, AssignmentIsCompleteBeforeFormerObjectGoes) {
    struct Nosy : public RefBase {
        explicit Nosy(sp<RefBase>* holder, const RefBase** seen) : mHolder(holder), mSeen(seen) {}
        ~Nosy() override { *mSeen = mHolder->get(); }
        sp<RefBase>* mHolder;
        const RefBase** mSeen;
    };
    struct Plain : public RefBase {};
    const RefBase* seen = nullptr;
    sp<RefBase> holder;
    holder = sp<Nosy>::make(&holder, &seen);
    const sp<Plain> next = sp<Plain>::make();
    holder = next;
    EXPECT_EQ(next.get(), seen);
}

TEST(RefBaseTest, ThreadsShareAndRaceToTheEnd) {
    for (int round = 0; round < 50; ++round) {
        Events events;
        sp<Watched> strong = sp<Watched>::make(&events);
        const wp<Watched> weak(strong);
        std::atomic<int> alive{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&alive, weak, mine = strong]() mutable {
                for (int j = 0; j < 200; ++j) {
                    sp<Watched> copy = mine;
                    if (weak.promote()) ++alive;
                }
                mine.clear();
                // Now the object may go at any moment, but not under a promoted pointer.
                const sp<Watched> late = weak.promote();
                if (late) {
                    EXPECT_GT(late->getStrongCount(), 0);
                }
            });
        }
        strong.clear();
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(4 * 200, alive.load());
        EXPECT_EQ(1, events.deleted);
        EXPECT_EQ(1, events.first);
    }
}

}  // namespace
