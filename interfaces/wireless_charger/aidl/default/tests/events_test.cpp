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
template <typename Callback>
struct Subscribing : Callback {
    Subscribing(std::string itsName, std::vector<std::string>* itsJournal)
        : name(std::move(itsName)), journal(itsJournal) {}
    ScopedAStatus told(int value) {
        journal->push_back(name + ":" + std::to_string(value));
        if (action) action();
        return fails ? ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT) : ScopedAStatus::ok();
    }
    binder_status_t dump(int fd, const char** args, uint32_t) override {
        if (action) action();
        dprintf(fd, "<%s %s>\n", name.c_str(), args[0]);
        return STATUS_UNKNOWN_ERROR;
    }

    const std::string name;
    std::vector<std::string>* const journal;
    std::function<void()> action = {};
    bool fails = false;
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

class EventsTest : public ChargerTest {
  protected:
    template <typename Subscriber>
    std::shared_ptr<Subscriber> make(const std::string& name) {
        return ndk::SharedRefBase::make<Subscriber>(name, &journal);
    }
    std::shared_ptr<Info> added(const std::string& name) {
        const auto subscriber = make<Info>(name);
        EXPECT_EQ(errorOf(charger->registerCallback(subscriber)), 0);
        return subscriber;
    }
    /** Who is told of an alignment that is read with this result, in order. */
    std::vector<std::string> aligned(uint32_t result = 0) {
        protocol().alignment = {.result = result, .status = 1};
        AlignInfo info;
        charger->alignCallback(info);
        return std::exchange(journal, {});
    }

    std::vector<std::string> journal;
};

// One kind stands for all three, which are the same templates.
TEST_F(EventsTest, CallbacksMayFailAndChangeTheListTheyAreCalledFrom) {
    const auto a = added("a"), b = added("b"), c = added("c"), late = make<Info>("late");
    a->fails = true;
    b->action = [&] {
        EXPECT_EQ(errorOf(charger->unregisterCallback(b)), 0);
        EXPECT_EQ(errorOf(charger->registerCallback(late)), 0);
    };
    EXPECT_THAT(aligned(), ElementsAre("a:1", "b:1", "c:1"));
    EXPECT_THAT(aligned(), ElementsAre("c:1", "late:1"));
}

TEST_F(EventsTest, SubscribersAreCountedAndDumpedByKindAndMayChangeTheLists) {
    const auto fan = make<Fan>("fan");
    const auto info = added("info");
    const auto rtx = make<Rtx>("rtx");
    charger->registerFanLevelChangedCallback(fan);
    charger->registerRtxCallback(rtx);
    info->action = [&] { charger->unregisterCallback(info); };
    EXPECT_THAT(dump({"-a"}), testing::EndsWith("    RTx: 1\n    Alignment: 1\n    Fan level: 1\n"
                                                "  Dump registered interfaces: [\n"
                                                "<rtx -a>\n<info -a>\n<fan -a>\n  ]\n"));
    EXPECT_THAT(dump({"-a"}), testing::HasSubstr("Alignment: 0\n    Fan level: 1\n"));
}

TEST_F(EventsTest, ChargingOffIsReportedOnceByTheNextAlignmentThatIsTold) {
    const auto a = added("a");
    chargingOff();
    EXPECT_THAT(aligned(7), IsEmpty());  // a failure; that there is none now is told
    EXPECT_THAT(aligned(6), ElementsAre("a:3"));
    EXPECT_THAT(aligned(6), ElementsAre("a:1"));
}

TEST_F(EventsTest, FanLevelThatCannotBeReadIsToldToNobody) {
    const auto fan = make<Fan>("f");
    charger->registerFanLevelChangedCallback(fan);
    int level = 7;
    charger->fanCallback(level);
    EXPECT_EQ(level, 7);
    protocol().values[6] = 9;
    charger->fanCallback(level);
    EXPECT_EQ(level, 9);
    EXPECT_THAT(journal, ElementsAre("f:9"));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
