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

struct Info : Subscribing<BnWirelessChargerInfoCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus alignChanged(const AlignInfo& info) override { return told(info.status); }
};
struct Rtx : Subscribing<BnWirelessChargerRtxStatusCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus statusChanged(const RtxStatusInfo& info) override { return told(info.mode); }
};
struct Fan : Subscribing<BnWirelessChargerFanLevelChangedCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus fanLevelChanged(int32_t level) override { return told(level); }
};

// One kind stands for all three, which are the same templates.
class CallbackTest : public ChargerTest {
  protected:
    using Pointer = std::shared_ptr<Info>;

    Pointer make(const std::string& name, bool fails = false) {
        return ndk::SharedRefBase::make<Info>(Behaviour{name, &journal, fails});
    }
    Pointer added(const std::string& name, bool fails = false) {
        const Pointer subscriber = make(name, fails);
        EXPECT_EQ(add(subscriber), 0);
        return subscriber;
    }
    int add(const Pointer& one) { return errorOf(charger->registerCallback(one)); }
    int remove(const Pointer& one) { return errorOf(charger->unregisterCallback(one)); }
    int aligned() {
        AlignInfo info;
        charger->alignCallback(info);
        return info.status;
    }
    /** Who is told of an event, in order. */
    std::vector<std::string> told() {
        journal.clear();
        aligned();
        return journal;
    }

    std::vector<std::string> journal;
};

TEST_F(CallbackTest, EachIsThereOnceInOrderUntilItIsRemoved) {
    EXPECT_EQ(add(nullptr), 1);
    EXPECT_EQ(remove(nullptr), 1);
    const auto a = added("a"), b = added("b"), c = added("c");
    EXPECT_EQ(add(a), 5);
    EXPECT_EQ(remove(b), 0);
    EXPECT_EQ(remove(b), 0);
    EXPECT_THAT(told(), ElementsAre("a:0", "c:0"));
    EXPECT_EQ(add(b), 0);
    W::onInfoCallbackDeath(nullptr);
    W::onInfoCallbackDeath(charger.get());  // the living stay
    EXPECT_THAT(told(), ElementsAre("a:0", "c:0", "b:0"));
}

TEST_F(CallbackTest, FailingOnesAreDroppedUnlessTheyRegisterAnew) {
    const auto a = added("a", true), b = added("b"), c = added("c", true), anew = make("anew");
    anew->twin = c->asBinder();
    c->action = [&] {
        remove(c);
        add(anew);
    };
    EXPECT_THAT(told(), ElementsAre("a:0", "b:0", "c:0"));
    EXPECT_THAT(told(), ElementsAre("b:0", "anew:0"));
}

TEST_F(CallbackTest, CallbackMayChangeTheListItIsCalledFrom) {
    const auto a = added("a"), b = added("b"), late = make("late");
    a->action = [&] {
        EXPECT_EQ(remove(a), 0);
        EXPECT_EQ(add(late), 0);
    };
    EXPECT_THAT(told(), ElementsAre("a:0", "b:0"));
    EXPECT_THAT(told(), ElementsAre("b:0", "late:0"));
}

// What one of these leaves unlocked the thread sanitizer reports.
TEST_F(ChargerTest, ListsAreChangedAndReadOnManyThreads) {
    protocol().values[6] = 0;
    const auto comeAndGo = [this] {
        const auto info = ndk::SharedRefBase::make<Info>(Behaviour{"i"});
        const auto rtx = ndk::SharedRefBase::make<Rtx>(Behaviour{"r"});
        const auto fan = ndk::SharedRefBase::make<Fan>(Behaviour{"f"});
        charger->registerCallback(info);
        charger->registerRtxCallback(rtx);
        charger->registerFanLevelChangedCallback(fan);
        charger->unregisterCallback(info);
        charger->unregisterRtxCallback(rtx);
        charger->unregisterFanLevelChangedCallback(fan);
    };
    const auto events = [this, align = AlignInfo(), rtx = RtxStatusInfo(), fan = 0]() mutable {
        charger->alignCallback(align);
        charger->rtxCallback(rtx);
        charger->fanCallback(fan);
    };
    const auto deaths = [this] {
        W::onInfoCallbackDeath(charger.get());
        W::onRtxCallbackDeath(charger.get());
        W::onFanCallbackDeath(charger.get());
    };
    runAtOnce(50, {comeAndGo, comeAndGo, events, deaths, [this] { dump(); }});
    EXPECT_THAT(dump(), testing::HasSubstr("RTx: 0\n    Alignment: 0\n    Fan level: 0\n"));
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

TEST_F(CallbackTest, AlignmentIsLimitedAndToldUnlessItCannotBeRead) {
    const auto a = added("a");
    for (const auto& [result, status] : std::vector<std::pair<uint32_t, uint8_t>>{
             {0, 0}, {0, 2}, {0, 3}, {0, 4}, {0, 255}, {6, 1}, {7, 1}}) {
        protocol().alignment = {.result = result, .status = status};
        aligned();
    }
    EXPECT_THAT(journal, ElementsAre("a:0", "a:2", "a:3", "a:3", "a:3", "a:1"));
}

TEST_F(CallbackTest, ChargingOffIsReportedOnceByTheNextAlignment) {
    protocol().alignment = {.result = 7, .status = 1};
    chargingOff();
    chargingOff();
    EXPECT_EQ(aligned(), 1);  // not read: nobody is told, and it is still to be told
    protocol().alignment.result = 6;
    EXPECT_EQ(aligned(), 3);
    EXPECT_EQ(aligned(), 1);
}

TEST_F(CallbackTest, FanLevelThatCannotBeReadIsToldToNobody) {
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
