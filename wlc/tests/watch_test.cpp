// SPDX-License-Identifier: Apache-2.0
#include <signal.h>

#include <regex>

#include "service_fixture.h"

namespace wlc {
namespace {

using test_support::Subscribed;

class WatchTest : public ServiceTest {
  protected:
    std::unique_ptr<Process> watch(const std::string& line) {
        auto process = std::make_unique<Process>(wlcCommand(line));
        EXPECT_TRUE(process->waitForError("watching")) << process->wait().err;
        return process;
    }
};

// The objects of lines of JSON, each without its time, which has to be one.
std::vector<nlohmann::json> timedLines(const std::string& text) {
    auto objects = jsonLines(text);
    for (auto& object : objects) {
        EXPECT_THAT(object.value("time", ""), testing::MatchesRegex("20..-..-..T..:..:..\\....Z"))
            << object;
        object.erase("time");
    }
    return objects;
}

// Lines of text without their times.
std::string withoutTimes(const std::string& text) {
    return std::regex_replace(text, std::regex("(^|\n)[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}  "),
                              "$1");
}

TEST_F(WatchTest, EveryEventIsALineInTheOrderItHappened) {
    const auto text = watch("watch --count 3");
    const auto json = watch("--json watch --count 3");
    EXPECT_EQ((Subscribed{2, 2, 2}), system.subscribed());
    dock("align 0 1 -2 3");
    ASSERT_TRUE(text->waitForOutput("align"));
    dock("fan-level 7");
    ASSERT_TRUE(text->waitForOutput("fan"));
    dock("rtx connect");

    const Outcome shown = text->wait();
    EXPECT_EQ(0, shown.exitStatus) << shown.err;
    EXPECT_EQ("watching align, rtx, fan\n", shown.err);
    EXPECT_THAT(withoutTimes(shown.out),
                testing::StartsWith(
                    "align  status 0 (misaligned), sub status 1, reading 1 -2, reading 2 3\n"
                    "fan    level 7\n"
                    "rtx    mode 2 (available)"));
    const auto objects = timedLines(json->wait().out);
    ASSERT_EQ(3u, objects.size());
    EXPECT_EQ(
        nlohmann::json(
            {{"event", "align"}, {"status", 0}, {"subStatus", 1}, {"value1", -2}, {"value2", 3}}),
        objects[0]);
    EXPECT_EQ(nlohmann::json({{"event", "fan"}, {"level", 7}}), objects[1]);
    EXPECT_EQ("rtx", objects[2]["event"]);
    EXPECT_TRUE(objects[2]["connected"]);
    EXPECT_EQ((Subscribed{0, 0, 0}), system.subscribed());
}

TEST_F(WatchTest, InitialStateComesFirstAndIsNotCounted) {
    dock("fan-level 5");
    const auto text = watch("watch fan align --initial --count 1");
    EXPECT_EQ((Subscribed{0, 1, 1}), system.subscribed());
    ASSERT_TRUE(text->waitForOutput("initial yes, level 5\n"));
    dock("fan-level 6");
    EXPECT_THAT(withoutTimes(text->wait().out), testing::EndsWith("\nfan    level 6\n"));
    dock("fail getWLCAlignment 6 1");
    const auto objects = timedLines(wlc("--json watch --initial --timeout 0.3").out);
    ASSERT_EQ(3u, objects.size());
    EXPECT_EQ("UNAVAILABLE", objects[0]["error"]["name"]);
    EXPECT_EQ(2, objects[1]["mode"]);
    EXPECT_EQ(nlohmann::json({{"event", "fan"}, {"initial", true}, {"level", 6}}), objects[2]);
}

TEST_F(WatchTest, TooFewEventsInTimeExitOne) {
    const Outcome outcome = wlc("watch --count 1 --timeout 0.2");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_THAT(outcome.err, HasSubstr("only 0 of 1 events within 0.2 s"));
    EXPECT_EQ(0, wlc("watch --timeout 0.1").exitStatus);
}

TEST_F(WatchTest, ServiceThatDiesEndsItWithThree) {
    const auto process = watch("--json watch");
    system.killService();
    const Outcome outcome = process->wait();
    EXPECT_EQ(3, outcome.exitStatus);
    EXPECT_EQ("NO_SERVICE", jsonLines(outcome.out).at(0)["error"]["name"]);
}

TEST_F(WatchTest, WithReconnectItSubscribesAgainAndSaysThatEventsMayBeMissing) {
    const auto process = watch("--json watch fan --reconnect --count 2");
    const auto interrupted = watch("watch fan --reconnect");
    dock("fan-level 7");
    ASSERT_TRUE(process->waitForOutput("\"level\":7"));
    system.killService();
    ASSERT_TRUE(interrupted->waitForError("waiting for it"));
    interrupted->signal(SIGINT);
    EXPECT_EQ(0, interrupted->wait().exitStatus);
    system.start();
    ASSERT_TRUE(process->waitForError("watching again; events may have been missed"));
    dock("fan-level 9");
    const auto objects = timedLines(process->wait().out);
    ASSERT_EQ(3u, objects.size());
    EXPECT_EQ(nlohmann::json({{"event", "reconnected"}, {"missed", true}}), objects[1]);
    EXPECT_EQ(nlohmann::json({{"event", "fan"}, {"level", 9}}), objects[2]);
}

}  // namespace
}  // namespace wlc
