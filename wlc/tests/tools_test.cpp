// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <signal.h>

#include "service_fixture.h"

namespace wlc {
namespace {

using testing::HasSubstr;

constexpr const char* kName = "vendor.zorvak.wireless_charger.IWirelessCharger/default";

// The tools that people know from a device's shell.
class ToolsTest : public ServiceTest {
  protected:
    static std::string tool(const char* name) { return std::string(TOOLS_FOLDER "/") + name; }
};

TEST_F(ToolsTest, ServedNamesAreListedAndDeadOnesAreNot) {
    const std::string listed = std::string("Currently running services:\n  ") + kName + "\n";
    EXPECT_EQ(listed, run({tool("dumpsys"), "-l"}).out);
    EXPECT_EQ(listed, run({tool("cmd"), "-l"}).out);
    EXPECT_EQ(std::string("Found 1 services:\n0\t") + kName + "\n",
              run({tool("service"), "list"}).out);
    EXPECT_EQ(0, run({tool("service"), "check", kName}).exitStatus);
    killService();
    EXPECT_EQ("Found 0 services:\n", run({tool("service"), "list"}).out);
    EXPECT_EQ(1, run({tool("service"), "check", kName}).exitStatus);
}

TEST_F(ToolsTest, DumpsysShowsOneServiceOrAll) {
    const Outcome one = run({tool("dumpsys"), kName, "-a", "--proto"});
    EXPECT_EQ(0, one.exitStatus) << one.err;
    EXPECT_THAT(one.out, testing::StartsWith("IWirelessCharger Service:\n"));
    EXPECT_EQ(wlc("dump").out, one.out);
    const Outcome all = run({tool("dumpsys")});
    EXPECT_EQ(0, all.exitStatus);
    EXPECT_THAT(all.out, HasSubstr(std::string("DUMP OF SERVICE ") + kName + ":\nIWireless"));
    const Outcome skipped = run({tool("dumpsys"), "--skip", kName});
    EXPECT_EQ(std::string::npos, skipped.out.find("DUMP OF"));
    const Outcome none = run({tool("dumpsys"), "no.such.IService/default"});
    EXPECT_EQ(1, none.exitStatus);
    EXPECT_EQ("Can't find service: no.such.IService/default\n", none.err);
}

TEST_F(ToolsTest, DumpsysGivesUpOnAServiceThatHangs) {
    Process subscriber(wlcCommand("watch"));
    ASSERT_TRUE(subscriber.waitForError("watching"));
    // The dump asks every subscriber, and this one is stopped.
    subscriber.signal(SIGSTOP);
    const Outcome outcome = run({tool("dumpsys"), "-T", "300", kName});
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_THAT(outcome.out, HasSubstr("IWirelessCharger Service:\n"));
    EXPECT_THAT(outcome.out, HasSubstr("DUMP TIMEOUT (300ms) EXPIRED"));
    EXPECT_EQ(0, wlc("fan get 0").exitStatus) << "the service is held up";
    subscriber.signal(SIGCONT);
}

TEST_F(ToolsTest, CmdRunsShellCommandsAndWaitsForAService) {
    EXPECT_EQ(0, run({tool("cmd"), kName, "diag.negopower", "77"}).exitStatus);
    EXPECT_EQ(77, wlcJson("power")["negotiatedPower"]);
    stopService();
    const Outcome none = run({tool("cmd"), kName, "diag.negopower", "78"});
    EXPECT_EQ(20, none.exitStatus);
    EXPECT_EQ(std::string("cmd: Can't find service: ") + kName + "\n", none.err);
    Process waiting({tool("cmd"), "-w", kName, "diag.negopower", "79"});
    startService();
    EXPECT_EQ(0, waiting.wait().exitStatus);
    EXPECT_EQ(79, wlcJson("power")["negotiatedPower"]);
}

TEST_F(ToolsTest, WrongUsageExitsTwo) {
    const std::vector<Words> cases = {
        {tool("dumpsys"), "-t", "0", kName},
        {tool("dumpsys"), "-t", "x", kName},
        {tool("dumpsys"), "-x"},
        {tool("dumpsys"), "-t"},
        {tool("cmd")},
        {tool("cmd"), "-x"},
        {tool("service")},
        {tool("service"), "check"},
        {tool("service"), "lst"},
    };
    for (const Words& words : cases) {
        const Outcome outcome = run(words);
        EXPECT_EQ(2, outcome.exitStatus) << testing::PrintToString(words);
        EXPECT_EQ("", outcome.out);
        EXPECT_NE("", outcome.err);
    }
}

}  // namespace
}  // namespace wlc
