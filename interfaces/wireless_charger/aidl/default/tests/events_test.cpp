// SPDX-License-Identifier: Apache-2.0
// Who is told what when the hardware changes, and who is still subscribed afterwards.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using ndk::ScopedAStatus;

/** What a subscriber of any kind does when it is told something or dumped. */
struct Behaviour {
    std::string name;
    std::vector<std::string>* journal = nullptr;  // takes "name:value"
    bool fails = false;
    std::function<void()> action = {};
    ndk::SpAIBinder twin = {};  // another proxy of the same object has this binder
};

template <typename Callback>
struct Subscribing : Callback, Behaviour {
    explicit Subscribing(Behaviour b) : Behaviour(std::move(b)) {}
    ScopedAStatus told(int value) {
        if (journal != nullptr) journal->push_back(name + ":" + std::to_string(value));
        if (action) action();
        return fails ? ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT) : ScopedAStatus::ok();
    }
    ndk::SpAIBinder asBinder() override {
        return twin.get() != nullptr ? twin : Callback::asBinder();
    }
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        if (action) action();
        dprintf(fd, "<%s", name.c_str());
        for (uint32_t i = 0; i < numArgs; i++) dprintf(fd, " %s", args[i]);
        dprintf(fd, ">\n");
        return STATUS_UNKNOWN_ERROR;
    }
};

// The three kinds behind one set of verbs.
struct Info : Subscribing<BnWirelessChargerInfoCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus alignChanged(const AlignInfo& info) override { return told(info.status); }
    static constexpr auto kAdd = &W::registerCallback;
    static constexpr auto kRemove = &W::unregisterCallback;
    static constexpr auto kDeath = &W::onInfoCallbackDeath;
    static void event(W& charger, AlignInfo info = {}) { charger.alignCallback(info); }
};
struct Rtx : Subscribing<BnWirelessChargerRtxStatusCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus statusChanged(const RtxStatusInfo& info) override { return told(info.mode); }
    static constexpr auto kAdd = &W::registerRtxCallback;
    static constexpr auto kRemove = &W::unregisterRtxCallback;
    static constexpr auto kDeath = &W::onRtxCallbackDeath;
    static void event(W& charger, RtxStatusInfo info = {}) { charger.rtxCallback(info); }
};
struct Fan : Subscribing<BnWirelessChargerFanLevelChangedCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus fanLevelChanged(int32_t level) override { return told(level); }
    static constexpr auto kAdd = &W::registerFanLevelChangedCallback;
    static constexpr auto kRemove = &W::unregisterFanLevelChangedCallback;
    static constexpr auto kDeath = &W::onFanCallbackDeath;
    static void event(W& charger, int level = 0) { charger.fanCallback(level); }
};

template <typename Kind>
class CallbackTest : public ChargerTest {
  protected:
    using Pointer = std::shared_ptr<Kind>;
    CallbackTest() { protocol().values[6] = 0; }

    Pointer make(const std::string& name, bool fails = false) {
        return ndk::SharedRefBase::make<Kind>(Behaviour{name, &journal, fails});
    }
    Pointer added(const std::string& name, bool fails = false) {
        const Pointer subscriber = make(name, fails);
        EXPECT_EQ(add(subscriber), 0);
        return subscriber;
    }
    int add(const Pointer& one) { return errorOf((charger.get()->*Kind::kAdd)(one)); }
    int remove(const Pointer& one) { return errorOf((charger.get()->*Kind::kRemove)(one)); }
    /** Who is told of an event, in order. */
    std::vector<std::string> told() {
        journal.clear();
        Kind::event(*charger);
        return journal;
    }

    std::vector<std::string> journal;
};

using Kinds = testing::Types<Info, Rtx, Fan>;
TYPED_TEST_SUITE(CallbackTest, Kinds);

TYPED_TEST(CallbackTest, EachIsThereOnceInOrderUntilItIsRemoved) {
    EXPECT_EQ(this->add(nullptr), 1);
    EXPECT_EQ(this->remove(nullptr), 1);
    const auto a = this->added("a"), b = this->added("b"), c = this->added("c");
    EXPECT_EQ(this->add(a), 5);
    EXPECT_EQ(this->remove(b), 0);
    EXPECT_EQ(this->remove(b), 0);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0"));
    EXPECT_EQ(this->add(b), 0);
    TypeParam::kDeath(nullptr);
    TypeParam::kDeath(this->charger.get());  // the living stay
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0", "b:0"));
}

TYPED_TEST(CallbackTest, FailingOnesAreDroppedUnlessTheyRegisterAnew) {
    const auto a = this->added("a", true), b = this->added("b"), c = this->added("c", true);
    const auto anew = this->make("anew");
    anew->twin = c->asBinder();
    c->action = [&] {
        this->remove(c);
        this->add(anew);
    };
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0", "c:0"));
    EXPECT_THAT(this->told(), ElementsAre("b:0", "anew:0"));
}

TYPED_TEST(CallbackTest, CallbackMayChangeTheListItIsCalledFrom) {
    const auto a = this->added("a"), b = this->added("b"), late = this->make("late");
    a->action = [&] {
        EXPECT_EQ(this->remove(a), 0);
        EXPECT_EQ(this->add(late), 0);
    };
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0"));
    EXPECT_THAT(this->told(), ElementsAre("b:0", "late:0"));
}

// What one of these leaves unlocked the thread sanitizer reports.
TYPED_TEST(CallbackTest, ListsAreChangedAndReadOnManyThreads) {
    const auto comeAndGo = [this] {
        const auto one = ndk::SharedRefBase::make<TypeParam>(Behaviour{"one"});
        EXPECT_EQ(this->add(one), 0);
        EXPECT_EQ(this->remove(one), 0);
    };
    runAtOnce(50, {comeAndGo, comeAndGo, [this] { TypeParam::event(*this->charger); },
                   [this] { TypeParam::kDeath(this->charger.get()); }, [this] { this->dump(); }});
}

TEST_F(ChargerTest, SubscribersAreCountedAndDumpedInOrderAndMayChangeTheLists) {
    const auto info1 = ndk::SharedRefBase::make<Info>(Behaviour{"i1"});
    const auto info2 = ndk::SharedRefBase::make<Info>(Behaviour{"i2"});
    const auto rtx = ndk::SharedRefBase::make<Rtx>(Behaviour{"r1"});
    const auto fan = ndk::SharedRefBase::make<Fan>(Behaviour{"f1"});
    charger->registerFanLevelChangedCallback(fan);
    charger->registerCallback(info1);
    charger->registerRtxCallback(rtx);
    info1->action = [&] {
        charger->unregisterCallback(info1);
        charger->registerCallback(info2);
    };
    EXPECT_THAT(dump({"-a", "x y"}),
                testing::EndsWith("    RTx: 1\n    Alignment: 1\n    Fan level: 1\n"
                                  "  Dump registered interfaces: [\n"
                                  "<r1 -a x y>\n<i1 -a x y>\n<f1 -a x y>\n  ]\n"));
    charger->unregisterRtxCallback(rtx);
    EXPECT_THAT(dump(), testing::EndsWith("    RTx: 0\n    Alignment: 1\n    Fan level: 1\n"
                                          "  Dump registered interfaces: [\n<i2>\n<f1>\n  ]\n"));
}

class HandlerTest : public CallbackTest<Info> {
  protected:
    int aligned() {
        AlignInfo info;
        charger->alignCallback(info);
        return info.status;
    }
};

TEST_F(HandlerTest, AlignmentIsLimitedAndToldUnlessItCannotBeRead) {
    const auto a = added("a");
    for (const auto& [result, status] : std::vector<std::pair<uint32_t, uint8_t>>{
             {0, 0}, {0, 2}, {0, 3}, {0, 4}, {0, 255}, {6, 1}, {7, 1}}) {
        protocol().alignment = {.result = result, .status = status};
        aligned();
    }
    EXPECT_THAT(journal, ElementsAre("a:0", "a:2", "a:3", "a:3", "a:3", "a:1"));
}

TEST_F(HandlerTest, ChargingOffIsReportedOnceByTheNextAlignment) {
    protocol().alignment = {.result = 7, .status = 1};
    chargingOff();
    chargingOff();
    EXPECT_EQ(aligned(), 1);  // not read: nobody is told, and it is still to be told
    protocol().alignment.result = 6;
    EXPECT_EQ(aligned(), 3);
    EXPECT_EQ(aligned(), 1);
}

TEST_F(HandlerTest, FanLevelThatCannotBeReadIsToldToNobody) {
    const auto fan = ndk::SharedRefBase::make<Fan>(Behaviour{"f", &journal});
    charger->registerFanLevelChangedCallback(fan);
    int level = 7;
    protocol().values.erase(6);
    charger->fanCallback(level);
    EXPECT_EQ(level, 7);
    protocol().values[6] = 9;
    charger->fanCallback(level);
    EXPECT_EQ(level, 9);
    EXPECT_THAT(journal, ElementsAre("f:9"));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
