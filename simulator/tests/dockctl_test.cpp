// SPDX-License-Identifier: Apache-2.0
//
// dockctl as a process, against a dock of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <testing/process.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "dock/words.h"
#include "served_dock.h"

namespace virtual_dock::testing {
namespace {

using test_support::Outcome;
using ::testing::HasSubstr;

class DockctlTest : public ::testing::Test {
  protected:
    DockctlTest() { setenv("ANDROID_HOST_DIR", served.folder.path().c_str(), 1); }

    // `arguments` as a shell would get them.
    static Outcome dockctl(const std::string& arguments) {
        return test_support::run({"/bin/sh", "-c", "\"$0\" " + arguments, DOCKCTL_PATH});
    }
    std::string scenario(const std::string& text) const {
        std::ofstream(served.folder / "scenario") << text;
        return served.folder / "scenario";
    }

    ServedDock served;
};

struct Case {
    std::string arguments;
    int exitStatus;
    std::string output;  // a part of it
};

TEST_F(DockctlTest, ExitCodesAndMessagesTellWhatHappened) {
    for (const Case& each : std::vector<Case>{
             {"status", 0,
              "phone charging, power 12000 of 15000, alignment 1, fan level 3, boost 31 C, puck "
              "28 C\nfirmware 1.0, reverse transmit available, 0 faults set, 0 requests so far\n\n"
              "dock.placed"},
             {"fan-level 5", 0, "uevent sent (socket)"},
             {"set fan.level=6 info.text0='a %b'", 0, "uevent sent"},
             {"get fan.level info.text0 dock.id", 0, "6\na %b\n0x61123456\n"},
             {"remove && \"$0\" rtx connect", 0, ""},
             {"status", 0, "no phone on the dock, "},
             {"status", 0, "available (device connected)"},
             {"align 1 0 -5 -7", 0, ""},
             {"place --id -2", 0, ""},
             {"get align.value1 dock.id", 0, "-5\n0xfffffffe\n"},
             {"fan-level many", 2, "\"many\" is not a value of fan.level"},
             {"rtx bogus", 2, "unknown rtx command \"bogus\"; there are: connect | disconnect"},
             {"rtx text 6 '\\q'", 2, "unknown escape"},
             {"rtx text 11 x", 2, "no request type \"11\""},
             {"record stop", 1, "nothing is being recorded"},
             {"record /nonexistent/trace", 1, "cannot create /nonexistent/trace: No such file"},
             {"record /tmp", 1, "name another file"},
             {"record trace && mv trace \"$ANDROID_HOST_DIR\"", 0, ""},
             {"record trace", 1, "is under way"},
             {"status", 0, "/trace, lines 1\n"},
             {"record stop", 0, "/trace: 1 lines\n"},
             {"statsu", 2, "did you mean \"status\""},
             {"--nonsense status", 2, "--nonsense"},
             {"", 2, "subcommand is required"},
             {"--version", 0, "dockctl " PROJECT_VERSION},
             {"--help", 0, "Exit codes"},
             {"set --help", 0,
              "Usage: dockctl set KEY=VALUE...\n\nKeys and their values:\n  dock."},
             {"fail --help", 0, " 7  timed out\n"}}) {
        const Outcome run = dockctl(each.arguments);
        EXPECT_EQ(run.exitStatus, each.exitStatus) << each.arguments;
        EXPECT_THAT(run.out + run.err, HasSubstr(each.output)) << each.arguments;
    }
    setenv("ANDROID_HOST_UEVENT_SOCKET", "/nonexistent/uevents", 1);
    EXPECT_THAT(dockctl("fan-level 4").err,
                HasSubstr("the dock changed, but no uevent was sent: no process listens"));
    const Outcome unsent = dockctl("uevent A=b");
    EXPECT_EQ(unsent.exitStatus, 1);
    EXPECT_THAT(unsent.err, HasSubstr("restart the service with $ANDROID_HOST_UEVENT_SOCKET"));
    setenv("ANDROID_HOST_DIR", (served.folder / "other").c_str(), 1);
    const Outcome none = dockctl("status");
    EXPECT_EQ(none.exitStatus, 3);
    EXPECT_THAT(none.err, HasSubstr("no virtual dock at"));
    EXPECT_EQ(nlohmann::json::parse(dockctl("--json status").out)["kind"], "no-dock");
}

TEST_F(DockctlTest, JsonIsAllThatStandsOnStandardOutput) {
    for (const char* arguments :
         {"--json status", "--json fan-level 3", "--json fan-level x", "--json keys",
          "--json statsu", "--json fan-level", "--json get fan.level", "--json run /nonexistent"}) {
        const Outcome run = dockctl(arguments);
        const auto reply = nlohmann::json::parse(run.out, nullptr, false);
        ASSERT_TRUE(reply.is_object()) << arguments << ": " << run.out;
        EXPECT_EQ(reply["ok"].get<bool>(), run.exitStatus == 0) << arguments;
        EXPECT_EQ(run.err, "") << arguments;
    }
}

TEST_F(DockctlTest, OutputThatIsNotTakenIsAnError) {
    perform(&served.dock, "bidi 12 0ffa");
    for (const char* arguments :
         {"status", "--json status", "keys", "get fan.level", "fan-level 3", "log", "--help",
          "set --help", "--version", "run - <<X\nkeys\nX\n"}) {
        const Outcome run = dockctl(">/dev/full " + std::string(arguments));
        EXPECT_EQ(run.exitStatus, 1) << arguments;
        EXPECT_THAT(run.err, HasSubstr("cannot write to standard output")) << arguments;
    }
}

TEST_F(DockctlTest, AwkwardTextsReachTheLibrary) {
    EXPECT_EQ(dockctl("rtx text 6 '4999\\n'").exitStatus, 0);
    EXPECT_EQ(perform(&served.dock, "rtx 6"), "4999\n");
    EXPECT_EQ(dockctl("rtx text 6 '\\xff\\x00 \"%'").exitStatus, 0);
    EXPECT_EQ(perform(&served.dock, "rtx 6"), std::string("\xff\0 \"%", 5));
    EXPECT_EQ(dockctl("rtx text 6 none").exitStatus, 0);
    EXPECT_EQ(perform(&served.dock, "rtx 6"), std::string("0\0", 2));
}

TEST_F(DockctlTest, LogShowsTimeMeaningAndBytes) {
    const auto now = [] { return test_support::run({"/bin/date", "+%m-%d %H:%M:%S"}).out; };
    const std::string before = now();
    perform(&served.dock, "bidi 12 0f0b5001");
    const Outcome run = dockctl("log");
    EXPECT_THAT(run.out, HasSubstr("sendBidiRequest:12  set fan 3 manual, level 336 -> ok: valid"));
    EXPECT_THAT(run.out, HasSubstr("sent  0f 0b 50 01\n"));
    const auto entry = nlohmann::json::parse(dockctl("--json log").out);
    EXPECT_EQ(entry["request"], "0f0b5001");
    EXPECT_EQ(entry["meaning"], "set fan 3 manual, level 336");
    const std::string time = entry["time"];
    EXPECT_GE(time, before);
    EXPECT_LE(time.substr(0, time.find('.')), now());
}

// Whatever a service may send and the dock be told to answer, the decoder gets through it.
TEST_F(DockctlTest, LogOfAnyBytesIsDecoded) {
    setenv("ANDROID_HOST_UEVENT_SOCKET", "/nonexistent/uevents", 1);
    const std::string bytes = "1aff038001c0007ffe0a";
    for (const Operation operation :
         {Operation::kBidiRequest, Operation::kPropRequest, Operation::kWpcAuthRequest}) {
        for (const int32_t type : {0, 12, 14, 16, 18, 23, 24, 25, 26, 27, 28, 29, 30, 31, -1}) {
            for (const size_t length : {size_t{0}, size_t{2}, bytes.size()}) {
                const ByteVector cut = parseHex(bytes.substr(0, length)).value();
                Fault fault{operation, type, Fault::Kind::kAnswer, 0, 0, cut, 1};
                served.dock.withFaults([&](Faults& faults) { return faults.set(fault); });
                served.dock.exchange({.operation = operation, .type = type, .request = cut});
            }
        }
    }
    const Outcome run = dockctl("log");
    EXPECT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("get certificate, slot 3, offset 1795, length 1920"));
}

TEST_F(DockctlTest, ScenarioRepeatsAndWaitsForTheService) {
    test_support::Process run({DOCKCTL_PATH, "run",
                               scenario("# three times\nrepeat 3\n  fan-level 4\nend\nsleep 0\n"
                                        "wait getWlcInfo:7 20\nset info.text0='b c'\n")});
    for (int i = 0; i < 3; ++i) EXPECT_EQ(served.nextUevent(), "SOURCE=FAN DRIVER=p9221");
    perform(&served.dock, "info 7");
    EXPECT_EQ(served.nextUevent(), "SOURCE=WLC DRIVER=p9221");
    EXPECT_EQ(run.wait().exitStatus, 0);
    expectSteps(&served.dock, {{"get info.text0", "b c"}});
}

TEST_F(DockctlTest, WrongScenarioTellsTheLineAndDoesNothing) {
    const std::string first = "fan-level 4\n";
    for (const Case& each : std::vector<Case>{{"end", 2, ":2: end without repeat"},
                                              {"repeat 2", 2, ":2: repeat without end"},
                                              {"repeat 0\nend", 2, ":2: \"0\" is not a count"},
                                              {"sleep soon", 2, ":2: \"soon\" is not a number of"},
                                              {"wait nothing", 2, "unknown operation \"nothing\""},
                                              {"wait getWlcInfo:x", 2, "no number for a type"},
                                              {"run x", 2, ":2: not in a scenario"},
                                              {"get 'x", 2, ":2: a quote without its end"}}) {
        const Outcome run = dockctl("run " + scenario(first + each.arguments + "\n"));
        EXPECT_EQ(run.exitStatus, each.exitStatus) << each.arguments;
        EXPECT_THAT(run.err, HasSubstr(each.output));
        EXPECT_EQ(served.nextUevent(0), "") << each.arguments;
    }
    const Outcome refused = dockctl("run " + scenario(first + "fan-level x\nfan-level 5\n"));
    EXPECT_EQ(refused.exitStatus, 2);
    EXPECT_THAT(refused.err, HasSubstr(":2: \"x\" is not a value"));
    expectSteps(&served.dock, {{"get fan.level", ":4}"}});
    const Outcome late = dockctl("run " + scenario("wait setQiId 0\n"));
    EXPECT_EQ(late.exitStatus, 1);
    EXPECT_THAT(late.err, HasSubstr(":1: no setQiId came within 0 s"));
}

}  // namespace
}  // namespace virtual_dock::testing
