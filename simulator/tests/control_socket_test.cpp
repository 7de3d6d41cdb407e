// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "control_fixture.h"
#include "dock/words.h"

namespace virtual_dock::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kDone = "{\"ok\":true}";

TEST(ControlSocketTest, ChangesAreAnnouncedByTheirUevents) {
    ServedDock served;
    RawClient client(served.path());
    const struct {
        const char* command;
        const char* uevent;
    } kCases[] = {
        {"align 2 1 -5 7", "SOURCE=WLC DRIVER=p9221"},
        {"set power.max 5000", "SOURCE=WLC DRIVER=p9221"},
        {"charging off", "SOURCE=WLC_OFF DRIVER=p9221"},
        {"charging on", "SOURCE=WLC DRIVER=p9221"},
        {"remove", "SOURCE=WLC_OFF DRIVER=p9221"},
        {"set dock.charging false", "SOURCE=WLC DRIVER=p9221"},  // was without power already
        {"place ptmc=0x10 product=3 id=0xA5123456", "SOURCE=WLC DRIVER=p9221"},
        {"set dock.placed false", "SOURCE=WLC_OFF DRIVER=p9221"},
        {"fan-level 4", "SOURCE=FAN DRIVER=p9221"},
        {"rtx connect", "SOURCE=RTX DRIVER=p9221"},
        {"rtx error 3", "SOURCE=RTX DRIVER=p9221"},
        {"uevent DRIVER=zorvak%2Cbattery", "DRIVER=zorvak,battery"},
        {"reset", "DRIVER=p9221"},
    };
    for (const auto& each : kCases) {
        EXPECT_EQ(client.ask(each.command),
                  "{\"ok\":true,\"uevent\":{\"sent\":true,\"by\":\"socket\"}}")
            << each.command;
        EXPECT_EQ(served.nextUevent(), each.uevent) << each.command;
    }
    EXPECT_EQ(client.ask("temperature -10 40"), kDone);
    EXPECT_FALSE(served.hasUevent());
}

TEST(ControlSocketTest, ChangeWithoutAListenerSaysThatNoUeventWent) {
    ServedDock served;
    setenv("ANDROID_HOST_UEVENT_SOCKET", (served.folder / "nobody").c_str(), 1);
    RawClient client(served.path());
    EXPECT_THAT(client.ask("fan-level 4"), HasSubstr("\"sent\":false,\"reason\":\"nobody listens"));
}

TEST(ControlSocketTest, WrongLinesAreRefusedAndChangeNothing) {
    ServedDock served;
    RawClient client(served.path());
    const struct {
        const char* line;
        const char* message;
    } kCases[] = {
        {"", "empty line"},
        {"statsu", "did you mean \\\"status\\\""},
        {"set fan.levl 3", "did you mean \\\"fan.level\\\""},
        {"set fan.level", "usage: set KEY VALUE"},
        {"set fan.level 4294967296", "0..4294967295"},
        {"set fan.level 0x", "no value"},
        {"align 1 2 3 99999999999999999999", "no value"},
        {"fail sendBidiReqest 3", "did you mean \\\"sendBidiRequest\\\""},
        {"fail sendBidiRequest:x 3", "no request type"},
        {"fail sendBidiRequest 4294967296", "32-bit"},
        {"fail sendBidiRequest 3 0", "count"},
        {"delay sendBidiRequest 600001", "milliseconds"},
        {"answer sendBidiRequest 0F0", "hex"},
        {"place ptcm=3", "ptmc=N"},
        {"uevent %zz", "two hex digits"},
    };
    for (const auto& each : kCases) {
        const std::string reply = client.ask(each.line);
        EXPECT_THAT(reply, StartsWith("{\"ok\":false,\"kind\":\"usage\"")) << each.line;
        EXPECT_THAT(reply, HasSubstr(each.message)) << each.line;
    }
    served.dock.withModel([](DockModel& model, int64_t) {
        EXPECT_EQ(model.fans.fanLevel(), 3u);
        EXPECT_EQ(model.charger.alignment.subState, 0) << "all of a command or nothing";
    });
    EXPECT_TRUE(served.dock.withFaults([](Faults& faults) { return faults.empty(); }));
    EXPECT_FALSE(served.hasUevent());
}

TEST(ControlSocketTest, FaultTableIsBounded) {
    ServedDock served;
    RawClient client(served.path());
    for (size_t i = 0; i < Faults::kMaxFaults; ++i) {
        ASSERT_EQ(client.ask("fail getWlcInfo:" + std::to_string(i) + " 3"), kDone);
    }
    EXPECT_THAT(client.ask("fail getWlcInfo:1000 3"), HasSubstr("\"kind\":\"refused\""));
    EXPECT_EQ(client.ask("fail getWlcInfo:5 4"), kDone) << "replacing needs no room";
    EXPECT_EQ(client.ask("fail getWlcInfo:5 0"), kDone);
    EXPECT_EQ(client.ask("fail getWlcInfo:1000 3"), kDone);
}

TEST(ControlSocketTest, LinesArriveInAnyPieces) {
    ServedDock served;
    RawClient client(served.path());
    for (const char c : std::string("fail getWlcInfo 3\n")) client.send(std::string(1, c));
    EXPECT_EQ(client.readLine(), kDone);
    client.send("fail getWlcInfo 0\ntemperature 1 2\nfail getW");
    EXPECT_EQ(client.readLine(), kDone);
    EXPECT_EQ(client.readLine(), kDone);
    client.send("lcInfo 0\ntemperature 1 2");
    EXPECT_EQ(client.readLine(), kDone);
    client.endInput();
    EXPECT_EQ(client.readLine(), "") << "half a line is no line";
    served.dock.withModel(
        [](DockModel& model, int64_t) { EXPECT_EQ(model.charger.boostTemperature, 1); });
}

TEST(ControlSocketTest, GarbageAndEndlessLinesHurtOnlyTheirSender) {
    ServedDock served;
    RawClient other(served.path());
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round) {
        RawClient garbage(served.path());
        std::string bytes(1 + random() % 5000, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        garbage.send(bytes);
    }
    {
        RawClient endless(served.path());
        const std::string piece(4096, 'x');
        while (endless.send(piece)) {
        }
    }
    // Replies that nobody reads: the dock stops reading, it does not pile them up.
    RawClient deaf(served.path());
    std::string flood;
    for (int i = 0; i < 20'000; ++i) flood += "status\n";
    send(deaf.descriptor(), flood.data(), flood.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    EXPECT_THAT(other.ask("status"), StartsWith("{\"ok\":true,\"settings\":{"));
}

TEST(ControlSocketTest, IdleClientsMakeRoomForLaterOnesAndFollowersLast) {
    ServedDock served;
    RawClient follower(served.path());
    EXPECT_EQ(follower.ask("follow"), kDone);
    RawClient busy(served.path());
    std::vector<std::unique_ptr<RawClient>> idle;
    for (size_t i = 0; i < 2 * ControlServer::kMaxClients; ++i) {
        idle.push_back(std::make_unique<RawClient>(served.path()));
        idle.back()->send("temp");  // half a command
        EXPECT_EQ(busy.ask("temperature 1 1"), kDone);
        EXPECT_EQ(RawClient(served.path()).ask("temperature 9 9"), kDone);
    }
    EXPECT_EQ(idle.front()->readLine(), "");
    EXPECT_FALSE(idle.front()->send("erature 1 1\n"));
    idle.back()->send("erature 1 1\n");
    EXPECT_EQ(idle.back()->readLine(), kDone);
    uint32_t value;
    served.dock.readStatus(7, &value);
    EXPECT_THAT(follower.readLine(), HasSubstr("\"type\":7"));
}

TEST(ControlSocketTest, LogListsWhatWasAskedAndFollowContinues) {
    ServedDock served;
    uint32_t value;
    served.dock.readStatus(7, &value);
    RawClient client(served.path());
    EXPECT_THAT(client.ask("log"),
                HasSubstr("\"operation\":\"getWlcInfo\",\"type\":7,\"result\":0,\"request\":\"\","
                          "\"answer\":\"56341261\""));
    EXPECT_EQ(client.readLine(), kDone);
    EXPECT_EQ(client.ask("follow"), kDone);
    served.dock.readStatus(5, &value);
    EXPECT_THAT(client.readLine(), HasSubstr("\"type\":5"));
    for (int i = 0; i < 1000; ++i) served.dock.readStatus(3, &value);
    served.dock.readStatus(8, &value);
    std::string line;
    while (!(line = client.readLine()).empty() && line.find("\"type\":8") == std::string::npos) {
    }
    EXPECT_THAT(line, HasSubstr("\"number\":1003"));
}

TEST(ControlListenerTest, LeftoversAreReplacedAndTheLivingRespected) {
    TempFolder folder;
    const std::string path = folder / "dock";
    std::string error;
    close(boundSocket(path, SOCK_STREAM));  // a crashed predecessor's
    ControlListener first;
    const mode_t mask = umask(0);
    EXPECT_TRUE(first.open(path, &error)) << error;
    umask(mask);
    struct stat info = {};
    EXPECT_EQ(0, stat(path.c_str(), &info));
    EXPECT_EQ(mode_t{0600}, info.st_mode & 07777);
    ControlListener second;
    EXPECT_FALSE(second.open(path, &error));
    EXPECT_THAT(error, HasSubstr("another virtual dock"));
    const RawClient reaches(path);
}

TEST(ControlListenerTest, WhatOthersHaveInTheWayIsLeftAlone) {
    TempFolder folder;
    ControlListener listener;
    std::string error;
    const int fd = boundSocket(folder / "lockless", SOCK_STREAM);
    ASSERT_EQ(listen(fd, 1), 0);
    EXPECT_FALSE(listener.open(folder / "lockless", &error));
    EXPECT_THAT(error, HasSubstr("another process"));
    close(fd);

    std::ofstream(folder / "file") << "precious";
    EXPECT_FALSE(listener.open(folder / "file", &error));
    EXPECT_THAT(error, HasSubstr("no socket"));
    EXPECT_TRUE(std::filesystem::exists(folder / "file"));
    EXPECT_FALSE(listener.open(folder / std::string(200, 'x'), &error));
}

TEST(WordsTest, EncodedWordsComeBack) {
    std::string every;
    for (int i = 0; i < 256; ++i) every += static_cast<char>(i);
    const auto words = splitWords("  a " + encodeWord(every) + " b");
    ASSERT_TRUE(words);
    EXPECT_THAT(*words, ::testing::ElementsAre("a", every, "b"));
}

TEST(WordsTest, NumbersAtTheirLimits) {
    EXPECT_EQ(parseNumber("-9223372036854775808", INT64_MIN, INT64_MAX), INT64_MIN);
    EXPECT_EQ(parseNumber("9223372036854775807", INT64_MIN, INT64_MAX), INT64_MAX);
    EXPECT_EQ(parseNumber("0x7f", 0, 127), 127);
    for (const char* word : {"9223372036854775808", "-9223372036854775809", "", "-", "+", "1 ",
                             " 1", "0x", "1x", "--1", "0x-1"}) {
        EXPECT_FALSE(parseNumber(word, INT64_MIN, INT64_MAX)) << word;
    }
    EXPECT_FALSE(parseNumber("128", 0, 127));
}

}  // namespace
}  // namespace virtual_dock::testing
