// SPDX-License-Identifier: Apache-2.0
// The state report, character for character; what the shell commands and the EDS test do.
#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

class DumpTest : public ChargerTest {
  protected:
    void rtx(const char* mode, const char* connected, const char* error) {
        protocol().rtx = {
            {2, {0, mode}}, {5, {0, connected}}, {8, {0, "72"}}, {9, {0, "55"}}, {10, {0, error}}};
    }
    void expectReport(const std::string& section) {
        EXPECT_EQ(dump(), "IWirelessCharger Service:\n" + section +
                              "  Number of callback registered:\n"
                              "    RTx: 0\n"
                              "    Alignment: 0\n"
                              "    Fan level: 0\n"
                              "  Dump registered interfaces: [\n"
                              "  ]\n");
    }
    const std::map<int32_t, uint32_t> kDock = {{7, 0xA0ABCDEF}, {5, 0x72},       {8, 0xFFFFFFFD},
                                               {2, 15000},      {3, 0xFFFFFFFE}, {4, 10}};
};

TEST_F(DumpTest, ReverseSectionInEveryState) {
    const std::string kNothing = "  It is not working now\n";
    const std::string kReverse = "  Reverse charging status:\n";
    const std::string kDevice = kReverse + "    prmc = 0x72\n    device level = 55\n";
    const struct {
        const char *mode, *connected, *error;
        std::string section;
    } kCases[] = {
        {"off", "", "0", kNothing},
        {"available", "connected", "0", kNothing},
        {"active", "connected", "0", kDevice},
        {"active", "connected", "3", kDevice},
        {"active", "", "3", kReverse + "    error type = 3\n"},
        {"active", "", "0", kReverse + "    active but not connected\n"},
        {"off", "connected", "9", kDevice},
        {"off", "", "9", kReverse + "    error type = 15\n"},
    };
    for (const auto& [mode, connected, error, section] : kCases) {
        rtx(mode, connected, error);
        protocol().values.clear();
        expectReport(section);
        if (std::string_view(mode) != "active") continue;
        protocol().values = kDock;  // a dock is there too: reverse transmit is what counts
        expectReport(section);
    }
}

TEST_F(DumpTest, ChargingSection) {
    protocol().values = kDock;
    rtx("available", "connected", "5");
    expectReport(
        "  Charging status:\n"
        "    id = 0xabcdef\n"
        "    GetInfoSupported = Y\n"
        "    ptmc = 0x72, product = -3\n"
        "    max power: 15000, negotiated power: -2\n"
        "    limit reason: 10\n");
    protocol().values = {{7, 0}};
    EXPECT_THAT(dump(), testing::HasSubstr("    GetInfoSupported = N\n"));
}

class ShellTest : public ChargerTest {
  protected:
    int maxPower() { return ask(&W::getPowerInformation).maxPower; }
    /** How many requests a command sends. */
    size_t sentBy(std::vector<const char*> args) {
        shell(std::move(args));
        return takeRequests().size();
    }
};

TEST_F(ShellTest, UnknownCommandsDoNothing) {
    EXPECT_EQ(sentBy({}), 0u);
    for (const char* word : {"", "diag.maxpower ", "DIAG.MAXPOWER", "diag", "eds.tes"}) {
        EXPECT_EQ(sentBy({word, "1", "1", "1"}), 0u) << word;
    }
    EXPECT_EQ(maxPower(), -1);
}

TEST_F(ShellTest, OverridesTakeNumbersOfEveryBase) {
    const std::pair<const char*, int> kCases[] = {{"0x1F4", 500},    {"0755", 493},
                                                  {"12abc", 12},     {"-1", -1},
                                                  {"4294967297", 1}, {"0xFFFFFFFF00000007", 7},
                                                  {" +5", 5}};
    for (const auto& [text, value] : kCases) {
        shell({"diag.maxpower", text, "ignored"});
        EXPECT_EQ(maxPower(), value) << text;
    }
    shell({"diag.maxpower"});
    for (const char* text : {"abc", "", "-", "\x80"}) {
        shell({"diag.maxpower", text});
        EXPECT_EQ(maxPower(), 5);
    }
}

TEST_F(ShellTest, EdsWithWrongArgumentsSendsNothing) {
    const std::vector<const char*> kCases[] = {
        {"x", "1", "1"},     {"1", "", "1"},      {"1", "1", "z"},  {"2", "0", "1"},
        {"65535", "1", "1"}, {"1", "65536", "9"}, {"1", "1", "93"}, {"1", "1"},
    };
    for (std::vector<const char*> args : kCases) {
        args.insert(args.begin(), "eds.test");
        EXPECT_EQ(sentBy(args), 0u) << testing::PrintToString(args);
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
    shell({"eds.test", "65537", "2", "92", "ignored"});
    const auto requests = takeRequests();
    ASSERT_THAT(requests, ElementsAre(testing::SizeIs(93), testing::SizeIs(93)));
    EXPECT_EQ(requests[0][0], 1);
    EXPECT_NE(requests[0], requests[1]);
    // Loop count and size are decimal.
    EXPECT_EQ(sentBy({"eds.test", "1", "010", "010"}), 10u);
    for (size_t at : {0, 10}) {
        wrong = at;
        EXPECT_EQ(sentBy({"eds.test", "1", "3", "010"}), 1u);
    }
    limitFread(4);
    EXPECT_EQ(sentBy({"eds.test", "1", "1", "5"}), 0u);
    limitFread(SIZE_MAX);
}

TEST_F(ShellTest, EdsDataTestNeedsAZeroByte) {
    shell({"eds.test", "0", "1", "0"});
    EXPECT_THAT(takeRequests(), ElementsAre(hex("00")));
    // The area is kept from pass to pass: the second answer is empty.
    int pass = 0;
    protocol().answer = [&](const Sent&) {
        return fake::Answer{.bytes = pass++ == 0 ? hex("00 01") : Bytes()};
    };
    EXPECT_EQ(sentBy({"eds.test", "0", "2", "1"}), 2u);
    for (const fake::Answer& wrong : {fake::Answer{.bytes = hex("01")}, {.result = 3}}) {
        fake::answerAll(wrong);
        EXPECT_EQ(sentBy({"eds.test", "0", "9", "1"}), 1u);
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
