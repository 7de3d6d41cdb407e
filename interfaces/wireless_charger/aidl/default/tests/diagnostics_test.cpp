// SPDX-License-Identifier: Apache-2.0
// The state report, character for character; what the shell commands and the EDS test do.
#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using DumpTest = ChargerTest;

TEST_F(DumpTest, SectionTellsHowTheChargerIsUsed) {
    using Values = std::map<int32_t, uint32_t>;
    const Values kNone;
    const Values kDock = {{7, 0xA0ABCDEF}, {5, 0x72},       {8, 0xFFFFFFFD},
                          {2, 15000},      {3, 0xFFFFFFFE}, {4, 10}};
    const std::string kNothing = "  It is not working now\n";
    const std::string kReverse = "  Reverse charging status:\n";
    const std::string kDevice = kReverse + "    prmc = 0x72\n    device level = 55\n";
    const std::string kCharging =
        "  Charging status:\n"
        "    id = 0xabcdef\n"
        "    GetInfoSupported = Y\n"
        "    ptmc = 0x72, product = -3\n"
        "    max power: 15000, negotiated power: -2\n"
        "    limit reason: 10\n";
    const struct {
        Values values;
        const char *mode, *connected, *error;
        std::string section;
    } kCases[] = {
        {kNone, "off", "", "0", kNothing},
        {kDock, "active", "connected", "0", kDevice},  // reverse transmit is what counts
        {kNone, "active", "", "3", kReverse + "    error type = 3\n"},
        {kDock, "active", "", "0", kReverse + "    active but not connected\n"},
        {kNone, "off", "connected", "9", kDevice},
        {kNone, "off", "", "9", kReverse + "    error type = 15\n"},
        {kDock, "available", "connected", "5", kCharging},
    };
    for (const auto& [values, mode, connected, error, section] : kCases) {
        protocol().values = values;
        protocol().rtx = {
            {2, {0, mode}}, {5, {0, connected}}, {8, {0, "72"}}, {9, {0, "55"}}, {10, {0, error}}};
        EXPECT_THAT(dump(), testing::StartsWith("IWirelessCharger Service:\n" + section +
                                                "  Number of callback registered:\n    RTx: 0\n"));
    }
    protocol().values = {{7, 0}};
    EXPECT_THAT(dump(), testing::HasSubstr("    GetInfoSupported = N\n"));
}

class ShellTest : public ChargerTest {
  protected:
    /** How many requests a command sends. */
    size_t sentBy(std::vector<const char*> args) {
        protocol().sent.clear();
        shell(std::move(args));
        return protocol().sent.size();
    }
};

TEST_F(ShellTest, WhatIsNotUnderstoodDoesNothing) {
    const std::vector<const char*> kCases[] = {
        {},
        {""},
        {"diag.maxpower ", "1"},
        {"DIAG.MAXPOWER", "1"},
        {"diag.maxpower"},
        {"diag.maxpower", "abc"},
        {"eds.tes", "1", "1", "1"},
        {"eds.test", "x", "1", "1"},
        {"eds.test", "1", "", "1"},
        {"eds.test", "1", "1", "z"},
        {"eds.test", "2", "0", "1"},
        {"eds.test", "65535", "1", "1"},
        {"eds.test", "1", "65536", "9"},
        {"eds.test", "1", "1", "93"},
        {"eds.test", "1", "1"},
    };
    shell({"diag.maxpower", "12abc"});
    for (const std::vector<const char*>& args : kCases) {
        EXPECT_EQ(sentBy(args), 0u) << testing::PrintToString(args);
        EXPECT_EQ(ask(&W::getPowerInformation).maxPower, 12);
    }
}

TEST_F(ShellTest, EdsLoopbackRunsEveryPassAndChecksItsData) {
    size_t wrong = SIZE_MAX;  // the position of a byte that is not sent back as it is
    protocol().answer = [&](const Sent& sent) {
        EXPECT_EQ(sent.channel, Sent::PROP);
        EXPECT_EQ(sent.type, 14);
        EXPECT_EQ(sent.timeLimit, 60000u);
        EXPECT_EQ(sent.capacity, 128u);
        fake::Answer answer{.bytes = sent.request};
        if (wrong < answer.bytes.size()) answer.bytes[wrong] ^= 1;
        return answer;
    };
    ASSERT_EQ(sentBy({"eds.test", "65537", "2", "92", "ignored"}), 2u);
    const Bytes first = protocol().sent[0].request;
    EXPECT_EQ(first.size(), 93u);
    EXPECT_EQ(first[0], 1);
    EXPECT_NE(first, protocol().sent[1].request);
    // Loop count and size are decimal.
    EXPECT_EQ(sentBy({"eds.test", "1", "010", "010"}), 10u);
    for (size_t at : {0, 10}) {
        wrong = at;
        EXPECT_EQ(sentBy({"eds.test", "1", "3", "010"}), 1u);
    }
}

TEST_F(ShellTest, EdsDataTestNeedsAZeroByte) {
    EXPECT_EQ(sentBy({"eds.test", "0", "1", "0"}), 1u);
    EXPECT_EQ(protocol().sent[0].request, hex("00"));
    const std::pair<fake::Answer, size_t> kCases[] = {
        {{.bytes = hex("00 01")}, 3}, {{.bytes = hex("01")}, 1}, {{.result = 3}, 1}};
    for (const auto& [answer, passes] : kCases) {
        fake::answerAll(answer);
        EXPECT_EQ(sentBy({"eds.test", "0", "3", "1"}), passes);
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
