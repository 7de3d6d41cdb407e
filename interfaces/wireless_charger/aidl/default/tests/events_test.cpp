// SPDX-License-Identifier: Apache-2.0
// Who is told what when the hardware changes, and who is still subscribed afterwards.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <android-base/properties.h>

#include <functional>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using ndk::ScopedAStatus;

/** Writes "name:value" to a journal, may fail and may do something before it answers. */
struct Subscriber {
    std::string name;
    std::vector<std::string>* journal;
    bool fails = false;
    std::function<void()> action = {};

    ScopedAStatus told(int value) {
        journal->push_back(name + ":" + std::to_string(value));
        if (action) action();
        return fails ? ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT) : ScopedAStatus::ok();
    }
};

/** Dumps its name and the arguments. */
template <typename Callback>
struct Subscribing : Callback, Subscriber {
    explicit Subscribing(Subscriber s) : Subscriber(std::move(s)) {}
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        if (action) action();
        dprintf(fd, "<%s", name.c_str());
        for (uint32_t i = 0; i < numArgs; i++) dprintf(fd, " %s", args[i]);
        dprintf(fd, ">\n");
        return STATUS_UNKNOWN_ERROR;
    }
};

struct InfoSubscriber : Subscribing<BnWirelessChargerInfoCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus alignChanged(const AlignInfo& info) override { return told(info.status); }
};
struct RtxSubscriber : Subscribing<BnWirelessChargerRtxStatusCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus statusChanged(const RtxStatusInfo& info) override { return told(info.mode); }
};
struct FanSubscriber : Subscribing<BnWirelessChargerFanLevelChangedCallback> {
    using Subscribing::Subscribing;
    ScopedAStatus fanLevelChanged(int32_t level) override { return told(level); }
};

// The three kinds behind one set of verbs.
struct Info {
    using Type = InfoSubscriber;
    static constexpr auto add = &WirelessCharger::registerCallback;
    static constexpr auto remove = &WirelessCharger::unregisterCallback;
    static constexpr auto death = &WirelessCharger::onInfoCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, AlignInfo v = {}) { w.alignCallback(v); };
};
struct Rtx {
    using Type = RtxSubscriber;
    static constexpr auto add = &WirelessCharger::registerRtxCallback;
    static constexpr auto remove = &WirelessCharger::unregisterRtxCallback;
    static constexpr auto death = &WirelessCharger::onRtxCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, RtxStatusInfo v = {}) {
        w.rtxCallback(v);
    };
};
struct Fan {
    using Type = FanSubscriber;
    static constexpr auto add = &WirelessCharger::registerFanLevelChangedCallback;
    static constexpr auto remove = &WirelessCharger::unregisterFanLevelChangedCallback;
    static constexpr auto death = &WirelessCharger::onFanCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, int v = 0) { w.fanCallback(v); };
};

template <typename Kind>
class CallbackTest : public ChargerTest {
  protected:
    CallbackTest() { protocol().values[6] = 0; }

    auto make(const std::string& name, bool fails = false) {
        return ndk::SharedRefBase::make<typename Kind::Type>(Subscriber{name, &journal, fails});
    }
    auto added(const std::string& name, bool fails = false) {
        auto subscriber = make(name, fails);
        EXPECT_EQ(add(subscriber), 0);
        return subscriber;
    }
    int add(const std::shared_ptr<typename Kind::Type>& subscriber) {
        return errorOf((charger.get()->*Kind::add)(subscriber));
    }
    int remove(const std::shared_ptr<typename Kind::Type>& subscriber) {
        return errorOf((charger.get()->*Kind::remove)(subscriber));
    }
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

TYPED_TEST(CallbackTest, NullAndSecondRegistrationOfTheSameAreRefused) {
    EXPECT_EQ(this->add(nullptr), 1);
    EXPECT_EQ(this->remove(nullptr), 1);
    auto a = this->added("a");
    EXPECT_EQ(this->add(a), 5);
    EXPECT_THAT(this->told(), ElementsAre("a:0"));
}

/** Another proxy of the same object, as each arrival of a client's callback makes one. */
template <typename Subscriber>
struct Twin : Subscriber {
    using Subscriber::Subscriber;
    ndk::SpAIBinder asBinder() override { return other->asBinder(); }
    std::shared_ptr<Subscriber> other;
};

TYPED_TEST(CallbackTest, OneThatRegistersAnewWhileItsCallFailsStays) {
    auto first = this->added("first", /*fails=*/true);
    auto anew = ndk::SharedRefBase::make<Twin<typename TypeParam::Type>>(
        Subscriber{"anew", &this->journal});
    anew->other = first;
    first->action = [&] {
        this->remove(first);
        this->add(anew);
    };
    EXPECT_THAT(this->told(), ElementsAre("first:0"));
    EXPECT_THAT(this->told(), ElementsAre("anew:0"));
}

TYPED_TEST(CallbackTest, RemovingTheMiddleOneKeepsTheOrder) {
    auto a = this->added("a"), b = this->added("b"), c = this->added("c");
    EXPECT_EQ(this->remove(b), 0);
    EXPECT_EQ(this->remove(b), 0);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0"));
    EXPECT_EQ(this->add(b), 0);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0", "b:0"));
}

TYPED_TEST(CallbackTest, FailingOneIsDroppedAndTheRestAreTold) {
    auto a = this->added("a", true), b = this->added("b"), c = this->added("c", true);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0", "c:0"));
    EXPECT_THAT(this->told(), ElementsAre("b:0"));
}

TYPED_TEST(CallbackTest, DeathHandlerKeepsTheLiving) {
    auto a = this->added("a");
    TypeParam::death(nullptr);
    TypeParam::death(this->charger.get());
    EXPECT_THAT(this->told(), ElementsAre("a:0"));
}

TYPED_TEST(CallbackTest, CallbackMayChangeTheListItIsCalledFrom) {
    auto late = this->make("late");
    auto a = this->added("a"), b = this->added("b");
    a->action = [&] {
        EXPECT_EQ(this->remove(a), 0);
        EXPECT_EQ(this->add(late), 0);
    };
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0"));
    EXPECT_THAT(this->told(), ElementsAre("b:0", "late:0"));
}

TEST_F(ChargerTest, SubscribersAreCountedAndDumpedInOrderAndMayChangeTheLists) {
    const auto info1 = ndk::SharedRefBase::make<InfoSubscriber>(Subscriber{"i1", nullptr});
    const auto info2 = ndk::SharedRefBase::make<InfoSubscriber>(Subscriber{"i2", nullptr});
    const auto rtx = ndk::SharedRefBase::make<RtxSubscriber>(Subscriber{"r1", nullptr});
    const auto fan = ndk::SharedRefBase::make<FanSubscriber>(Subscriber{"f1", nullptr});
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
    void charging(int off) { charger->wlcCallback(off); }
};

TEST_F(HandlerTest, AlignmentIsLimitedAndToldUnlessItCannotBeRead) {
    auto a = added("a");
    for (const auto& [result, status] : std::vector<std::pair<uint32_t, uint8_t>>{
             {0, 0}, {0, 2}, {0, 3}, {0, 4}, {0, 255}, {6, 1}, {7, 1}}) {
        protocol().alignment = {.result = result, .status = status};
        aligned();
    }
    EXPECT_THAT(journal, ElementsAre("a:0", "a:2", "a:3", "a:3", "a:3", "a:1"));
}

TEST_F(HandlerTest, ChargingOffIsReportedOnceByTheNextAlignment) {
    protocol().alignment = {.result = 7, .status = 1};
    charging(1);
    charging(1);
    EXPECT_EQ(aligned(), 1);  // not read: nobody is told, and it is still to be told
    protocol().alignment.result = 6;
    EXPECT_EQ(aligned(), 3);
    EXPECT_EQ(aligned(), 1);
}

TEST_F(HandlerTest, ChargingOffForgetsTheDock) {
    WlcInfo info;
    DockInfo known;
    known.qiId = "12";
    info.set<WlcInfo::Tag::dockInfo>(known);
    charger->updateInformation(info);
    charging(1);
    DockInfo dock;
    charger->getDockInformation(&dock);
    DockInfo expected;
    expected.compatibility = 0;
    EXPECT_EQ(dock, expected);
}

TEST_F(HandlerTest, ChargingStatusSetsTheProperty) {
    ::android::base::SetProperty("vendor.wlcservice.start", "0");
    charging(1);
    EXPECT_EQ(::android::base::GetProperty("vendor.wlcservice.start", ""), "0");
    charging(0);
    EXPECT_EQ(::android::base::GetProperty("vendor.wlcservice.start", ""), "1");
}

TEST_F(HandlerTest, FanLevelThatCannotBeReadIsToldToNobody) {
    auto fan = ndk::SharedRefBase::make<FanSubscriber>(Subscriber{"f", &journal});
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
