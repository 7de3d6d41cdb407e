// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <signal.h>

#include <random>

#include "qi_authentication.h"
#include "service_fixture.h"
#include "text.h"

namespace wlc {
namespace {

using testing::HasSubstr;

// Bytes that compress by about half.
std::string image(size_t size) {
    std::mt19937 random(42);
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
        for (const char* slot : {"firmware.0", "firmware.1", "legacy"}) {
            dock(std::string("set ") + slot + ".execute-ms 20");
        }
    }

    // What the dock executed last, by the name that `dockctl status` gives the slot.
    nlohmann::json slot(const std::string& name) {
        const nlohmann::json status = dockStatus();
        if (name == "legacy") return status["legacyFirmware"];
        return status["firmware"][name == "1" ? 1 : 0];
    }

    // Number of the latest request; the dock remembers the latest 256 of them.
    size_t latestRequest() {
        const auto log = dockLog();
        return log.empty() ? 0 : log.back()["number"].get<size_t>();
    }

    size_t chunksSentAfter(size_t request) {
        size_t count = 0;
        for (const auto& entry : dockLog()) {
            count += entry["number"] > request && entry["type"] == 26 ? 1 : 0;
        }
        return count;
    }
};

TEST_F(UpdateTest, ImageArrivesWithItsDigestByEveryWay) {
    // 252 and 253 bytes are the chunk sizes: one full chunk, one byte more, and many.
    for (const size_t size : {1u, 252u, 253u, 254u, 60000u}) {
        const std::string bytes = image(size);
        const std::string path = file("image", bytes);
        for (const auto& [command, name] : {std::pair{"firmware update", "0"},
                                            {"firmware --target 1 update --compress", "1"},
                                            {"legacy-firmware update --name x", "legacy"}}) {
            const Outcome outcome = wlc(std::string(command) + " " + path + " --fw-version 3.4");
            ASSERT_EQ(0, outcome.exitStatus) << command << size << outcome.out << outcome.err;
            EXPECT_THAT(outcome.out, HasSubstr("version 3.4"));
            EXPECT_EQ(digestOf(bytes), slot(name)["executedDigest"]) << command << size;
        }
    }
    EXPECT_EQ(0, wlc("firmware reboot").exitStatus);
    EXPECT_EQ(3, wlcJson("firmware info")["version"]["major"]);
    EXPECT_EQ(4, wlcJson("firmware --target 1 info")["version"]["minor"]);
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
    EXPECT_EQ(digestOf(image(20000)), slot("0")["executedDigest"]);
}

TEST_F(UpdateTest, ImagesThatCannotBeRightAreRefusedBeforeAnythingIsSent) {
    dock("set firmware.0.max-size 1000");
    const std::string large = file("large", image(1001));
    const std::string empty = file("empty", "");
    const std::pair<std::string, const char*> cases[] = {
        {"firmware update " + large, "too large for this dock: 1001 bytes, the limit is 1000"},
        {"firmware update " + empty, "is empty"},
        {"legacy-firmware update " + empty, "is empty"},
        {"firmware update /nonexistent", "cannot read /nonexistent"},
        {"firmware update " + large + " --fw-version 1", "must be M.m"},
    };
    for (const auto& [command, text] : cases) {
        const Outcome outcome = wlc(command);
        EXPECT_EQ(2, outcome.exitStatus) << command;
        EXPECT_THAT(outcome.err, HasSubstr(text));
    }
    for (const auto& entry : dockLog()) {
        if (entry["operation"].get<std::string>().find("Request") == std::string::npos) continue;
        EXPECT_EQ(24, entry["type"]) << "more than a question: " << entry;
    }
    EXPECT_EQ(0, wlc("firmware update " + file("fits", image(1000))).exitStatus);
}

TEST_F(UpdateTest, WhatTheDockFindsWrongEndsTheUpdateWithOne) {
    const std::string path = file("image", image(3000));
    // A dock that is only slow or busy for a while is asked again.
    dock("fail sendPropRequest:26 7 3");
    const Outcome patient = wlc("firmware update " + path);
    EXPECT_EQ(0, patient.exitStatus) << patient.out << patient.err;

    struct Case {
        const char* fault;
        const char* text;
        const char* mend = "status";
    };
    for (const auto& [fault, text, mend] : {
             Case{"set firmware.0.reject true", "not valid for this dock",
                  "set firmware.0.reject false"},
             Case{"set firmware.0.fail-at 50", "failed to apply", "set firmware.0.fail-at -1"},
             Case{"fail sendPropRequest:25 9 1", "(REFUSED)"},
             Case{"fail sendPropRequest:26 3 1", "(INVALID_ARGUMENT)"},
             // The last one: the dock goes on applying what it has.
             Case{"answer sendPropRequest:28 0004 1", "(INVALID_RESPONSE)"},
         }) {
        SCOPED_TRACE(fault);
        dock(fault);
        const Outcome outcome = wlc("firmware update " + path);
        EXPECT_EQ(1, outcome.exitStatus) << outcome.out;
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_THAT(outcome.err, HasSubstr("continue with: wlc firmware update " + path));
        dock(mend);
    }
}

TEST_F(UpdateTest, KilledHalfWayResumesWithoutSendingWhatTheDockHas) {
    const std::string bytes = image(252 * 100);
    for (const char* family : {"firmware", "legacy-firmware"}) {
        SCOPED_TRACE(family);
        const std::string command = std::string(family) + " update " + file("image", bytes);
        dock("delay sendPropRequest:26 10");
        dock("delay sendBidiRequest:26 10");
        const size_t before = latestRequest();
        Process first(wlcCommand("--json " + command));
        ASSERT_TRUE(first.waitForOutput("\"percent\":20"));
        first.signal(SIGKILL);
        first.wait();
        dock("delay sendPropRequest:26 0");
        dock("delay sendBidiRequest:26 0");
        const size_t sentFirst = chunksSentAfter(before);
        ASSERT_GT(sentFirst, 10u);
        ASSERT_LT(sentFirst, 90u);
        const Outcome second = wlc(command + " --resume");
        EXPECT_EQ(0, second.exitStatus) << second.out << second.err;
        // One chunk may have been under way when the client died.
        EXPECT_LE(chunksSentAfter(before), 101u);
        EXPECT_EQ(digestOf(bytes),
                  slot(std::string(family) == "firmware" ? "0" : "legacy")["executedDigest"]);
    }
}

TEST_F(UpdateTest, CtrlCLeavesTheDockResumableAndSaysHow) {
    const std::string path = file("image", image(252 * 100));
    dock("delay sendPropRequest:26 20");
    Process process(wlcCommand("firmware update --fw-version 2.5 " + path));
    ASSERT_TRUE(process.waitForOutput("6 %"));
    process.signal(SIGINT);
    const Outcome outcome = process.wait();
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_THAT(outcome.err, HasSubstr("interrupted"));
    EXPECT_THAT(outcome.err, HasSubstr("continue with: wlc firmware update " + path +
                                       " --resume --fw-version 2.5"));
    dock("delay sendPropRequest:26 0");
    EXPECT_EQ(0, wlc("firmware update --fw-version 2.5 --resume " + path).exitStatus);
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

TEST_F(UpdateTest, ServiceThatDiesIsNamedAndANewOneTakesTheRest) {
    const std::string bytes = image(252 * 100);
    const std::string path = file("image", bytes);
    dock("delay sendPropRequest:26 20");
    Process process(wlcCommand("firmware update " + path));
    ASSERT_TRUE(process.waitForOutput("6 %"));
    killService();
    const Outcome outcome = process.wait();
    EXPECT_EQ(3, outcome.exitStatus);
    EXPECT_THAT(outcome.err, HasSubstr("the service died during the call"));
    EXPECT_THAT(outcome.err, HasSubstr("--resume"));
    startService();
    EXPECT_EQ(0, wlc("firmware update --resume " + path).exitStatus);
    EXPECT_EQ(digestOf(bytes), slot("0")["executedDigest"]);
}

}  // namespace
}  // namespace wlc
