// SPDX-License-Identifier: Apache-2.0
#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/binder_shell.h>
#include <signal.h>
#include <unistd.h>

#include "service_fixture.h"

namespace wlc {
namespace {

using std::string_literals::operator""s;

const std::string kInterface = "vendor.zorvak.wireless_charger.IWirelessCharger";
const std::string kName = kInterface + "/default";

// The tools that people know from a device's shell.
class ToolsTest : public ServiceTest {
  protected:
    static std::string tool(const char* name) { return std::string(TOOLS_FOLDER "/") + name; }
};

TEST_F(ToolsTest, ServicesAreListedFoundAndDumped) {
    const std::string listed = "Currently running services:\n  " + kName + "\n";
    const std::string dumped = wlc("dump").out;
    const auto usage = testing::Ne("");
    EXPECT_THAT(dumped, testing::StartsWith("IWirelessCharger Service:\n"));
    const struct {
        Words words;
        int status;
        testing::Matcher<std::string> out;
        testing::Matcher<std::string> err;
    } kCases[] = {
        {{"dumpsys", "-l"}, 0, listed, ""},
        {{"cmd", "-l"}, 0, listed, ""},
        {{"service", "list"}, 0, "Found 1 services:\n0\t" + kName + ": [" + kInterface + "]\n", ""},
        {{"service", "call", kName, "4"}, 0, HasSubstr("Parcel(00000000 00000003 "), ""},
        {{"service", "call", kName, "99"}, 1, "", HasSubstr("UNKNOWN_TRANSACTION")},
        {{"service", "call", kName, "1", "i32"}, 2, "", HasSubstr("'i32 ' is wrong")},
        {{"service", "check", kName}, 0, "Service " + kName + ": found\n", ""},
        {{"service", "check", "\x1b"}, 1, "Service \\x1b: not found\n", ""},
        {{"dumpsys", kName, "-a", "--proto"}, 0, dumped, ""},
        {{"dumpsys"}, 0, HasSubstr("DUMP OF SERVICE " + kName + ":\nIWireless"), ""},
        {{"dumpsys", "--pid", kName}, 0, std::to_string(system.pid()) + "\n", ""},
        {{"dumpsys", "--thread", kName}, 0, HasSubstr("\n  UeventThread: 1\n"), ""},
        {{"dumpsys", "--pid", "../x"}, 1, "", "Can't find service: ../x\n"},
        {{"dumpsys", "--skip", kName}, 0, testing::Not(HasSubstr("DUMP OF")), ""},
        {{"dumpsys", "-t", "0", kName}, 2, "", usage},
        {{"dumpsys", "-x"}, 2, "", usage},
        {{"cmd"}, 2, "", usage},
        {{"service", "lst"}, 2, "", usage},
    };
    for (const auto& [words, status, out, err] : kCases) {
        SCOPED_TRACE(testing::PrintToString(words));
        Words command = words;
        command[0] = tool(words[0].c_str());
        const Outcome outcome = run(command);
        EXPECT_EQ(status, outcome.exitStatus);
        EXPECT_THAT(outcome.out, out);
        EXPECT_THAT(outcome.err, err);
    }
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
    system.stopService();
    const Outcome none = run({tool("cmd"), kName, "diag.negopower", "78"});
    EXPECT_EQ(20, none.exitStatus);
    EXPECT_EQ("cmd: Can't find service: " + kName + "\n", none.err);
    Process waiting({tool("cmd"), "-w", kName, "diag.negopower", "79"});
    system.start();
    EXPECT_EQ(0, waiting.wait().exitStatus);
    EXPECT_EQ(79, wlcJson("power")["negotiatedPower"]);
}

binder_status_t steerTerminal(int fd) {
    const std::string text = "line\n\x1b[2J\xc2\x9b\xe2\x80\xae\xff\r";
    return write(fd, text.data(), text.size()) < 0 ? -errno : STATUS_OK;
}

TEST_F(ToolsTest, WhatAServiceWritesCannotSteerATerminal) {
    // A service of this process in the real one's place.
    system.stopService();
    AIBinder_Class* const strange = AIBinder_Class_define(
        aidl::vendor::zorvak::wireless_charger::IWirelessCharger::descriptor,
        [](void* args) { return args; }, [](void*) {},
        [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
            return binder_status_t{STATUS_UNKNOWN_TRANSACTION};
        });
    AIBinder_Class_setOnDump(
        strange, [](AIBinder*, int fd, const char**, uint32_t) { return steerTerminal(fd); });
    AIBinder_Class_setHandleShellCommand(
        strange, [](AIBinder*, int, int out, int err, const char**, uint32_t) {
            steerTerminal(out);
            return steerTerminal(err);
        });
    const ndk::SpAIBinder service(AIBinder_new(strange, nullptr));
    ABinderProcess_startThreadPool();
    ASSERT_EQ(EX_NONE, AServiceManager_addService(service.get(), kName.c_str()));

    const std::string shown = "line\n\\x1b[2J\\xc2\\x9b\\xe2\\x80\\xae\\xff\\x0d";
    for (const Words& command : std::vector<Words>{{tool("dumpsys"), kName},
                                                   {tool("cmd"), kName, "x"},
                                                   wlcCommand("dump"),
                                                   wlcCommand("shell x")}) {
        const Outcome outcome = run(command);
        EXPECT_EQ(shown, outcome.out) << command[0];
        EXPECT_THAT(outcome.err, testing::AnyOf("", shown)) << command[0];
    }
    EXPECT_THAT(wlc("--json dump").out, testing::MatchesRegex("[ -~]*\n"));
    for (const char* name : {"dumpsys", "cmd"}) {
        EXPECT_THAT(run({tool(name), "\x1b[2J"}).err, HasSubstr("\\x1b[2J"));
    }
}

TEST_F(ToolsTest, NamesAndPropertiesAreShownEscaped) {
    const std::string value = "a\n[forged]: [b]\x1b\xc2\x9b";
    ASSERT_EQ(0, run({tool("setprop"), "test.value", value}).exitStatus);
    const std::string shown = "a\\x0a[forged]: [b]\\x1b\\xc2\\x9b";
    EXPECT_EQ(shown + "\n", run({tool("getprop"), "test.value"}).out);
    EXPECT_THAT(run({tool("getprop")}).out, HasSubstr("[test.value]: [" + shown + "]\n"));
}

TEST_F(ToolsTest, OutputThatNobodyReadsEndsThemAndKillsNone) {
    const struct {
        std::string command;
        int status;
    } kCases[] = {
        {WLC_PROGRAM " info", 1},
        {WLC_PROGRAM " dump", 0},
        {tool("dumpsys") + " " + kName, 0},
        {tool("cmd") + " -l", 0},
        // The update is finished all the same.
        {WLC_PROGRAM " firmware update " + file("image", std::string(100000, 'x')), 1},
    };
    for (const auto& item : kCases) {
        // The reader has gone before the command starts.
        const Outcome outcome =
            run({"/bin/bash", "-c", "exec 3> >(true); wait $!; " + item.command + " >&3; exit $?"});
        EXPECT_EQ(item.status, outcome.exitStatus) << item.command << outcome.err;
        EXPECT_EQ(item.status == 1, outcome.err.find("Broken pipe") != std::string::npos);
    }
    EXPECT_EQ(100000, dockStatus()["firmware"][0]["executedSize"]);
}

TEST_F(ToolsTest, FullDeviceIsAFailureWithAMessage) {
    for (const std::string& command : {"dumpsys " + kName, "cmd -l"s, "service list"s,
                                       "getprop test.value"s, "setprop --help"s}) {
        const Outcome outcome =
            run({"/bin/bash", "-c", "exec \"$0\"/" + command + " >/dev/full", TOOLS_FOLDER});
        EXPECT_EQ(1, outcome.exitStatus) << command;
        EXPECT_THAT(outcome.err, HasSubstr("cannot write to standard output: No space left"));
    }
}

}  // namespace
}  // namespace wlc
