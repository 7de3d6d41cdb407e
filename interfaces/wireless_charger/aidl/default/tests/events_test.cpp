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

/** Subscribers write "name:value" to a journal, may fail and may do something before they answer.
 */
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

struct InfoSubscriber : BnWirelessChargerInfoCallback, Subscriber {
    explicit InfoSubscriber(Subscriber s) : Subscriber(std::move(s)) {}
    ScopedAStatus alignChanged(const AlignInfo& info) override { return told(info.status); }
};
struct RtxSubscriber : BnWirelessChargerRtxStatusCallback, Subscriber {
    explicit RtxSubscriber(Subscriber s) : Subscriber(std::move(s)) {}
    ScopedAStatus statusChanged(const RtxStatusInfo& info) override { return told(info.mode); }
};
struct FanSubscriber : BnWirelessChargerFanLevelChangedCallback, Subscriber {
    explicit FanSubscriber(Subscriber s) : Subscriber(std::move(s)) {}
    ScopedAStatus fanLevelChanged(int32_t level) override { return told(level); }
};

// The three kinds behind one set of verbs.
struct Info {
    using Type = InfoSubscriber;
    static constexpr auto add = &WirelessCharger::registerCallback;
    static constexpr auto remove = &WirelessCharger::unregisterCallback;
    static constexpr auto death = &WirelessCharger::onInfoCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, AlignInfo v = {}) { w.alignCallback(v); };
    static constexpr const char *kMethod = "AlignChanged", *kKind = "Align info",
                                *kRegister = "registerCallback",
                                *kUnregister = "unregisterCallback",
                                *kDeath = "onInfoCallbackDeath";
};
struct Rtx {
    using Type = RtxSubscriber;
    static constexpr auto add = &WirelessCharger::registerRtxCallback;
    static constexpr auto remove = &WirelessCharger::unregisterRtxCallback;
    static constexpr auto death = &WirelessCharger::onRtxCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, RtxStatusInfo v = {}) {
        w.rtxCallback(v);
    };
    static constexpr const char *kMethod = "StatusChanged", *kKind = "RTx",
                                *kRegister = "registerRtxCallback",
                                *kUnregister = "unregisterRtxCallback",
                                *kDeath = "onRtxCallbackDeath";
};
struct Fan {
    using Type = FanSubscriber;
    static constexpr auto add = &WirelessCharger::registerFanLevelChangedCallback;
    static constexpr auto remove = &WirelessCharger::unregisterFanLevelChangedCallback;
    static constexpr auto death = &WirelessCharger::onFanCallbackDeath;
    static constexpr auto event = [](WirelessCharger& w, int v = 0) { w.fanCallback(v); };
    static constexpr const char *kMethod = "FanLevelChanged", *kKind = "Fan level",
                                *kRegister = "registerFanLevelChangedCallback",
                                *kUnregister = "IWirelessChargerFanLevelChangedCallback",
                                *kDeath = "onFanCallbackDeath";
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
        EXPECT_EQ(errorOf((charger.get()->*Kind::add)(subscriber)), 0);
        return subscriber;
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

TYPED_TEST(CallbackTest, SecondRegistrationOfTheSameIsRefused) {
    auto a = this->added("a");
    ScopedAStatus again = (this->charger.get()->*TypeParam::add)(a);
    EXPECT_EQ(errorOf(again), 5);
    EXPECT_STREQ(again.getMessage(), "");
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
        (this->charger.get()->*TypeParam::remove)(first);
        (this->charger.get()->*TypeParam::add)(anew);
    };
    EXPECT_THAT(this->told(), ElementsAre("first:0"));
    EXPECT_THAT(this->told(), ElementsAre("anew:0"));
}

TYPED_TEST(CallbackTest, NullIsRefusedWithItsMessage) {
    LogCapture log;
    ScopedAStatus add = (this->charger.get()->*TypeParam::add)(nullptr);
    ScopedAStatus remove = (this->charger.get()->*TypeParam::remove)(nullptr);
    const std::string tail = " error!! Invalid nullptr callback";
    EXPECT_EQ(errorOf(add), 1);
    EXPECT_EQ(errorOf(remove), 1);
    EXPECT_EQ(add.getMessage(), TypeParam::kRegister + tail);
    EXPECT_EQ(remove.getMessage(), TypeParam::kUnregister + tail);
    EXPECT_THAT(log.take(),
                ElementsAre("E Invalid nullptr callback", "E Invalid nullptr callback"));
}

TYPED_TEST(CallbackTest, RemovingTheMiddleOneKeepsTheOrder) {
    auto a = this->added("a"), b = this->added("b"), c = this->added("c");
    EXPECT_EQ(errorOf((this->charger.get()->*TypeParam::remove)(b)), 0);
    EXPECT_EQ(errorOf((this->charger.get()->*TypeParam::remove)(b)), 0);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0"));
    EXPECT_EQ(errorOf((this->charger.get()->*TypeParam::add)(b)), 0);
    EXPECT_THAT(this->told(), ElementsAre("a:0", "c:0", "b:0"));
}

TYPED_TEST(CallbackTest, FailingOneIsLoggedAndDroppedAndTheRestAreTold) {
    auto a = this->added("a", true), b = this->added("b"), c = this->added("c", true);
    LogCapture log;
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0", "c:0"));
    const std::string line = std::string("E Error in ") + TypeParam::kMethod + "(): ";
    EXPECT_THAT(log.take(), ElementsAre(testing::StartsWith(line), testing::StartsWith(line)));
    EXPECT_THAT(this->told(), ElementsAre("b:0"));
}

// A local binder cannot be linked to death, and stays registered all the same.
TYPED_TEST(CallbackTest, UnlinkableOneIsRegisteredAllTheSame) {
    LogCapture log;
    auto a = this->added("a");
    EXPECT_THAT(log.take(), ElementsAre(std::string("E Failed to link death of ") +
                                        TypeParam::kKind + " callback"));
    EXPECT_THAT(this->told(), ElementsAre("a:0"));
}

TYPED_TEST(CallbackTest, DeathHandlerKeepsTheLiving) {
    auto a = this->added("a");
    LogCapture log;
    TypeParam::death(nullptr);
    TypeParam::death(this->charger.get());
    const std::string line = std::string("I ") + TypeParam::kDeath;
    EXPECT_THAT(log.take(), ElementsAre(line, line));
    EXPECT_THAT(this->told(), ElementsAre("a:0"));
}

TYPED_TEST(CallbackTest, CallbackMayChangeTheListItIsCalledFrom) {
    auto late = this->make("late");
    auto a = this->added("a"), b = this->added("b");
    a->action = [&] {
        EXPECT_EQ(errorOf((this->charger.get()->*TypeParam::remove)(a)), 0);
        EXPECT_EQ(errorOf((this->charger.get()->*TypeParam::add)(late)), 0);
    };
    EXPECT_THAT(this->told(), ElementsAre("a:0", "b:0"));
    EXPECT_THAT(this->told(), ElementsAre("b:0", "late:0"));
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
    LogCapture log;
    for (const auto& [result, status] : std::vector<std::pair<uint32_t, uint8_t>>{
             {0, 0}, {0, 2}, {0, 3}, {0, 4}, {0, 255}, {6, 1}, {7, 1}}) {
        protocol().alignment = {.result = result, .status = status};
        aligned();
    }
    EXPECT_THAT(journal, ElementsAre("a:0", "a:2", "a:3", "a:3", "a:3", "a:1"));
    EXPECT_THAT(log.take(), ElementsAre("E Failed to get alignment info"));
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
    LogCapture log;
    int level = 7;
    protocol().values.erase(6);
    charger->fanCallback(level);  // fails with 6: there is none now
    EXPECT_EQ(level, 7);
    EXPECT_THAT(log.take(), IsEmpty());
    protocol().valueError = 5;
    charger->fanCallback(level);
    EXPECT_EQ(level, 7);
    EXPECT_THAT(log.take(), ElementsAre("E Failed to get FanLevel"));
    protocol().values[6] = 9;
    charger->fanCallback(level);
    EXPECT_EQ(level, 9);
    EXPECT_THAT(journal, ElementsAre("f:9"));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
