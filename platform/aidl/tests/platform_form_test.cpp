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
        (*result)->pick.set<Pick::text>(item.toString());
        return ndk::ScopedAStatus::ok();
    }
};

TEST(PlatformFormTest, ObjectAndRecordsWork) {
    const auto store = ndk::SharedRefBase::make<Store>();
    EXPECT_STREQ(IStore::descriptor,
                 AIBinder_Class_getDescriptor(AIBinder_getClass(store->asBinder().get())));
    Item sent;
    sent.mode = Mode::ON;
    sent.data = {1, 2};
    std::optional<Item> received;
    ASSERT_TRUE(store->swap(sent, &received).isOk());
    EXPECT_EQ("Item{mode: ON, name: (null), data: [1, 2], pick: Pick{number: 0}}",
              received->pick.get<Pick::text>());
    EXPECT_TRUE(sent < *received);
    EXPECT_EQ(2u, std::size(ndk::internal::enum_values<Mode>));
}

}  // namespace
}  // namespace aidl::test::form
