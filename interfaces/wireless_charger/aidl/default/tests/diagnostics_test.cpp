// SPDX-License-Identifier: Apache-2.0
// The state report, the shell commands and the EDS test, character for character.
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerFanLevelChangedCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerInfoCallback.h>
#include <aidl/vendor/zorvak/wireless_charger/BnWirelessChargerRtxStatusCallback.h>
#include <stdio.h>

#include <functional>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using ndk::ScopedAStatus;

class DumpTest : public ChargerTest {
  protected:
    std::string dump(std::vector<const char*> args = {}) {
        FILE* file = tmpfile();
        EXPECT_EQ(charger->dump(fileno(file), args.data(), static_cast<uint32_t>(args.size())),
                  STATUS_OK);
        rewind(file);
        std::string text(20000, '\0');
        text.resize(fread(text.data(), 1, text.size(), file));
        fclose(file);
        return text;
    }
    void dock() {
        protocol().values = {{7, 0xA0ABCDEF}, {5, 0x72}, {8, -3}, {2, 15000}, {3, -2}, {4, 10}};
    }
    void rtx(const char* mode, const char* connected, const char* error) {
        protocol().rtx = {
            {2, {0, mode}}, {5, {0, connected}}, {8, {0, "72"}}, {9, {0, "55"}}, {10, {0, error}}};
    }
};

constexpr const char* kHead = "IWirelessCharger Service:\n";
constexpr const char* kNothing = "  It is not working now\n";
constexpr const char* kReverse = "  Reverse charging status:\n";
constexpr const char* kDevice = "    prmc = 0x72\n    device level = 55\n";
constexpr const char* kNoCallbacks =
    "  Number of callback registered:\n"
    "    RTx: 0\n"
    "    Alignment: 0\n"
    "    Fan level: 0\n"
    "  Dump registered interfaces: [\n"
    "  ]\n";

TEST_F(DumpTest, ReverseSectionInEveryState) {
    const struct {
        const char *mode, *connected, *error;
        std::string section;
    } kCases[] = {
        {"off", "", "0", kNothing},
        {"available", "connected", "0", kNothing},
        {"active", "connected", "0", std::string(kReverse) + kDevice},
        {"active", "connected", "3", std::string(kReverse) + kDevice},
        {"active", "", "3", std::string(kReverse) + "    error type = 3\n"},
        {"active", "", "0", std::string(kReverse) + "    active but not connected\n"},
        {"off", "connected", "9", std::string(kReverse) + kDevice},
        {"off", "", "9", std::string(kReverse) + "    error type = 15\n"},
    };
    for (const auto& [mode, connected, error, section] : kCases) {
        rtx(mode, connected, error);
        EXPECT_EQ(dump(), kHead + section + kNoCallbacks);
        if (std::string(mode) == "active") {
            dock();  // a dock is there too: reverse transmit is what counts
            EXPECT_EQ(dump(), kHead + section + kNoCallbacks);
            protocol().values.clear();
        }
    }
}

TEST_F(DumpTest, ChargingSection) {
    dock();
    rtx("available", "connected", "5");
    EXPECT_EQ(dump(), std::string(kHead) +
                          "  Charging status:\n"
                          "    id = 0xabcdef\n"
                          "    GetInfoSupported = Y\n"
                          "    ptmc = 0x72, product = -3\n"
                          "    max power: 15000, negotiated power: -2\n"
                          "    limit reason: 10\n" +
                          kNoCallbacks);
    protocol().values = {{7, 0}};
    EXPECT_EQ(dump(), std::string(kHead) +
                          "  Charging status:\n"
                          "    id = 0x0\n"
                          "    GetInfoSupported = N\n"
                          "    ptmc = 0x0, product = 0\n"
                          "    max power: -1, negotiated power: -1\n"
                          "    limit reason: 0\n" +
                          kNoCallbacks);
}

/** Writes its name and the arguments, and may do something first. */
template <typename Base>
struct Dumping : Base {
    explicit Dumping(std::string n) : name(std::move(n)) {}
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        if (action) action();
        dprintf(fd, "<%s", name.c_str());
        for (uint32_t i = 0; i < numArgs; i++) dprintf(fd, " %s", args[i]);
        dprintf(fd, ">\n");
        return STATUS_UNKNOWN_ERROR;
    }
    std::string name;
    std::function<void()> action;
};
struct Info : Dumping<BnWirelessChargerInfoCallback> {
    using Dumping::Dumping;
    ScopedAStatus alignChanged(const AlignInfo&) override { return ScopedAStatus::ok(); }
};
struct Rtx : Dumping<BnWirelessChargerRtxStatusCallback> {
    using Dumping::Dumping;
    ScopedAStatus statusChanged(const RtxStatusInfo&) override { return ScopedAStatus::ok(); }
};
struct Fan : Dumping<BnWirelessChargerFanLevelChangedCallback> {
    using Dumping::Dumping;
    ScopedAStatus fanLevelChanged(int32_t) override { return ScopedAStatus::ok(); }
};

TEST_F(DumpTest, SubscribersAreCountedAndDumpedInOrderAndMayChangeTheLists) {
    auto info1 = ndk::SharedRefBase::make<Info>("i1"), info2 = ndk::SharedRefBase::make<Info>("i2");
    auto rtx1 = ndk::SharedRefBase::make<Rtx>("r1");
    auto fan1 = ndk::SharedRefBase::make<Fan>("f1");
    charger->registerFanLevelChangedCallback(fan1);
    charger->registerCallback(info1);
    charger->registerRtxCallback(rtx1);
    info1->action = [&] {
        charger->unregisterCallback(info1);
        charger->registerCallback(info2);
    };
    const std::string before = std::string(kHead) + kNothing + "  Number of callback registered:\n";
    EXPECT_EQ(dump({"-a", "x y"}), before +
                                       "    RTx: 1\n    Alignment: 1\n    Fan level: 1\n"
                                       "  Dump registered interfaces: [\n"
                                       "<r1 -a x y>\n<i1 -a x y>\n<f1 -a x y>\n  ]\n");
    charger->registerCallback(info1);
    charger->unregisterRtxCallback(rtx1);
    info1->action = {};
    EXPECT_EQ(dump(), before +
                          "    RTx: 0\n    Alignment: 2\n    Fan level: 1\n"
                          "  Dump registered interfaces: [\n<i2>\n<i1>\n<f1>\n  ]\n");
}

TEST_F(DumpTest, UnwritableDescriptorDoesNoHarm) {
    EXPECT_EQ(charger->dump(-1, nullptr, 0), STATUS_OK);
}

class ShellTest : public ChargerTest {
  protected:
    std::vector<std::string> logged(std::vector<const char*> args) {
        log.take();
        shell(std::move(args));
        return log.take();
    }
    int maxPower() {
        PowerInfo info;
        charger->getPowerInformation(&info);
        return info.maxPower;
    }
    LogCapture log;
};

constexpr const char* kUnknown = "E unknown cmd and args\n";

TEST_F(ShellTest, UnknownCommandsAreOnlyLogged) {
    EXPECT_THAT(logged({}), ElementsAre("E Invalid argc: 0\n", kUnknown));
    for (const char* word :
         {"", "diag.maxpower ", "DIAG.MAXPOWER", "diag", "\xff\xfe", "eds.tes"}) {
        EXPECT_THAT(logged({word, "1", "1", "1"}), ElementsAre(kUnknown)) << word;
    }
    EXPECT_THAT(logged(std::vector<const char*>(10000, "x")), ElementsAre(kUnknown));
}

TEST_F(ShellTest, OverridesTakeNumbersOfEveryBase) {
    const struct {
        const char* text;
        int value;
    } kCases[] = {{"0x1F4", 500}, {"0755", 493},     {"12abc", 12},
                  {"-1", -1},     {"4294967297", 1}, {"0xFFFFFFFF00000007", 7},
                  {" +5", 5}};
    for (const auto& [text, value] : kCases) {
        EXPECT_THAT(logged({"diag.maxpower", text, "ignored"}),
                    ElementsAre("I set diag.maxpower override to: " + std::to_string(value)));
        EXPECT_EQ(maxPower(), value) << text;
    }
    for (const char* text : {"abc", "", "-", "\x80"}) {
        EXPECT_THAT(logged({"diag.maxpower", text}), ElementsAre(kUnknown));
        EXPECT_EQ(maxPower(), 5);
    }
    EXPECT_THAT(logged({"diag.limitreason"}),
                ElementsAre("E missing value for diag.limitreason\n", kUnknown));
}

TEST_F(ShellTest, CertificateRequestLengthIsStoredWhateverItIs) {
    const auto firstPiece = [&] {
        Bytes out;
        charger->getWpcAuthCertificate(0, 1, 300, &out);
        const Bytes request = takeRequests().at(0);
        return (request[1] & 0x1C) << 6 | request[3];
    };
    EXPECT_EQ(firstPiece(), 127);
    EXPECT_THAT(logged({"cert.request_length", "200"}),
                ElementsAre("I certificate length request: 200"));
    EXPECT_EQ(firstPiece(), 200);
    EXPECT_THAT(logged({"cert.request_length"}), ElementsAre(kUnknown));
    EXPECT_EQ(firstPiece(), 200);
    shell({"cert.request_length", "0x10"});  // decimal only: 0
    EXPECT_EQ(firstPiece(), 0);
    shell({"cert.request_length", "-1"});
    EXPECT_EQ(firstPiece(), 300);
    EXPECT_THAT(logged({"cert.request_length", "x"}),
                ElementsAre("I certificate length request: x", kUnknown));
    EXPECT_EQ(firstPiece(), 0);
}

TEST_F(ShellTest, EdsArgumentsAreCheckedInOrder) {
    const struct {
        std::vector<const char*> args;
        const char* line;
    } kCases[] = {
        {{"x", "1", "1"}, kUnknown},
        {{"1", "", "1"}, kUnknown},
        {{"1", "1", "z"}, kUnknown},
        {{"2", "0", "93"}, "E invalid eds test mode\n"},
        {{"65535", "1", "1"}, "E invalid eds test mode\n"},
        {{"1", "65536", "93"}, "E invalid eds test loop\n"},
        {{"1", "1", "93"}, "E invalid eds test size, over 92\n"},
    };
    for (auto [args, line] : kCases) {
        const std::string request = std::string("I eds test request, mode: ") + args[0] +
                                    ", loop: " + args[1] + ", size: " + args[2];
        args.insert(args.begin(), "eds.test");
        EXPECT_THAT(logged(args), ElementsAre(request, line));
    }
    EXPECT_THAT(logged({"eds.test", "1", "1"}), ElementsAre(kUnknown));
    EXPECT_THAT(protocol().sent, IsEmpty());
}

TEST_F(ShellTest, EdsLoopbackRunsEveryPassAndChecksTheAnswer) {
    protocol().answer = [](const Sent& sent) { return fake::Answer{.bytes = sent.request}; };
    EXPECT_THAT(logged({"eds.test", "65537", "2", "92", "ignored"}),
                ElementsAre("I eds test request, mode: 65537, loop: 2, size: 92",
                            "I eds test mode: 1, loop: 1/ 2\n", "I eds test mode: 1, loop: 2/ 2\n",
                            "E eds test done\n"));
    ASSERT_EQ(protocol().sent.size(), 2u);
    const Sent& first = protocol().sent[0];
    EXPECT_EQ(first.channel, Sent::PROP);
    EXPECT_EQ(first.type, 14);
    EXPECT_EQ(first.timeLimit, 60000u);
    EXPECT_EQ(first.capacity, 128u);
    EXPECT_EQ(first.request.size(), 93u);
    EXPECT_EQ(first.request[0], 1);
    EXPECT_NE(first.request, protocol().sent[1].request);

    // One wrong byte, the last.
    protocol().answer = [](const Sent& sent) {
        Bytes bytes = sent.request;
        bytes.back() ^= 1;
        return fake::Answer{.bytes = bytes};
    };
    EXPECT_THAT(logged({"eds.test", "1", "3", "5"}),
                ElementsAre(testing::_, "I eds test mode: 1, loop: 1/ 3\n",
                            "E eds test loopback error\n", "E eds test done\n"));
}

TEST_F(ShellTest, EdsDataTestNeedsAZeroByte) {
    EXPECT_THAT(logged({"eds.test", "0", "1", "0"}),
                ElementsAre(testing::_, "I eds test mode: 0, loop: 1/ 1\n", "E eds test done\n"));
    EXPECT_THAT(takeRequests(), ElementsAre(hex("00")));
    // The area is kept from pass to pass: the second answer is empty.
    int pass = 0;
    protocol().answer = [&](const Sent&) {
        return fake::Answer{.bytes = pass++ == 0 ? hex("00 01") : Bytes()};
    };
    EXPECT_THAT(logged({"eds.test", "0", "2", "1"}),
                testing::Not(testing::Contains("E eds test data error\n")));
    fake::answerAll({.bytes = hex("01")});
    EXPECT_THAT(logged({"eds.test", "0", "9", "1"}),
                ElementsAre(testing::_, "I eds test mode: 0, loop: 1/ 9\n",
                            "E eds test data error\n", "E eds test done\n"));
    fake::answerAll({.result = 3});
    EXPECT_THAT(logged({"eds.test", "0", "9", "1"}),
                ElementsAre(testing::_, "I eds test mode: 0, loop: 1/ 9\n", "E eds test error\n",
                            "E eds test done\n"));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
