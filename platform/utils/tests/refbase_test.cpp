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

TEST(RefBaseTest, ObjectGoesWithItsLastReferenceAndOnceAnAssignmentIsComplete) {
    sp<Watched> holder;
    const Watched* seen = nullptr;
    int deleted = 0;
    // The destructor comes back to the pointer that is being assigned.
    holder = sp<Watched>::make([&] {
        seen = holder.get();
        ++deleted;
    });
    {
        const sp<RefBase> other = holder;
        const sp<Watched> moved = std::move(holder);
        holder = moved.get();
        holder = holder.get();
    }
    EXPECT_EQ(0, deleted);
    const sp<Watched> next = sp<Watched>::make([] {});
    holder = next;
    EXPECT_EQ(next.get(), seen);
    EXPECT_EQ(1, deleted);
}

}  // namespace
