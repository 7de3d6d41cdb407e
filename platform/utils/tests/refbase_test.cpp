// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <utils/RefBase.h>

#include <functional>
#include <utility>

namespace {

using android::RefBase;
using android::sp;

struct Watched : public virtual RefBase {
    explicit Watched(std::function<void()> atEnd) : mAtEnd(std::move(atEnd)) {}
    ~Watched() override { mAtEnd(); }
    const std::function<void()> mAtEnd;
};

TEST(RefBaseTest, ObjectGoesWithItsLastStrongReference) {
    int deleted = 0;
    const auto count = [&] { ++deleted; };
    {
        sp<Watched> one = sp<Watched>::make(count);
        const sp<RefBase> two = one;
        sp<Watched> three = std::move(one);
        EXPECT_EQ(nullptr, one.get());  // NOLINT(bugprone-use-after-move): that is the point
        three = three.get();
        EXPECT_TRUE(two == three);
        three.clear();
        EXPECT_EQ(0, deleted);
    }
    EXPECT_EQ(1, deleted);
    { const Watched local(count); }
    EXPECT_EQ(2, deleted);
}

// The destructor of the former object comes back to the pointer that is being assigned.
TEST(RefBaseTest, AssignmentIsCompleteBeforeFormerObjectGoes) {
    sp<Watched> holder;
    const Watched* seen = nullptr;
    holder = sp<Watched>::make([&] { seen = holder.get(); });
    const sp<Watched> next = sp<Watched>::make([] {});
    holder = next;
    EXPECT_EQ(next.get(), seen);
}

}  // namespace
