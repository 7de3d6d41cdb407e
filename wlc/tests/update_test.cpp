// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include <filesystem>
#include <random>

#include "qi_authentication.h"
#include "service_fixture.h"
#include "text.h"

namespace wlc {
namespace {

using testing::Not;

// Bytes that compress by about half.
std::string image(size_t size, unsigned seed = 42) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; i += 2) bytes[i] = static_cast<char>(random());
    return bytes;
}

std::string digestOf(const std::string& bytes) {
    return toHex(sha256({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}));
}

class UpdateTest : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        dock("set firmware.0.execute-ms=20 firmware.1.execute-ms=20 legacy.execute-ms=20");
    }

    // Of what the dock executed last: "/firmware/0", "/firmware/1" or "/legacyFirmware".
    std::string executed(const std::string& place) {
        return dockStatus()[nlohmann::json::json_pointer(place)]["executedDigest"];
    }

    // Requests of a type among the 256 that the dock remembers, from a number on.
    size_t count(int type, size_t from = 0) {
        size_t found = 0;
        for (const auto& entry : system.dockLog()) {
            found += entry["number"] > from && entry["type"] == type ? 1 : 0;
        }
        return found;
    }

    void delayChunks(int ms) {
        for (const char* request : {"sendPropRequest:26 ", "sendBidiRequest:26 "}) {
            dock(std::string("delay ") + request + std::to_string(ms));
        }
    }

    // Kills an update in the middle of its transfer.
    void interrupt(const std::string& command) {
        delayChunks(10);
        Process process(wlcCommand("--json " + command));
        ASSERT_TRUE(process.waitForOutput("\"percent\":20")) << process.wait().out;
        process.signal(SIGKILL);
        process.wait();
        delayChunks(0);
    }

    // Runs the command line at the end of a message, as a user would.
    static Outcome runHint(const std::string& message) {
        const size_t at = message.rfind("with: wlc ");
        if (at == std::string::npos) return {};
        return run({"/bin/bash", "-c", "wlc() { \"$0\" \"$@\"; }; " + message.substr(at + 6),
                    WLC_PROGRAM});
    }
};

TEST_F(UpdateTest, ImageArrivesWithItsDigestByEveryWay) {
    // 252 and 253 bytes are the chunk sizes: one full chunk, one byte more, and many.
    for (const size_t size : {1u, 252u, 253u, 254u, 60000u}) {
        const std::string bytes = image(size);
        const std::string path = file("image", bytes);
        for (const auto& [command, place] :
             {std::pair{"firmware update", "/firmware/0"},
              {"firmware --target 1 update --compress", "/firmware/1"},
              {"legacy-firmware update --name x", "/legacyFirmware"}}) {
            const Outcome outcome = wlc(std::string(command) + " " + path + " --fw-version 3.4");
            ASSERT_EQ(0, outcome.exitStatus) << command << size << outcome.out << outcome.err;
            EXPECT_THAT(outcome.out, HasSubstr("version 3.4"));
            EXPECT_EQ(digestOf(bytes), executed(place)) << command << size;
        }
    }
    EXPECT_EQ(0, wlc("firmware reboot").exitStatus);
    EXPECT_EQ(3, wlcJson("firmware info")["version"]["major"]);
    EXPECT_EQ(4, wlcJson("firmware --target 1 info")["version"]["minor"]);
}

TEST_F(UpdateTest, WithoutAVersionTheRunningOneIsKeptOrAskedFor) {
    const std::string update = "legacy-firmware update " + file("image", image(1000));
    dock("set info.major=4 info.minor=7");
    EXPECT_THAT(wlc(update).out, HasSubstr("version 4.7"));
    dock("fail sendBidiRequest:0 13 1");
    const Outcome outcome = wlc(update);
    EXPECT_EQ(2, outcome.exitStatus);
    EXPECT_THAT(outcome.err, HasSubstr("--fw-version is required"));
}

TEST_F(UpdateTest, ProgressNamesThePhaseAndNeverGoesBack) {
    dock("set firmware.0.forget-every 10");
    const Outcome outcome = wlc("--json firmware update --reboot " + file("image", image(20000)));
    ASSERT_EQ(0, outcome.exitStatus) << outcome.out;
    int percent = 0;
    std::vector<std::string> phases;
    for (const auto& step : jsonLines(outcome.out)) {
        EXPECT_LE(percent, step["percent"]) << step;
        percent = step["percent"];
        if (phases.empty() || phases.back() != step["phase"]) phases.push_back(step["phase"]);
    }
    EXPECT_EQ(100, percent);
    EXPECT_THAT(phases, testing::ElementsAre("prepare", "transfer", "apply", "done"));
    EXPECT_EQ(digestOf(image(20000)), executed("/firmware/0"));
}

TEST_F(UpdateTest, ImpossibleUpdatesAreRefusedBeforeAnythingIsSent) {
    dock("set firmware.0.max-size 1000");
    const std::string large = file("large", image(1001));
    const std::string fits = file("fits", image(1000));
    const std::pair<std::string, const char*> kCases[] = {
        {"firmware update " + large, "too large for this dock: 1001 bytes, the limit is 1000"},
        {"firmware update " + file("empty", ""), "is empty"},
        {"legacy-firmware update " + fits + " --name " + std::string(248, 'x'), "limit is 247"},
        {"firmware update --resume " + fits, "no record of an interrupted transfer"},
    };
    for (const auto& [command, text] : kCases) {
        const Outcome outcome = wlc(command);
        EXPECT_EQ(2, outcome.exitStatus) << command;
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_THAT(outcome.err, Not(HasSubstr("with: wlc")));
    }
    EXPECT_EQ(0u, count(25));
    EXPECT_EQ(0, wlc("firmware update " + fits).exitStatus);
}

TEST_F(UpdateTest, WhatTheDockFindsWrongEndsTheUpdateWithOneAndAHintThatWorks) {
    const std::string path = file("an image's", image(3000));
    const Words update = {WLC_PROGRAM,  "firmware",     "update", "--target", "1",
                          "--compress", "--fw-version", "2.5",    "--reboot", path};
    // A dock that is only slow or busy for a while is asked again.
    dock("fail sendPropRequest:26 7 3");
    const Outcome patient = run(update);
    EXPECT_EQ(0, patient.exitStatus) << patient.out << patient.err;

    const struct {
        const char* fault;
        const char* text;
        const char* hint;
    } kCases[] = {
        {"set firmware.1.reject true", "not valid for this dock", "start over with: wlc "},
        {"set firmware.1.fail-at 50", "failed to apply", "start over with: wlc "},
        {"fail sendPropRequest:25 9 1", "(REFUSED)", "; nothing was sent"},
        {"fail sendPropRequest:25 7 1", "(TIMED_OUT)", "try again with: wlc "},
        {"set firmware.1.forget-every 1", "does not accept chunk 0", "continue with: wlc "},
        // The last one: the dock goes on applying what it has.
        {"answer sendPropRequest:28 0104 1", "(INVALID_RESPONSE)", "continue with: wlc "},
    };
    for (const auto& [fault, text, hint] : kCases) {
        SCOPED_TRACE(fault);
        dock(fault);
        const Outcome outcome = run(update);
        EXPECT_EQ(1, outcome.exitStatus) << outcome.out;
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_THAT(outcome.err, HasSubstr(hint));
        dock("set firmware.1.reject=false firmware.1.fail-at=-1 firmware.1.forget-every=0");
        if (std::string(hint).find("with:") == std::string::npos) continue;
        EXPECT_EQ(std::string(hint).starts_with("continue"),
                  outcome.err.find("--resume") != std::string::npos);
        EXPECT_THAT(outcome.err, HasSubstr("--compress --fw-version 2.5 --reboot"));
        const Outcome hinted = runHint(outcome.err);
        EXPECT_EQ(0, hinted.exitStatus) << hinted.out << hinted.err;
    }
}

TEST_F(UpdateTest, KilledHalfWayResumesWithoutSendingWhatTheDockHas) {
    const std::string bytes = image(252 * 100);
    for (const auto& [family, place] :
         {std::pair{"firmware", "/firmware/0"}, {"legacy-firmware", "/legacyFirmware"}}) {
        SCOPED_TRACE(family);
        const std::string command = family + (" update " + file("image", bytes));
        const size_t before = latestRequest();
        interrupt(command);
        const size_t sentFirst = count(26, before);
        ASSERT_GT(sentFirst, 10u);
        ASSERT_LT(sentFirst, 90u);
        const Outcome second = wlc(command + " --resume");
        EXPECT_EQ(0, second.exitStatus) << second.out << second.err;
        // One chunk may have been under way when the client died.
        EXPECT_LE(count(26, before), 101u);
        EXPECT_EQ(digestOf(bytes), executed(place));
    }
}

TEST_F(UpdateTest, OnlyTheImageThatWasBegunIsResumed) {
    const std::string bytes = image(252 * 100);
    const std::string begun = file("begun", bytes);
    const std::string other = file("other", image(252 * 100, 43));
    const std::string journal = system.folder() + "/state/wlc";
    interrupt("firmware update " + begun);
    const std::pair<std::string, const char*> kCases[] = {
        {other + " --unverified", "of a different image"},
        {begun + " --compress", "started without --compress"},
        {begun + " --fw-version 9.9", "--resume --unverified"},
    };
    const size_t starts = count(25);
    for (const auto& [arguments, text] : kCases) {
        const Outcome outcome = wlc("firmware update --resume " + arguments);
        EXPECT_EQ(2, outcome.exitStatus) << arguments << outcome.out;
        EXPECT_THAT(outcome.err, HasSubstr(text));
    }
    // A start of another image that the dock refuses leaves no record that would let it mix them.
    dock("fail sendPropRequest:25 9 1");
    EXPECT_EQ(1, wlc("firmware update " + other).exitStatus);
    EXPECT_EQ(2, wlc("firmware update --resume " + other).exitStatus);
    EXPECT_EQ(starts + 1, count(25));

    interrupt("firmware update " + begun);
    EXPECT_EQ(0, wlc("firmware update --resume " + begun).exitStatus);
    EXPECT_EQ(digestOf(bytes), executed("/firmware/0"));
    // A record ends with its transfer, and what is lost or damaged is none.
    EXPECT_EQ(2, wlc("firmware update --resume " + begun).exitStatus);
    interrupt("firmware update " + begun);
    for (const auto& entry : std::filesystem::directory_iterator(journal)) {
        if (entry.path().extension() == ".json") std::filesystem::resize_file(entry.path(), 20);
    }
    EXPECT_EQ(2, wlc("firmware update --resume " + begun).exitStatus);
    EXPECT_EQ(0, wlc("firmware update --resume --unverified " + begun).exitStatus);
}

TEST_F(UpdateTest, SecondUpdateIsRefusedBeforeItsFirstStepUnlessForced) {
    const std::string path = file("image", image(252 * 100));
    delayChunks(10);
    Process first(wlcCommand("firmware update " + path));
    ASSERT_TRUE(first.waitForOutput("6 %"));
    first.signal(SIGSTOP);
    delayChunks(0);
    const Outcome second = wlc("firmware update " + path);
    EXPECT_EQ(1, second.exitStatus);
    EXPECT_THAT(second.err,
                HasSubstr("running (process " + std::to_string(first.pid()) + "); --force"));
    EXPECT_EQ(1u, count(25));
    EXPECT_EQ(0, wlc("firmware --target 1 update " + path).exitStatus) << "not the same firmware";
    EXPECT_EQ(0, wlc("firmware update --force " + path).exitStatus);
}

TEST_F(UpdateTest, CtrlCAndADeadServiceLeaveTheDockResumableAndSayHow) {
    const std::string bytes = image(252 * 100);
    const std::string path = file("image", bytes);
    for (const bool dies : {false, true}) {
        delayChunks(20);
        Process process(wlcCommand("firmware update --fw-version 2.5 " + path));
        ASSERT_TRUE(process.waitForOutput("6 %"));
        dies ? system.killService() : process.signal(SIGINT);
        const Outcome outcome = process.wait();
        EXPECT_EQ(dies ? 3 : 1, outcome.exitStatus);
        EXPECT_THAT(outcome.err,
                    HasSubstr(dies ? "the service died during the call" : "interrupted"));
        EXPECT_THAT(outcome.err, HasSubstr("continue with: wlc firmware update " + path +
                                           " --resume --fw-version 2.5"));
        dies ? system.start() : delayChunks(0);
        EXPECT_EQ(0, runHint(outcome.err).exitStatus);
        EXPECT_EQ(digestOf(bytes), executed("/firmware/0"));
    }
}

TEST_F(UpdateTest, CtrlCEndsItAlsoWhileTheDockIsSilent) {
    dock("delay sendPropRequest:26 30000 1");
    Process process(wlcCommand("--json firmware update " + file("image", image(1000))));
    ASSERT_TRUE(process.waitForOutput("transfer"));
    ASSERT_TRUE(process.waitForOutput("waitingSeconds")) << "no sign of life";
    process.signal(SIGINT);
    const Outcome outcome = process.wait();
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_EQ("INTERRUPTED", jsonLines(outcome.out).back()["error"]["name"]);
}

}  // namespace
}  // namespace wlc
