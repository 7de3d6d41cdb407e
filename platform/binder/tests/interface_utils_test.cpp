// SPDX-License-Identifier: Apache-2.0
#include <android/binder_interface_utils.h>
#include <android/binder_to_string.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

class IPlug : public ndk::ICInterface {};

binder_status_t onTransact(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

std::atomic<int> gPlugs = 0;

class Plug : public ndk::BnCInterface<IPlug> {
  public:
    Plug() { ++gPlugs; }
    ~Plug() override { --gPlugs; }

    std::atomic<int> created = 0;

  protected:
    ndk::SpAIBinder createBinder() override {
        static AIBinder_Class* const clazz =
            ndk::ICInterface::defineClass("sample.IPlug", onTransact);
        ++created;
        return ndk::SpAIBinder(AIBinder_new(clazz, static_cast<void*>(this)));
    }
};

TEST(InterfaceUtilsTest, BinderIsOneForAllWhileHeldAndMadeAnewAfterwards) {
    const auto plug = ndk::SharedRefBase::make<Plug>();
    std::vector<ndk::SpAIBinder> binders(4);
    std::vector<std::thread> threads;
    for (ndk::SpAIBinder& binder : binders) {
        threads.emplace_back([&plug, &binder] { binder = plug->asBinder(); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const ndk::SpAIBinder& binder : binders) EXPECT_EQ(binder, binders.front());
    EXPECT_EQ(plug->created, 1);
    binders.clear();
    EXPECT_NE(plug->asBinder().get(), nullptr);
    EXPECT_EQ(plug->created, 2);
}

TEST(InterfaceUtilsTest, EitherReferenceKeepsTheImplementationAlive) {
    auto plug = ndk::SharedRefBase::make<Plug>();
    ndk::SpAIBinder binder = plug->asBinder();
    plug.reset();
    EXPECT_EQ(gPlugs, 1);
    plug = std::static_pointer_cast<Plug>(ndk::ICInterface::asInterface(binder.get()));
    binder.set(nullptr);
    EXPECT_EQ(gPlugs, 1);
    plug.reset();
    EXPECT_EQ(gPlugs, 0);
}

TEST(InterfaceUtilsDeathTest, ObjectWithoutASharedOwnerAborts) {
    EXPECT_DEATH({ Plug plug; }, "never held");
}

enum class Nameless : int8_t { kOne = 1 };

// What no record of the compiler's tests has.
TEST(ToStringTest, RareKindsHaveTheirText) {
    using android::internal::ToString;
    const std::u16string letters{u'A', u'\u00e9', u'\u20ac', 0xd800};
    EXPECT_EQ(ToString(std::vector<char16_t>(letters.begin(), letters.end())),
              "[A, \u00e9, \u20ac, \uFFFD]");
    EXPECT_EQ(ToString(Nameless::kOne), "1");
    EXPECT_EQ(ToString(std::make_unique<std::string>("x")), "x");
}

}  // namespace
