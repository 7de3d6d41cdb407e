// SPDX-License-Identifier: Apache-2.0
#include "platform_form.h"

#include <gtest/gtest.h>

namespace aidl::test::form {
namespace {

TEST(PlatformFormTest, ObjectAndRecordWork) {
    const auto store = ndk::SharedRefBase::make<BnStore>();
    const ndk::SpAIBinder binder = store->asBinder();
    EXPECT_STREQ(AIBinder_Class_getDescriptor(AIBinder_getClass(binder.get())), "test.form.IStore");
    EXPECT_EQ(ndk::ICInterface::asInterface(binder.get()), store);
    EXPECT_EQ((Item{std::nullopt, {1, 2}}.toString()), "Item{name: (null), data: [1, 2]}");
    EXPECT_LT((Item{std::nullopt, {1, 2}}), (Item{"", {}}));
}

}  // namespace
}  // namespace aidl::test::form
