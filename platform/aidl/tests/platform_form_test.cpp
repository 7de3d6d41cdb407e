// SPDX-License-Identifier: Apache-2.0
// What the platform's own compiler generates, built against our headers.
#include <aidl/test/form/IStore.h>
#include <gtest/gtest.h>

#include <iterator>

namespace aidl::test::form {
namespace {

class Store : public BnStore {
    ndk::ScopedAStatus swap(const Item& item, std::optional<Item>* result) override {
        *result = item;
        (*result)->pick.set<Pick::text>(item.toString());
        return ndk::ScopedAStatus::ok();
    }
};

TEST(PlatformFormTest, CallGoesThroughProxyAndDelegator) {
    const auto delegator =
        ndk::SharedRefBase::make<IStoreDelegator>(ndk::SharedRefBase::make<Store>());
    const auto proxy = ndk::SharedRefBase::make<BpStore>(delegator->asBinder());
    Item sent;
    sent.mode = Mode::ON;
    sent.data = {1, 2};
    std::optional<Item> received;
    const auto status = proxy->swap(sent, &received);
    ASSERT_TRUE(status.isOk()) << status.getDescription();
    EXPECT_EQ("Item{mode: ON, name: (null), data: [1, 2], pick: Pick{number: 0}}",
              received->pick.get<Pick::text>());
    EXPECT_EQ(sent.data, received->data);
    EXPECT_EQ(IStore::fromBinder(delegator->asBinder()), delegator);
    EXPECT_EQ(nullptr, IStore::fromBinder(ndk::SpAIBinder()));
    EXPECT_EQ(2u, std::size(ndk::internal::enum_values<Mode>));
}

}  // namespace
}  // namespace aidl::test::form
