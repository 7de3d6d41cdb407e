// SPDX-License-Identifier: Apache-2.0
// What the platform's own compiler generates, built against our headers.
#include <aidl/test/form/IStore.h>
#include <gtest/gtest.h>

#include <iterator>

namespace aidl::test::form {
namespace {

class Store : public BnStore {
  public:
    ndk::ScopedAStatus swap(const Item& item, std::optional<Item>* result) override {
        *result = item;
        return ndk::ScopedAStatus::ok();
    }
};

TEST(PlatformFormTest, ObjectAndRecordWork) {
    const auto store = ndk::SharedRefBase::make<Store>();
    const ndk::SpAIBinder binder = store->asBinder();
    EXPECT_STREQ(AIBinder_Class_getDescriptor(AIBinder_getClass(binder.get())), "test.form.IStore");
    EXPECT_EQ(ndk::ICInterface::asInterface(binder.get()), store);
    EXPECT_EQ((Item{Mode::ON, std::nullopt, {1, 2}}.toString()),
              "Item{mode: 1, name: (null), data: [1, 2]}");
    EXPECT_EQ(std::size(ndk::internal::enum_values<Mode>), 2u);
}

}  // namespace
}  // namespace aidl::test::form
