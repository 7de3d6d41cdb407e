// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <signal.h>

#include "service_fixture.h"

namespace wlc {
namespace {

using test_support::Subscribed;
using testing::HasSubstr;

class WatchTest : public ServiceTest {
  protected:
    std::unique_ptr<Process> watch(const std::string& line) {
        auto process = std::make_unique<Process>(wlcCommand(line));
        EXPECT_TRUE(process->waitForError("watching")) << process->wait().err;
        return process;
    }
};

constexpr Subscribed kNobody = {0, 0, 0};

TEST_F(WatchTest, EveryEventIsALineInTheOrderItHappened) {
    const auto text = watch("watch --count 4");
    const auto json = watch("--json watch --count 4");
    EXPECT_EQ((Subscribed{2, 2, 2}), mSystem.subscribed());
    dock("align 0 1 -2 3");
    ASSERT_TRUE(text->waitForOutput("align"));
    dock("fan-level 7");
    ASSERT_TRUE(text->waitForOutput("fan"));
    dock("rtx connect");
    ASSERT_TRUE(text->waitForOutput("rtx"));
    dock("align 1");

    const Outcome shown = text->wait();
    EXPECT_EQ(0, shown.exitStatus) << shown.err;
    EXPECT_EQ("watching align, rtx, fan\n", shown.err);
    EXPECT_THAT(shown.out, testing::StartsWith(
                               "align  status 0 (misaligned), sub status 1, value1 -2, value2 3\n"
                               "fan    level 7\n"
                               "rtx    mode 2 (available)"));
    const auto objects = jsonLines(json->wait().out);
    ASSERT_EQ(4u, objects.size());
    EXPECT_EQ(
        nlohmann::json(
            {{"event", "align"}, {"status", 0}, {"subStatus", 1}, {"value1", -2}, {"value2", 3}}),
        objects[0]);
    EXPECT_EQ(nlohmann::json({{"event", "fan"}, {"level", 7}}), objects[1]);
    EXPECT_EQ("rtx", objects[2]["event"]);
    EXPECT_TRUE(objects[2]["connected"]);
    EXPECT_EQ(1, objects[3]["status"]);
    EXPECT_EQ(kNobody, mSystem.subscribed());
}

TEST_F(WatchTest, OnlyTheEventsAskedForAreSubscribedTo) {
    const auto process = watch("watch fan align");
    EXPECT_EQ((Subscribed{0, 1, 1}), mSystem.subscribed());
    process->signal(SIGINT);
    EXPECT_EQ(0, process->wait().exitStatus);
    EXPECT_EQ(kNobody, mSystem.subscribed());
}

TEST_F(WatchTest, TooFewEventsInTimeExitOne) {
    const Outcome outcome = wlc("watch --count 1 --timeout 0.2");
    EXPECT_EQ(1, outcome.exitStatus);
    EXPECT_THAT(outcome.err, HasSubstr("only 0 of 1 events within 0.2 s"));
    EXPECT_EQ(0, wlc("watch --timeout 0.1").exitStatus);
}

TEST_F(WatchTest, ServiceThatDiesEndsItWithThree) {
    const auto process = watch("--json watch");
    killService();
    const Outcome outcome = process->wait();
    EXPECT_EQ(3, outcome.exitStatus);
    EXPECT_EQ("watching align, rtx, fan\n", outcome.err);
    const auto objects = jsonLines(outcome.out);
    ASSERT_EQ(1u, objects.size());
    EXPECT_EQ("NO_SERVICE", objects[0]["error"]["name"]);
}

TEST_F(WatchTest, WithReconnectItSubscribesAgainAndSaysThatEventsMayBeMissing) {
    const auto text = watch("watch fan --reconnect --count 2");
    const auto json = watch("--json watch fan --reconnect --count 2");
    const auto interrupted = watch("watch fan --reconnect");
    dock("fan-level 7");
    ASSERT_TRUE(text->waitForOutput("level 7"));
    killService();
    ASSERT_TRUE(interrupted->waitForError("waiting for it"));
    interrupted->signal(SIGINT);
    EXPECT_EQ(0, interrupted->wait().exitStatus);
    startService();
    ASSERT_TRUE(text->waitForError("watching again; events may have been missed"));
    ASSERT_TRUE(json->waitForOutput("reconnected"));
    dock("fan-level 9");
    EXPECT_EQ("fan    level 7\nfan    level 9\n", text->wait().out);
    const auto objects = jsonLines(json->wait().out);
    ASSERT_EQ(3u, objects.size());
    EXPECT_EQ(nlohmann::json({{"event", "reconnected"}, {"missed", true}}), objects[1]);
    EXPECT_EQ(nlohmann::json({{"event", "fan"}, {"level", 9}}), objects[2]);
}

}  // namespace
}  // namespace wlc
