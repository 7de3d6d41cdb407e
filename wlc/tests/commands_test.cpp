// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include "service_fixture.h"

namespace wlc {
namespace {

using testing::MatchesRegex;
using CommandsTest = ServiceTest;

// A command, what it prints (on standard error if it fails), and a part of its JSON.
struct Case {
    int status;
    const char* command;
    const char* text;
    const char* json = "";
    const char* dock = "";  // tells the dock first; holds for the two runs, as text and as JSON
};

TEST_F(CommandsTest, EveryCommandAnswersAsTextAndAsJson) {
    const Case kCases[] = {
        {0, "phone", "qi spec      0x1301 (Qi 1.3.1)", R"("qiSpec":4865)"},
        {0, "info", "firmware version name   desk\n", R"(:{"major":1,"minor":0,"name":"desk"})"},
        {0, "info", "extra firmware version  none\n", R"("extraFirmwareVersion":null)"},
        {0, "dock", "compatibility           1 (compatible, level 1)", R"("compatibility":1,)"},
        {0, "shell diag.maxpower -1", "", R"("status":0)"},
        {0, "power", "max power         unknown", R"("maxPower":-1,)"},
        {0, "shell diag.reset", "", R"("status":0)"},
        {0, "power", "negotiated power  12000 (vendor-defined unit)\n", R"("maxPower":15000,)"},
        {0, "presence", "id                  0x123456\n", R"("id":1193046,"ptmc":114,)"},
        {0, "align", "status                      1 (aligned)", R"("status":1,)"},
        {0, "temperature", "boost temp  31 °C", R"({"boostTemp":31,"puckTemp":28})"},
        {0, "features get 1", "FAN_CONTROL | AUTHENTICATION", R"("query":1,"features":31)"},
        {0, "features set 7 fan_control|0x100", "FAN_CONTROL | 0x100", R"("features":260)"},
        {0, "features set 18446744073709551615 -2", "query     -1\n", R"("features":-2)"},
        {0, "fan get 7", "reading 1 (vendor-defined)  1200\n", R"("fanValue1":1200,)"},
        {0, "fan get --any-index -- -1", "fan                         -1\n", R"("fan":-1,)"},
        {0, "rtx status", "mode                        2 (available)", R"("errorType":0)"},
        {0, "rtx off", "on  no\n", R"({"on":false})"},
        {0, "rtx on", "on  yes\n", R"({"on":true})"},
        {0, "auth digests", "slot populated mask  0, 1, 3\n", R"("digestMask":11)"},
        {0, "auth challenge", "slot populated mask   0, 1, 3\n", R"("slotPopulatedMask":11)"},
        {0, "auth certificate --offset 2 --length 32", "length       32\n", R"("length":32)"},
        {0, "firmware info", "max chunk size  252 bytes\n", R"("target":0,"maxSize":2097152)"},
        {0, "firmware status", "status    0 (idle)", R"("status":0,"progress":0)"},
        {0, "legacy-firmware info", "reading 2 (vendor-defined)  253\n", R"("infoByte5":253)"},
        {0, "status", "subscribers       align 0", R"("subscribers":{"align":0,"rtx":0,"fan":0})"},
        {0, "status", "fans              error 3 (REFUSED)", R"("fan":{"error":{"code":3,)",
         "fail sendBidiRequest:12 9 2"},

        {1, "fan get 8", "error 1 (INVALID_ARGUMENT)", R"("name":"INVALID_ARGUMENT")"},
        {1, "auth challenge --nonce 5555", "(INVALID_ARGUMENT)", R"({"code":1,)"},
        {1, "fan get 0", "communication with the dock failed", R"({"code":8,)",
         "fail sendBidiRequest:12 4 2"},
        {1, "challenge 5 0102030405060708", "(INVALID_RESPONSE)", R"({"code":2,)",
         "answer sendBidiRequest:18 07 2"},
        {1, "rtx on", "(FAILED)", R"({"code":7,)", "fail sendRtxRequest:3 1 2"},

        {2, "fna list", "unknown command 'fna'; did you mean 'fan'?"},
        {2, "nothing", "unknown command 'nothing' (see wlc --help)"},
        {2, "version --jsn", "unknown option '--jsn'; did you mean '--json'?"},
        {2, "fan set 2 manul 80", "unknown mode 'manul'; did you mean 'manual'?"},
        {2, "fan set 2", "missing mode"},
        {2, "fan set 2 manual", "manual needs a LEVEL"},
        {2, "fan set 2 manual 65536", "LEVEL must be a number from 0 to 65535"},
        {2, "fan set 2 auto 5", "auto takes no LEVEL"},
        {2, "fan get -- -1", "N must be a number from 0 to 127"},
        {2, "fan get 2 3", "unknown argument '3'"},
        {2, "features set 7 FAN", "unknown feature 'FAN'; the features are NONE, EXT"},
        {2, "watch aling", "unknown event 'aling'; did you mean 'align'?"},
        {2, "watch --timeout nan", "must be a number from 0.001 to 86400"},
        {2, "--timeout 0 version", "must be a number from 0.1 to 86400"},
        {2, "challenge 5 0g", "expected two hexadecimal digits at position 1"},
        {2, "auth --root /nonexistent", "cannot read /nonexistent: No such file"},
        {2, "auth --virtual-dock --root x", "--root"},
        {2, "auth --virtual-dock --nonce 5555", "a nonce has 16 bytes"},
        {2, "firmware update /dev/null --fw-version 2", "--fw-version must be M.m"},
        {2, "firmware update /dev/null --fw-version 1.256", "0 to 255, not '256'"},
        {2, "firmware update /dev/null --unverified", "--resume"},
        {2, "firmware update /dev/null", "not a regular file"},
        {2, "shell", "shell needs a WORD"},
        {2, "shell diag.reset 1", "takes no arguments"},
    };
    for (const Case& c : kCases) {
        SCOPED_TRACE(std::string(c.command) + " " + c.dock);
        if (*c.dock != '\0') dock(c.dock);
        const size_t before = latestRequest();
        const Outcome text = wlc(c.command);
        EXPECT_EQ(c.status, text.exitStatus) << text.err;
        EXPECT_THAT(c.status == 0 ? text.out : text.err, HasSubstr(c.text));
        EXPECT_EQ("", c.status == 0 ? text.err : text.out);
        const Outcome json = wlc(std::string("--json ") + c.command);
        EXPECT_EQ(c.status, json.exitStatus);
        EXPECT_EQ(1u, jsonLines(json.out).size());
        EXPECT_THAT(json.out, HasSubstr(c.status == 2 ? R"("name":"BAD_USAGE")" : c.json));
        if (c.status != 0 && *c.dock == '\0') {
            EXPECT_EQ(before, latestRequest()) << "the dock was asked";
        }
    }
}

TEST_F(CommandsTest, FanSettingsReachTheDockAsTheirFrames) {
    for (const auto& [command, sent] : {std::pair("fan set 3 manual 0x0150", "0f0b5001"),
                                        {"fan set 7 manual 65535", "0f0fffff"},
                                        {"fan set 3 auto", "0f03"},
                                        {"fan set 3 --mode-value 2", "0f00"}}) {
        const size_t before = latestRequest();
        EXPECT_EQ(0, wlc(command).exitStatus) << command;
        EXPECT_EQ(before + 1, latestRequest()) << command;
        EXPECT_EQ(sent, system.dockLog().back()["request"]) << command;
    }
}

TEST_F(CommandsTest, WithoutAServiceEveryCommandExitsThree) {
    system.stopService();
    for (const char* command : {"version", "fan list", "watch", "auth", "firmware info", "status",
                                "firmware update " WLC_PROGRAM, "dump", "shell x"}) {
        SCOPED_TRACE(command);
        const Outcome text = wlc(command);
        EXPECT_EQ(3, text.exitStatus);
        EXPECT_THAT(text.err, MatchesRegex("wlc: service vendor.* is not running; .*\n"));
        EXPECT_EQ("NO_SERVICE", wlcJson(command, 3)["error"]["name"]);
    }
    EXPECT_THAT(wlc("--wait 0.1 version").err, HasSubstr("(waited 0.1 s)"));
    EXPECT_THAT(wlc("watch --help").out, HasSubstr("--count"));
}

TEST_F(CommandsTest, SilenceIsGivenUp) {
    dock("delay getFeature 600000");
    EXPECT_THAT(wlc("--timeout 0.3 features get 1").err,
                testing::EndsWith("no answer from the service within 0.3 s; use --timeout "
                                  "SECONDS to wait longer\n"));
    kill(system.pid(), SIGSTOP);
    for (const char* command : {"version", "watch", "auth", "firmware update " WLC_PROGRAM}) {
        EXPECT_EQ("NO_ANSWER",
                  wlcJson(std::string("--timeout 0.3 ") + command, 3)["error"]["name"]);
    }
    kill(system.pid(), SIGCONT);
}

TEST_F(CommandsTest, WhatTheDockSaysCannotSteerATerminalOrBreakJson) {
    for (const auto& [said, shown] :
         {std::pair{"\x1b[2JA", "\\x1b[2JA"}, {"a\nforged 1", "a\\x0aforged 1"}, {"é", "é"}}) {
        ASSERT_EQ(0, run({DOCKCTL_PROGRAM, "set", "info.text0", said}).exitStatus);
        for (const Words& command :
             {wlcCommand("info"), wlcCommand("status"), Words{DOCKCTL_PROGRAM, "status"}}) {
            const Outcome text = run(command);
            EXPECT_EQ(0, text.exitStatus) << text.err;
            EXPECT_THAT(text.out, HasSubstr(shown));
        }
        EXPECT_EQ(said, wlcJson("info")["infoText0"]);
        EXPECT_THAT(wlc("--json info").out, MatchesRegex("[ -~]*\n"));
        EXPECT_THAT(run({DOCKCTL_PROGRAM, "--json", "status"}).out, MatchesRegex("[ -~]*\n"));
    }
    EXPECT_THAT(run({WLC_PROGRAM, "\x1b[2J"}).err, HasSubstr("'\\x1b[2J'"));
    ASSERT_EQ(0, run({DOCKCTL_PROGRAM, "set", "info.text0", "a\xff!"}).exitStatus);
    EXPECT_EQ("a\xEF\xBF\xBD!", wlcJson("info")["infoText0"]);
}

}  // namespace
}  // namespace wlc
