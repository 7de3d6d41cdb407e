// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cstdlib>

#include "service_fixture.h"

namespace wlc {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class CommandsTest : public ServiceTest {
  protected:
    // What the dock was sent since the log had `from` entries, in hexadecimal.
    std::vector<std::string> sentSince(size_t from) {
        std::vector<std::string> sent;
        const auto log = dockLog();
        for (size_t i = from; i < log.size(); ++i) sent.push_back(log[i].value("request", ""));
        return sent;
    }
};

TEST_F(CommandsTest, ReadingCommandsShowTheDockToPeopleAndToScripts) {
    struct Case {
        const char* command;
        const char* text;  // expected in the text
        nlohmann::json json;
    };
    const Case cases[] = {
        {"version", "version         8\n", {{"version", 8}, {"clientVersion", 8}}},
        {"phone", "qi spec      0x1301 (Qi 1.3.1)", {{"qiSpec", 0x1301}, {"model", ""}}},
        {"info",
         "info text0              Virtual dock\n",
         {{"infoText0", "Virtual dock"},
          {"getInfoSupported", true},
          {"firmwareVersion", {{"major", 1}, {"minor", 0}, {"name", "desk"}}},
          {"extraFirmwareVersion", nullptr}}},
        {"dock", "compatibility           1 (compatible, level 1)", {{"compatibility", 1}}},
        {"power", "negotiated power  12000\n", {{"maxPower", 15000}, {"limitReason", 0}}},
        {"presence",
         "id                  0x123456\n",
         {{"docked", true}, {"id", 0x123456}, {"ptmc", 0x72}, {"dockKind", 1}}},
        {"align", "status      1 (aligned)", {{"status", 1}, {"value1", 0}}},
        {"temperature", "boost temp  31 °C", {{"boostTemp", 31}, {"puckTemp", 28}}},
        {"features get 1", "FAN_CONTROL | AUTHENTICATION", {{"query", 1}, {"features", 31}}},
        {"fan level", "level  3\n", {{"level", 3}}},
        {"fan get 7", "valid       yes\n", {{"fan", 7}, {"valid", true}, {"level", 1200}}},
        {"rtx status", "mode          2 (available)", {{"mode", 2}, {"errorType", 0}}},
        {"rtx supported", "supported  yes\n", {{"supported", true}}},
        {"auth digests", "slot populated mask  0, 1, 3\n", {{"digestMask", 11}}},
        {"auth certificate --offset 2 --length 32", "length       32\n", {{"length", 32}}},
        {"firmware info", "max chunk size  252 bytes\n", {{"maxSize", 2097152}, {"target", 0}}},
        {"firmware status", "status    0 (idle)", {{"status", 0}, {"progress", 0}}},
        {"legacy-firmware info", "info byte5  253\n", {{"infoByte5", 253}}},
        {"legacy-firmware status", "progress  0 %", {{"status", 0}}},
        {"challenge 5 0102030405060708", "response  ", nlohmann::json::object()},
        {"dump", "IWirelessCharger Service:\n  Charging status:\n", nlohmann::json::object()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        const Outcome text = wlc(c.command);
        EXPECT_EQ(0, text.exitStatus) << text.err;
        EXPECT_THAT(text.out, HasSubstr(c.text));
        EXPECT_EQ("", text.err);
        const nlohmann::json json = wlcJson(c.command);
        for (const auto& [key, value] : c.json.items()) {
            EXPECT_EQ(value, json.value(key, nlohmann::json("missing"))) << key;
        }
    }
}

TEST_F(CommandsTest, FanSettingsReachTheDockAsTheirFrames) {
    const std::pair<const char*, const char*> cases[] = {
        {"fan set 2 manual 80", "0f0a5000"},    {"fan set 3 manual 0x0150", "0f0b5001"},
        {"fan set 7 manual 65535", "0f0fffff"}, {"fan set 3 auto", "0f03"},
        {"fan set 3 --mode-value 2", "0f00"},   {"fan get 2", "0ffa"},
    };
    for (const auto& [command, sent] : cases) {
        const size_t before = dockLog().size();
        EXPECT_EQ(0, wlc(command).exitStatus) << command;
        EXPECT_THAT(sentSince(before), testing::ElementsAre(sent)) << command;
    }
    EXPECT_EQ(8u, wlcJson("fan list")["fans"].size());
    EXPECT_EQ(80, wlcJson("fan get 2")["level"]);
}

TEST_F(CommandsTest, RefusalsNameTheErrorAndExitOne) {
    struct Case {
        const char* fault;  // for dockctl; empty for none
        const char* command;
        int code;
        const char* name;
    };
    const Case cases[] = {
        {"", "fan get 8", 1, "INVALID_ARGUMENT"},
        {"", "fan set 8 auto", 1, "INVALID_ARGUMENT"},
        {"", "challenge 5 01020304050607", 1, "INVALID_ARGUMENT"},
        {"", "key-exchange 00", 1, "INVALID_ARGUMENT"},
        {"fail sendBidiRequest:12 9 1", "fan get 0", 3, "REFUSED"},
        {"fail sendBidiRequest:12 7 1", "fan get 0", 6, "TIMED_OUT"},
        {"fail sendBidiRequest:12 99 1", "fan get 0", 7, "FAILED"},
        {"answer sendBidiRequest:18 07 1", "challenge 5 0102030405060708", 2, "INVALID_RESPONSE"},
        {"fail sendRtxRequest:3 1 1", "rtx on", 7, "FAILED"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        if (*c.fault != '\0') dock(c.fault);
        const size_t before = dockLog().size();
        const nlohmann::json error = wlcJson(c.command, 1)["error"];
        EXPECT_EQ(c.code, error["code"]);
        EXPECT_EQ(c.name, error["name"]);
        if (*c.fault == '\0') {
            EXPECT_EQ(before, dockLog().size()) << "the dock was asked";
        }
    }
    const Outcome text = wlc("fan get 8");
    EXPECT_EQ(1, text.exitStatus);
    EXPECT_EQ("", text.out);
    EXPECT_THAT(text.err, HasSubstr("1 (INVALID_ARGUMENT)"));
}

TEST_F(CommandsTest, WrongUsageExitsTwoAndSaysWhatWasMeant) {
    const std::pair<const char*, const char*> cases[] = {
        {"fna list", "unknown command 'fna'; did you mean 'fan'?"},
        {"fan lst", "unknown command 'lst'; did you mean 'list'?"},
        {"version --jsn", "unknown option '--jsn'; did you mean '--json'?"},
        {"fan set 2 manul 80", "unknown mode 'manul'; did you mean 'manual'?"},
        {"fan set 2", "missing mode"},
        {"fan set 2 manual", "manual needs a LEVEL"},
        {"fan set 2 manual 65536", "LEVEL must be a number from 0 to 65535"},
        {"fan set 2 auto 5", "auto takes no LEVEL"},
        {"fan get 128", "N must be a number from -128 to 127"},
        {"fan get 2 3", "unknown argument '3'"},
        {"watch aling", "unknown event 'aling'; did you mean 'align'?"},
        {"watch --timeout nan", "must be a number from 0.001 to 86400"},
        {"--wait nan version", "must be a number from 0 to 86400"},
        {"--timeout 0 version", "must be a number from 0.1 to 86400"},
        {"challenge 5 0g", "expected two hexadecimal digits at position 1"},
        {"auth --slot 4", "--slot"},
        {"auth --virtual-dock --root x", "excludes"},
        {"auth --root /nonexistent", "cannot read /nonexistent: No such file"},
        {"firmware update /dev/null --fw-version 2", "--fw-version must be M.m"},
        {"firmware update /dev/null --fw-version 1.256", "from 0 to 255, not '256'"},
        {"firmware update /dev/null", "not a regular file"},
        {"shell", "shell needs a WORD"},
    };
    for (const auto& [command, text] : cases) {
        SCOPED_TRACE(command);
        const Outcome outcome = wlc(command);
        EXPECT_EQ(2, outcome.exitStatus);
        EXPECT_EQ("", outcome.out);
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_EQ("BAD_USAGE", wlcJson(command, 2)["error"]["name"]);
    }
}

TEST_F(CommandsTest, WithoutAServiceEveryCommandExitsThree) {
    stopService();
    for (const char* command : {"version", "fan list", "watch", "auth", "firmware info",
                                "firmware update " WLC_PROGRAM, "dump", "shell x"}) {
        SCOPED_TRACE(command);
        const Outcome text = wlc(command);
        EXPECT_EQ(3, text.exitStatus);
        EXPECT_THAT(text.err, HasSubstr("is not running; it must run as this user"));
        EXPECT_EQ("NO_SERVICE", wlcJson(command, 3)["error"]["name"]);
    }
    EXPECT_THAT(wlc("--wait 0.1 version").err, HasSubstr("(waited 0.1 s)"));
    Process waiting(wlcCommand("--wait 30 version"));
    startService();
    EXPECT_EQ(0, waiting.wait().exitStatus);
}

TEST_F(CommandsTest, WhatTheDockSaysCannotSteerATerminalOrBreakJson) {
    for (const auto& [said, shown] : {std::pair{"\x1b[2JA", "\\x1b[2JA\n"},
                                      {"a\nforged 1", "a\\x0aforged 1\n"},
                                      {"\xc2\x9b"
                                       "31m",
                                       "\\xc2\\x9b31m\n"},
                                      {"\xe2\x80\xae", "\\xe2\\x80\\xae\n"},
                                      {"é", "é\n"}}) {
        dock({"set", "info.text0", said});
        for (const Words& command : {wlcCommand("info"), Words{DOCKCTL_PROGRAM, "status"}}) {
            const Outcome text = run(command);
            EXPECT_EQ(0, text.exitStatus) << text.err;
            EXPECT_THAT(text.out, HasSubstr(shown));
        }
        EXPECT_EQ(said, wlcJson("info")["infoText0"]);
        EXPECT_THAT(wlc("--json info").out, MatchesRegex("[ -~]*\n"));
        EXPECT_THAT(run({DOCKCTL_PROGRAM, "--json", "status"}).out, MatchesRegex("[ -~]*\n"));
    }
    EXPECT_THAT(run({WLC_PROGRAM, "\x1b[2J"}).err, HasSubstr("'\\x1b[2J'"));
    dock({"set", "info.text0",
          "a\xff"
          "b"});
    EXPECT_EQ(
        "a\xEF\xBF\xBD"
        "b",
        wlcJson("info")["infoText0"]);
}

TEST_F(CommandsTest, WrittenValuesReachTheService) {
    EXPECT_EQ(0, wlc("features set 7 -1").exitStatus);
    EXPECT_EQ(-1, wlcJson("features get 7")["features"]);
    EXPECT_EQ(0, wlc("qi-id 70000").exitStatus);
    EXPECT_EQ(4464, dockStatus()["qiId"]);
    EXPECT_EQ("70000", wlcJson("dock")["qiId"]);
    EXPECT_TRUE(wlcJson("rtx on")["on"]);
    EXPECT_FALSE(wlcJson("rtx off")["on"]);
    EXPECT_EQ(0, wlc("shell diag.maxpower 0x1F4").exitStatus);
    EXPECT_EQ(500, wlcJson("power")["maxPower"]);
    EXPECT_EQ(0, wlc("shell diag.maxpower -1").exitStatus);
    EXPECT_THAT(wlc("power").out, HasSubstr("max power         unknown"));
}

}  // namespace
}  // namespace wlc
