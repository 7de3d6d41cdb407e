// SPDX-License-Identifier: Apache-2.0
#include <android/binder_interface_utils.h>
#include <android/binder_to_string.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace sample {

enum class Mode : int32_t { kAuto = 0, kManual = 1 };
std::string toString(Mode mode) {
    return mode == Mode::kAuto ? "AUTO" : "MANUAL";
}
enum class Nameless : int8_t { kOne = 1 };

struct Record {
    std::string toString() const { return "Record{}"; }
};
struct Mute {};

}  // namespace sample

namespace {

class IPlug : public ndk::ICInterface {};

binder_status_t onTransact(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

AIBinder_Class* plugClass() {
    static AIBinder_Class* const clazz = ndk::ICInterface::defineClass("sample.IPlug", onTransact);
    return clazz;
}

class Plug : public ndk::BnCInterface<IPlug> {
  public:
    explicit Plug(std::atomic<int>* living = nullptr) : mLiving(living) {
        if (mLiving != nullptr) ++*mLiving;
    }
    ~Plug() override {
        if (mLiving != nullptr) --*mLiving;
    }
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        for (uint32_t i = 0; i < numArgs; ++i) dprintf(fd, "<%s>", args[i]);
        return STATUS_WOULD_BLOCK;
    }

    std::atomic<int> created = 0;

  protected:
    ndk::SpAIBinder createBinder() override {
        ++created;
        return ndk::SpAIBinder(AIBinder_new(plugClass(), static_cast<void*>(this)));
    }

  private:
    std::atomic<int>* mLiving;
};

TEST(InterfaceUtilsTest, BinderIsTheSameWhileHeldAndMadeAnewAfterwards) {
    const auto plug = ndk::SharedRefBase::make<Plug>();
    EXPECT_FALSE(plug->isRemote());
    {
        const ndk::SpAIBinder first = plug->asBinder();
        EXPECT_EQ(plug->asBinder(), first);
        EXPECT_EQ(plug->created, 1);
        EXPECT_EQ(ndk::ICInterface::asInterface(first.get()), plug);
        EXPECT_EQ(AIBinder_getClass(first.get()), plugClass());
        EXPECT_EQ(AIBinder_getClass(nullptr), nullptr);
    }
    EXPECT_NE(plug->asBinder().get(), nullptr);
    EXPECT_EQ(plug->created, 2);
}

TEST(InterfaceUtilsTest, EitherReferenceKeepsTheImplementationAlive) {
    std::atomic<int> living = 0;
    auto plug = ndk::SharedRefBase::make<Plug>(&living);
    ndk::SpAIBinder binder = plug->asBinder();
    plug.reset();
    EXPECT_EQ(living, 1);
    plug = std::static_pointer_cast<Plug>(ndk::ICInterface::asInterface(binder.get()));
    binder.set(nullptr);
    EXPECT_EQ(living, 1);
    plug.reset();
    EXPECT_EQ(living, 0);
}

TEST(InterfaceUtilsTest, ThreadsThatAskAtOnceGetOneBinder) {
    const auto plug = ndk::SharedRefBase::make<Plug>();
    std::vector<ndk::SpAIBinder> binders(4);
    std::vector<std::thread> threads;
    threads.reserve(binders.size());
    for (ndk::SpAIBinder& binder : binders) {
        threads.emplace_back([&plug, &binder] { binder = plug->asBinder(); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const ndk::SpAIBinder& binder : binders) EXPECT_EQ(binder, binders.front());
    EXPECT_EQ(plug->created, 1);
}

TEST(InterfaceUtilsTest, DumpOfTheBinderReachesTheImplementation) {
    const auto plug = ndk::SharedRefBase::make<Plug>();
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    const ndk::ScopedFileDescriptor reader(ends[0]);
    const ndk::ScopedFileDescriptor writer(ends[1]);
    const char* args[] = {"-a", "b"};
    EXPECT_EQ(AIBinder_dump(plug->asBinder().get(), writer.get(), args, 2), STATUS_WOULD_BLOCK);
    std::array<char, 64> text{};
    EXPECT_EQ(read(reader.get(), text.data(), text.size()), 7);
    EXPECT_STREQ(text.data(), "<-a><b>");
}

TEST(InterfaceUtilsDeathTest, ObjectWithoutASharedOwnerAborts) {
    EXPECT_DEATH({ Plug plug; }, "never held");
}

TEST(ToStringTest, EveryKindHasItsText) {
    using android::internal::ToString;
    EXPECT_EQ(ToString(int8_t{-5}), "-5");
    EXPECT_EQ(ToString(uint64_t{18446744073709551615u}), "18446744073709551615");
    const std::u16string letters{u'A', u'\u00e9', u'\u20ac', 0xd800};
    EXPECT_EQ(ToString(std::vector<char16_t>(letters.begin(), letters.end())),
              "[A, \u00e9, \u20ac, \uFFFD]");
    EXPECT_EQ(ToString(sample::Mode::kManual), "MANUAL");
    EXPECT_EQ(ToString(sample::Nameless::kOne), "1");
    EXPECT_EQ(ToString(sample::Record()), "Record{}");
    EXPECT_EQ(ToString(sample::Mute()), "{no toString() implemented}");
    EXPECT_EQ(ToString(std::vector<bool>{true, false}), "[true, false]");
    EXPECT_EQ(ToString(std::array<std::vector<uint8_t>, 2>{{{1, 2}, {}}}), "[[1, 2], []]");
    EXPECT_EQ(ToString(std::vector<std::optional<std::string>>{"x", std::nullopt}), "[x, (null)]");
    EXPECT_EQ(ToString(std::make_unique<sample::Record>()), "Record{}");
    EXPECT_EQ(ToString(std::shared_ptr<IPlug>()), "(null)");
    EXPECT_EQ(ToString(ndk::SpAIBinder()), "(null)");
    EXPECT_EQ(ToString(ndk::ScopedFileDescriptor()), "-1");
}

}  // namespace
