// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <virtual_dock/client.h>

#include <filesystem>
#include <fstream>

#include "served_dock.h"

namespace virtual_dock::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kDone = "{\"ok\":true}";

TEST(ControlSocketTest, ChangesAreAnnouncedByOneUeventEach) {
    ServedDock served;
    Connection client(served.path());
    for (const auto& [command, uevent] : std::vector<Step>{
             {"set power.max 5000", "SOURCE=WLC DRIVER=p9221"},
             {"charging off", "SOURCE=WLC_OFF DRIVER=p9221"},
             {"remove", "SOURCE=WLC DRIVER=p9221"},  // was without power already
             {"place ptmc=0x10 product=3 id=0xA5123456", "SOURCE=WLC DRIVER=p9221"},
             {"set dock.placed=false fan.level=2", "SOURCE=WLC_OFF DRIVER=p9221"},
             {"set fan.level=4 fan.count=3 temperature.boost=40", "SOURCE=FAN DRIVER=p9221"},
             {"set fan.level=5 rtx.connected=true", "DRIVER=p9221"},
             {"rtx error 3", "SOURCE=RTX DRIVER=p9221"},
             {"uevent DRIVER=zorvak%2Cbattery", "DRIVER=zorvak,battery"},
             {"reset", "DRIVER=p9221"}}) {
        EXPECT_EQ(client.ask(command), "{\"ok\":true,\"uevent\":{\"sent\":true,\"by\":\"socket\"}}")
            << command;
        EXPECT_EQ(served.nextUevent(), uevent) << command;
    }
    EXPECT_EQ(client.ask("temperature -10 40"), kDone);
    EXPECT_EQ(served.nextUevent(0), "");
}

TEST(CommandsTest, WrongLinesAreRefusedAndChangeNothing) {
    VirtualDock dock;
    const std::string before = perform(&dock, "status");
    for (const auto& [line, message] : std::vector<Step>{
             {"", "empty line"},
             {"statsu", "did you mean \\\"status\\\""},
             {"get fan.levl", "did you mean \\\"fan.level\\\""},
             {"set fan.level", "KEY=VALUE, not \\\"fan.level\\\""},
             {"set fan.level=4 power.max=x", "\\\"x\\\" is not a value of power.max"},
             {"set fan.level 4294967296", "0..4294967295"},
             {"align 1 2 3 99999999999999999999", "not a value"},
             {"rtx bogus", "\\\"bogus\\\" is not an rtx command; these are: connect"},
             {"rtx mode bogus", "it takes off, available, active"},
             {"fail sendBidiReqest 3", "did you mean \\\"sendBidiRequest\\\""},
             {"fail sendBidiRequest:x 3", "no request type \\\"x\\\""},
             {"fail sendBidiRequest:13 3", "no request type \\\"13\\\": it has 0, 12, 16, 18, 24"},
             {"answer sendRtxRequest:11 00", "it has 1, 2"},
             {"fail sendBidiRequest 4294967296", "32-bit"},
             {"fail sendBidiRequest 3 0", "count"},
             {"delay sendBidiRequest 600001", "milliseconds"},
             {"answer sendBidiRequest 0F0", "hex"},
             {"record trace", "an absolute path or stop, not \\\"trace\\\""},
             {"place ptcm=3", "ptmc=N"},
             {"uevent %zz", "two hex digits"}}) {
        const std::string reply = runCommand(&dock, line);
        EXPECT_THAT(reply, StartsWith("{\"ok\":false,\"kind\":\"usage\"")) << line;
        EXPECT_THAT(reply, HasSubstr(message)) << line;
    }
    EXPECT_EQ(perform(&dock, "status"), before);
}

// JSON has characters where the dock has bytes.
TEST(CommandsTest, TextsOfAnyBytesComeBackAsOneCharacterAByte) {
    VirtualDock dock;
    expectSteps(&dock, {{"set info.text0 %00%22%5C%7F%80%FFa", ""},
                        {"get info.text0 fan.level",
                         R"({"ok":true,"values":{"info.text0":"\u0000\"\\\u007f\u0080\u00ffa",)"
                         R"("fan.level":3}})"},
                        {"%FF", R"(unknown command \"\u00ff\")"}});
}

TEST(ControlSocketTest, LinesArriveInAnyPieces) {
    ServedDock served;
    Connection client(served.path());
    for (const char c : std::string("fail getWlcInfo 3\n")) client.write({&c, 1});
    EXPECT_EQ(client.receive(), kDone);
    client.write("fail getWlcInfo 0\ntemperature 1 2\nfail getW");
    EXPECT_EQ(client.receive(), kDone);
    EXPECT_EQ(client.receive(), kDone);
    client.write("lcInfo 0\ntemperature 1 3");
    EXPECT_EQ(client.receive(), kDone);
    shutdown(client.descriptor(), SHUT_WR);
    EXPECT_THROW(client.receive(), NoDock) << "half a line is no line";
    expectSteps(&served.dock, {{"get temperature.puck", ":2}"}});
}

TEST(ControlSocketTest, EndlessLinesAndUnreadRepliesHurtOnlyTheirSender) {
    ServedDock served;
    Connection other(served.path());
    Connection endless(served.path());
    EXPECT_THROW(for (;;) endless.write(std::string(4096, 'x')), NoDock);
    // Replies that nobody reads: the dock stops reading, it does not pile them up.
    Connection deaf(served.path());
    std::string flood;
    for (int i = 0; i < 20'000; ++i) flood += "status\n";
    send(deaf.descriptor(), flood.data(), flood.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    EXPECT_THAT(other.ask("status"), StartsWith("{\"ok\":true,\"settings\":{"));
}

TEST(ControlSocketTest, IdleClientsMakeRoomForLaterOnesAndFollowersLast) {
    ServedDock served;
    Connection follower(served.path());
    EXPECT_EQ(follower.ask("follow"), kDone);
    Connection busy(served.path());
    std::vector<std::unique_ptr<Connection>> idle;
    for (size_t i = 0; i < 2 * ControlServer::kMaxClients; ++i) {
        idle.push_back(std::make_unique<Connection>(served.path()));
        idle.back()->write("temp");  // half a command
        EXPECT_EQ(busy.ask("temperature 1 1"), kDone);
        EXPECT_EQ(Connection(served.path()).ask("temperature 9 9"), kDone);
    }
    EXPECT_THROW(idle.front()->receive(), NoDock);
    EXPECT_EQ(idle.back()->ask("erature 1 1"), kDone);
    perform(&served.dock, "info 7");
    EXPECT_THAT(follower.receive(), HasSubstr("\"type\":7"));
}

TEST(ControlSocketTest, LogListsWhatWasAskedCutShortAndFollowContinues) {
    const std::string request = "prop 0 " + std::string(2000, '7');
    ServedDock served;
    perform(&served.dock, request);
    Connection client(served.path());
    EXPECT_THAT(client.ask("log"), HasSubstr("\"request\":\"" + std::string(512, '7') +
                                             "\",\"answer\":\"\",\"requestLength\":1000,"));
    EXPECT_EQ(client.receive(), kDone);
    EXPECT_EQ(client.ask("follow"), kDone);
    for (int i = 0; i < 1000; ++i) perform(&served.dock, request);
    perform(&served.dock, "info 8");
    std::string line;
    while (line.find("\"type\":8") == std::string::npos) line = client.receive();
    EXPECT_THAT(line, HasSubstr("\"number\":1002"));
}

TEST(ControlListenerTest, ItsSocketIsPrivateAndWhatOthersHaveThereIsLeftAlone) {
    TempFolder folder;
    ControlListener first;
    std::string error;
    const mode_t mask = umask(0);
    EXPECT_TRUE(first.open(folder / "dock", &error)) << error;
    umask(mask);
    struct stat info = {};
    EXPECT_EQ(0, stat((folder / "dock").c_str(), &info));
    EXPECT_EQ(mode_t{0600}, info.st_mode & 07777);

    const int lockless = boundSocket(folder / "lockless", SOCK_STREAM);
    ASSERT_EQ(listen(lockless, 1), 0);
    std::ofstream(folder / "file") << "precious";
    for (const auto& [name, problem] : std::vector<Step>{{"dock", "another virtual dock"},
                                                         {"lockless", "another process"},
                                                         {"file", "is not a socket"},
                                                         {std::string(200, 'x'), "too long"}}) {
        ControlListener listener;
        EXPECT_FALSE(listener.open(folder / name, &error));
        EXPECT_THAT(error, HasSubstr(problem));
    }
    close(lockless);
    EXPECT_TRUE(std::filesystem::exists(folder / "file"));
    const Connection reaches(folder / "dock");
}

}  // namespace
}  // namespace virtual_dock::testing
