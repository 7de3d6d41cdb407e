// SPDX-License-Identifier: Apache-2.0
// From a uevent to subscribers in another process than the service.
#include <android/binder_process.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <signal.h>
#include <sys/socket.h>

#include "charger_system.h"
#include "kernel_uevents.h"
#include "subscriptions.h"

namespace charger_system {
namespace {

using android::base::unique_fd;
using Uevents = ChargerSystem::Uevents;

constexpr int kPacedUevents = 10'000;
constexpr int kUeventsThatFit = 32;  // into the socket's buffer, with room to spare
constexpr char kRefused[] = "Error reading from Uevent Fd";

// How often each kind of subscriber is called.
struct Calls {
    size_t rtx = 0;
    size_t align = 0;
    size_t fan = 0;
    bool operator==(const Calls&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Calls& calls) {
    return out << "rtx " << calls.rtx << ", align " << calls.align << ", fan " << calls.fan;
}

// The service with one subscriber of each kind.
class SubscribedSystem {
  public:
    explicit SubscribedSystem(Uevents uevents) : system(uevents) {
        system.start();
        ABinderProcess_startThreadPool();
        client = system.connect();
        align = ndk::SharedRefBase::make<AlignSubscriber>();
        rtx = ndk::SharedRefBase::make<RtxSubscriber>();
        fan = ndk::SharedRefBase::make<FanSubscriber>();
        EXPECT_TRUE(client->registerCallback(align).isOk());
        EXPECT_TRUE(client->registerRtxCallback(rtx).isOk());
        EXPECT_TRUE(client->registerFanLevelChangedCallback(fan).isOk());
    }

    // By the dock, through the kernel or the datagram socket. The kernel sends letters and digits
    // only; SOURCE=WLC_OFF it sends as the name of an interface.
    void send(const std::string& lines) {
        const Json reply = system.dock("uevent " + lines);
        ASSERT_EQ(true, reply["uevent"]["sent"]) << reply;
    }

    // Which subscribers a uevent calls, once the service is through with it.
    Calls callsOf(const std::string& lines) {
        const Calls before = counts();
        send(lines);
        finishEvents();
        Calls calls = counts();
        // The last calls, which told that all was over: one of each, two of alignment.
        return {calls.rtx - before.rtx - 1, calls.align - before.align - 2,
                calls.fan - before.fan - 1};
    }

    // Waits until every subscriber has been told everything that the service has been sent. That
    // charging is off the alignment's subscribers learn whatever the dock says, so with that known
    // the event thread has nothing older in its hands; then a value that only an event from now on
    // can bring comes to each subscriber, behind all older ones.
    void finishEvents() {
        const std::string off = number(++mMarker);
        system.dock("answer getWLCAlignment 01" + off.substr(0, 2) + off + "00000000");
        send("SOURCE=WLC_OFF DRIVER=p9221");
        const int32_t offMarker = mMarker;
        ASSERT_TRUE(align->received.waitForLast([&](const charger::AlignInfo& info) {
            return info.status == 3 && info.value1 == offMarker;
        }));
        const std::string all = number(++mMarker);
        system.dock("answer getWLCAlignment 0100" + all + "00000000");
        system.dock("answer getWlcInfo:6 " + all);
        system.dock("answer sendRtxRequest:9 " + text(mMarker));
        send("DRIVER=p9221");
        ASSERT_TRUE(align->received.waitForLast(
            [&](const charger::AlignInfo& info) { return info.value1 == mMarker; }));
        ASSERT_TRUE(rtx->received.waitForLast(
            [&](const charger::RtxStatusInfo& info) { return info.deviceLevel == mMarker; }));
        ASSERT_TRUE(
            fan->received.waitForLast([&](const int32_t& level) { return level == mMarker; }));
    }

    Calls counts() const {
        return {rtx->received.count(), align->received.count(), fan->received.count()};
    }

    ChargerSystem system;
    std::shared_ptr<charger::IWirelessCharger> client;
    std::shared_ptr<AlignSubscriber> align;
    std::shared_ptr<RtxSubscriber> rtx;
    std::shared_ptr<FanSubscriber> fan;

  private:
    static std::string number(int32_t value) {
        char hex[16];
        snprintf(hex, sizeof(hex), "%02x%02x%02x%02x", value & 0xFF, value >> 8 & 0xFF,
                 value >> 16 & 0xFF, value >> 24 & 0xFF);
        return hex;
    }
    static std::string text(int32_t value) {
        std::string hex;
        for (const char digit : std::to_string(value)) hex += {'3', digit};
        return hex + "00";
    }

    int32_t mMarker = 1000;
};

// Both ways in which uevents come. The kernel's reach all processes of the machine, and the ones
// that other docks have it send reach ours.
class EventsTest : public testing::TestWithParam<Uevents> {
  protected:
    void SetUp() override {
        if (GetParam() == Uevents::kKernel) {
            const std::string missing = whyNoKernelUevents();
            if (!missing.empty()) GTEST_SKIP() << missing;
        }
        mUp = std::make_unique<SubscribedSystem>(GetParam());
    }
    void TearDown() override {
        if (mUp == nullptr) return;
        EXPECT_EQ("", mUp->system.complaint());
        mUp.reset();
        EXPECT_TRUE(hasNoChildren());
    }

    // The calls for a uevent; tries again when others' uevents came in between.
    Calls callsOf(const std::string& lines, size_t driverUevents) {
        for (int attempt = 0; attempt < 20; ++attempt) {
            if (GetParam() == Uevents::kSocket) return mUp->callsOf(lines);
            UeventWatch watch;
            const Calls calls = mUp->callsOf(lines);
            // The two that end it are ours too.
            if (watch.takeDriverUevents() == driverUevents + 2) return calls;
        }
        ADD_FAILURE() << "other processes keep sending uevents of chargers";
        return {};
    }

    std::unique_ptr<SubscribedSystem> mUp;
};

TEST_P(EventsTest, EachUeventCallsExactlyTheSubscribersItShould) {
    struct Case {
        const char* lines;
        Calls calls;
        size_t driverUevents;
    };
    for (const Case& one : {
             Case{"SOURCE=RTX DRIVER=p9221", {1, 0, 0}, 1},
             Case{"SOURCE=WLC DRIVER=p9221", {0, 1, 0}, 1},
             Case{"SOURCE=WLC_OFF DRIVER=p9221", {0, 1, 0}, 1},
             Case{"SOURCE=FAN DRIVER=p9221", {0, 0, 1}, 1},
             Case{"DRIVER=p9221", {1, 1, 1}, 1},
             Case{"SOURCE=RTX DRIVER=p9221 DRIVER=p9221", {2, 0, 0}, 1},
             Case{"DRIVER=p9221 SOURCE=FAN DRIVER=p9221", {1, 1, 2}, 1},
             Case{"SOURCE=RTX", {0, 0, 0}, 0},
             Case{"SOURCE=FAN DRIVER=other", {0, 0, 0}, 0},
             Case{"NAME=value", {0, 0, 0}, 0},
         }) {
        EXPECT_EQ(one.calls, callsOf(one.lines, one.driverUevents)) << one.lines;
    }
}

TEST_P(EventsTest, ChargingOffIsAlignment3OnceAndChargingSetsTheProperty) {
    ChargerSystem& system = mUp->system;
    const auto property = [] { return run({program("getprop"), "vendor.wlcservice.start"}).out; };
    EXPECT_EQ("\n", property());
    system.dock("answer getWLCAlignment 01000500000000000000");
    mUp->send("SOURCE=WLC_OFF DRIVER=p9221");
    ASSERT_TRUE(mUp->align->received.waitForCount(1));
    EXPECT_EQ("\n", property());
    mUp->send("SOURCE=WLC DRIVER=p9221");
    ASSERT_TRUE(mUp->align->received.waitForCount(2));
    const auto seen = mUp->align->received.all();
    EXPECT_EQ(3, seen[0].status);
    EXPECT_EQ(1, seen[1].status);
    EXPECT_EQ(5, seen[1].value1);
    EXPECT_EQ("1\n", property());
}

std::string nameOf(const testing::TestParamInfo<Uevents>& info) {
    return info.param == Uevents::kKernel ? "Kernel" : "Socket";
}
INSTANTIATE_TEST_SUITE_P(Uevents, EventsTest, testing::Values(Uevents::kKernel, Uevents::kSocket),
                         nameOf);

class KernelEventsTest : public EventsTest {
  protected:
    NetlinkSocket netlink() {
        NetlinkSocket found;
        EXPECT_TRUE(findUeventSocket(mUp->system.pid(), &found));
        return found;
    }

    // A uevent as a process would forge it, to all listeners or to the service alone.
    static bool forge(unsigned group, unsigned port) {
        const unique_fd socket(
            ::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT));
        sockaddr_nl to{};
        to.nl_family = AF_NETLINK;
        to.nl_groups = group;
        to.nl_pid = port;
        constexpr char kMessage[] = "change@/devices/x\0SOURCE=RTX\0DRIVER=p9221";
        return sendto(socket.get(), kMessage, sizeof(kMessage), 0, reinterpret_cast<sockaddr*>(&to),
                      sizeof(to)) == sizeof(kMessage);
    }

    KernelUevents kernel;
};

TEST_P(KernelEventsTest, MessageOfAProcessIsRefusedLoggedAndForgotten) {
    const size_t before = mUp->system.countInLog(kRefused);
    ASSERT_TRUE(forge(0, netlink().port));
    ASSERT_TRUE(mUp->system.waitForLog(kRefused, before + 1));
    ASSERT_TRUE(forge(1, 0));
    ASSERT_TRUE(mUp->system.waitForLog(kRefused, before + 2));
    EXPECT_EQ(Calls({1, 0, 0}), callsOf("SOURCE=RTX DRIVER=p9221", 1));
}

TEST_P(KernelEventsTest, FloodThatTheKernelKeepsLosesNoneOfOurs) {
    const size_t before = mUp->counts().fan;
    size_t own = 0;
    for (int i = 0; i < kPacedUevents; ++i) {
        ASSERT_TRUE(kernel.send("FLOOD=1"));
        if (i % kUeventsThatFit != 0) continue;
        ASSERT_TRUE(kernel.send("SOURCE=FAN DRIVER=p9221"));
        ++own;
        ASSERT_TRUE(eventually([&] { return netlink().waiting == 0; }));
    }
    // Nothing, unless other processes send more than there is room for.
    const size_t dropped = netlink().dropped;
    mUp->finishEvents();
    EXPECT_GE(mUp->counts().fan - before - 1 + dropped, own);
}

TEST_P(KernelEventsTest, OverflowIsLoggedOnceAndEventsGoOn) {
    const size_t before = mUp->system.countInLog(kRefused);
    ASSERT_EQ(0, kill(mUp->system.pid(), SIGSTOP));
    ASSERT_TRUE(eventually([&] {
        EXPECT_TRUE(kernel.send("FLOOD=1"));
        return netlink().dropped > 100;
    }));
    ASSERT_EQ(0, kill(mUp->system.pid(), SIGCONT));
    ASSERT_TRUE(eventually([&] { return netlink().waiting == 0; }));
    EXPECT_EQ(Calls({0, 0, 1}), callsOf("SOURCE=FAN DRIVER=p9221", 1));
    EXPECT_EQ(before + 1, mUp->system.countInLog(kRefused));
}

INSTANTIATE_TEST_SUITE_P(Uevents, KernelEventsTest, testing::Values(Uevents::kKernel), nameOf);

}  // namespace
}  // namespace charger_system
