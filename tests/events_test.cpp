// SPDX-License-Identifier: Apache-2.0
// From a uevent to subscribers in another process than the service.
#include <android/binder_process.h>
#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <signal.h>
#include <sys/socket.h>
#include <testing/kernel_uevents.h>
#include <testing/subscriptions.h>
#include <testing/system_test.h>

#include <cstdio>
#include <fstream>
#include <iostream>

namespace test_support {
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

// In hexadecimal: four bytes, least significant first; decimal digits with a final zero.
std::string bytesOf(int32_t value) {
    char hex[16];
    std::snprintf(hex, sizeof(hex), "%08x", __builtin_bswap32(static_cast<uint32_t>(value)));
    return hex;
}
std::string textOf(int32_t value) {
    std::string hex;
    for (const char digit : std::to_string(value)) hex += {'3', digit};
    return hex + "00";
}

// The service with one subscriber of each kind, and both ways in which uevents come.
class EventsTest : public SystemTest, public testing::WithParamInterface<Uevents> {
  protected:
    EventsTest() : SystemTest(GetParam()) {}

    void SetUp() override {
        if (GetParam() == Uevents::kKernel) {
            const std::string missing = whyNoKernelUevents();
            if (!missing.empty()) GTEST_SKIP() << missing;
            mKernel = std::make_unique<KernelUevents>();
        }
        system.start();
        ABinderProcess_startThreadPool();
        mClient = system.connect();
        ASSERT_TRUE(mClient->registerCallback(mAlign).isOk());
        ASSERT_TRUE(mClient->registerRtxCallback(mRtx).isOk());
        ASSERT_TRUE(mClient->registerFanLevelChangedCallback(mFan).isOk());
    }

    // By the dock, through the kernel or the datagram socket. The kernel sends letters and digits
    // only; SOURCE=WLC_OFF it sends as the name of an interface.
    void send(const std::string& lines) {
        const Json reply = system.dock("uevent " + lines);
        ASSERT_EQ(true, reply["uevent"]["sent"]) << reply;
    }

    // Waits until every subscriber has been told everything that the service has been sent. That
    // charging is off the alignment's subscribers learn whatever the dock says, so with that known
    // the event thread has nothing older in its hands; then a value that only an event from now on
    // can bring comes to each subscriber, behind all older ones.
    void finishEvents() {
        const int32_t off = ++mMarker;
        system.dock("answer getWLCAlignment 01" + bytesOf(off).substr(0, 2) + bytesOf(off) +
                    "00000000");
        send("SOURCE=WLC_OFF DRIVER=p9221");
        ASSERT_TRUE(mAlign->waitFor([&](const charger::AlignInfo& info) {
            return info.status == 3 && info.value1 == off;
        }));
        const int32_t all = ++mMarker;
        system.dock("answer getWLCAlignment 0100" + bytesOf(all) + "00000000");
        system.dock("answer getWlcInfo:6 " + bytesOf(all));
        system.dock("answer sendRtxRequest:9 " + textOf(all));
        send("DRIVER=p9221");
        ASSERT_TRUE(
            mAlign->waitFor([&](const charger::AlignInfo& info) { return info.value1 == all; }));
        ASSERT_TRUE(mRtx->waitFor(
            [&](const charger::RtxStatusInfo& info) { return info.deviceLevel == all; }));
        ASSERT_TRUE(mFan->waitFor([&](const int32_t& level) { return level == all; }));
    }

    Calls counts() const { return {mRtx->all().size(), mAlign->all().size(), mFan->all().size()}; }

    // Which subscribers a uevent calls, once the service is through with it. A process that is no
    // test may have the kernel send uevents meanwhile: then it is tried again.
    Calls callsOf(const std::string& lines, size_t driverUevents) {
        for (int attempt = 0; attempt < 20; ++attempt) {
            UeventWatch watch;
            const Calls before = counts();
            send(lines);
            finishEvents();
            const Calls now = counts();
            // The two that end it are not counted: one call of each kind, two of alignment.
            if (mKernel == nullptr || watch.take().driver == driverUevents + 2) {
                return {now.rtx - before.rtx - 1, now.align - before.align - 2,
                        now.fan - before.fan - 1};
            }
        }
        ADD_FAILURE() << "other processes keep sending uevents of chargers";
        return {};
    }

    std::unique_ptr<KernelUevents> mKernel;
    std::shared_ptr<charger::IWirelessCharger> mClient;
    const std::shared_ptr<AlignSubscriber> mAlign = ndk::SharedRefBase::make<AlignSubscriber>();
    const std::shared_ptr<RtxSubscriber> mRtx = ndk::SharedRefBase::make<RtxSubscriber>();
    const std::shared_ptr<FanSubscriber> mFan = ndk::SharedRefBase::make<FanSubscriber>();
    int32_t mMarker = 1000;
};

TEST_P(EventsTest, EachUeventCallsExactlyTheSubscribersItShould) {
    struct Case {
        const char* lines;
        Calls calls;
        size_t driverUevents = 1;
    };
    for (const Case& one : {
             Case{"SOURCE=RTX DRIVER=p9221", {1, 0, 0}},
             Case{"SOURCE=WLC DRIVER=p9221", {0, 1, 0}},
             Case{"SOURCE=WLC_OFF DRIVER=p9221", {0, 1, 0}},
             Case{"SOURCE=FAN DRIVER=p9221", {0, 0, 1}},
             Case{"DRIVER=p9221", {1, 1, 1}},
             Case{"SOURCE=RTX DRIVER=p9221 DRIVER=p9221", {2, 0, 0}},
             Case{"DRIVER=p9221 SOURCE=FAN DRIVER=p9221", {1, 1, 2}},
             Case{"SOURCE=RTX", {0, 0, 0}, 0},
             Case{"SOURCE=FAN DRIVER=other", {0, 0, 0}, 0},
             Case{"NAME=value", {0, 0, 0}, 0},
         }) {
        EXPECT_EQ(one.calls, callsOf(one.lines, one.driverUevents)) << one.lines;
    }
}

// Through the socket alone: a uevent of another process on this machine would be one too many.
class ChargingEventsTest : public EventsTest {};

TEST_P(ChargingEventsTest, ChargingOffIsAlignment3OnceAndChargingSetsTheProperty) {
    const auto property = [] { return run({program("getprop"), "vendor.wlcservice.start"}).out; };
    EXPECT_EQ("\n", property());
    system.dock("answer getWLCAlignment 01000500000000000000");
    send("SOURCE=WLC_OFF DRIVER=p9221");
    ASSERT_TRUE(mAlign->waitForCount(1));
    EXPECT_EQ("\n", property());
    send("SOURCE=WLC DRIVER=p9221");
    ASSERT_TRUE(mAlign->waitForCount(2));
    const auto seen = mAlign->all();
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
INSTANTIATE_TEST_SUITE_P(Uevents, ChargingEventsTest, testing::Values(Uevents::kSocket), nameOf);

class KernelEventsTest : public EventsTest {
  protected:
    NetlinkSocket netlink() {
        NetlinkSocket found;
        EXPECT_TRUE(findUeventSocket(system.pid(), &found));
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
};

TEST_P(KernelEventsTest, MessageOfAProcessIsRefusedLoggedAndForgotten) {
    const size_t before = system.countInLog(kRefused);
    ASSERT_TRUE(forge(0, netlink().port));
    ASSERT_TRUE(system.waitForLog(kRefused, before + 1));
    ASSERT_TRUE(forge(1, 0));
    ASSERT_TRUE(system.waitForLog(kRefused, before + 2));
    EXPECT_EQ(Calls({1, 0, 0}), callsOf("SOURCE=RTX DRIVER=p9221", 1));
}

TEST_P(KernelEventsTest, RecordingKeepsTheKernelsMessagesOfDriversAlone) {
    const std::string trace = system.folder() + "/trace";
    system.dock("record " + trace);
    ASSERT_TRUE(forge(1, 0));
    ASSERT_TRUE(mKernel->send("FLOOD=1"));
    ASSERT_TRUE(mKernel->send("SOURCE=FAN DRIVER=p9221"));
    EXPECT_TRUE(eventually([&] {
        std::ifstream file(trace);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(std::string::npos, text.find("@/devices/x"));
        EXPECT_EQ(std::string::npos, text.find("FLOOD"));
        return text.find("SOURCE=FAN\",\"SYNTH_ARG_DRIVER=p9221") != std::string::npos;
    }));
    system.dock("record stop");
}

TEST_P(KernelEventsTest, FloodThatTheKernelKeepsLosesNoneOfOurs) {
    const size_t before = counts().fan;
    size_t own = 0;
    for (int i = 0; i < kPacedUevents; ++i) {
        ASSERT_TRUE(mKernel->send("FLOOD=1"));
        if (i % kUeventsThatFit != 0) continue;
        ASSERT_TRUE(mKernel->send("SOURCE=FAN DRIVER=p9221"));
        ++own;
        ASSERT_TRUE(eventually([&] { return netlink().waiting == 0; }));
    }
    // Nothing, unless other processes send more than there is room for.
    const size_t dropped = netlink().dropped;
    finishEvents();
    EXPECT_GE(counts().fan - before - 1 + dropped, own);
}

TEST_P(KernelEventsTest, OverflowIsLoggedOnceAndEventsGoOn) {
    const size_t before = system.countInLog(kRefused);
    ASSERT_EQ(0, kill(system.pid(), SIGSTOP));
    ASSERT_TRUE(eventually([&] {
        EXPECT_TRUE(mKernel->send("FLOOD=1"));
        return netlink().dropped > 100;
    }));
    UeventWatch watch;
    ASSERT_EQ(0, kill(system.pid(), SIGCONT));
    ASSERT_TRUE(eventually([&] { return netlink().waiting == 0; }));
    EXPECT_EQ(Calls({0, 0, 1}), callsOf("SOURCE=FAN DRIVER=p9221", 1));
    // Other tests' processes forge messages, too.
    const size_t errors = system.countInLog(kRefused) - before;
    EXPECT_GE(errors, 1u);
    EXPECT_LE(errors, 1 + watch.take().forged);
}

INSTANTIATE_TEST_SUITE_P(Uevents, KernelEventsTest, testing::Values(Uevents::kKernel), nameOf);

}  // namespace
}  // namespace test_support
