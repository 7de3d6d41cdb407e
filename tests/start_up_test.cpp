// SPDX-License-Identifier: Apache-2.0
// How the service comes up, and what keeps it from doing so.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <testing/charger_system.h>
#include <unistd.h>

#include <filesystem>

namespace test_support {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr uid_t kNobody = 65534;
constexpr char kFailedCheck[] = "Check failed: status == EX_NONE (status=";

class StartUpTest : public testing::Test {
  protected:
    void TearDown() override {
        system.killService();
        EXPECT_TRUE(hasNoChildren());
    }

    // Runs a service that does not come up, to its end.
    Outcome runService(const Words& before = {}) { return system.launch(before)->wait(); }

    void expectNothingRegistered() {
        EXPECT_THAT(system.log(), Not(HasSubstr("WirelessEventThread started")));
        EXPECT_FALSE(std::filesystem::exists(system.socketPath()));
    }

    ChargerSystem system;
};

TEST_F(StartUpTest, FailingLibraryEndsItWithStatus2BeforeAnythingIsThere) {
    for (const auto& [setting, message] :
         {std::pair{"VIRTUAL_DOCK_FAIL_INIT=chargelink", "error initializing WirelessCharger"},
          {"VIRTUAL_DOCK_FAIL_INIT=reverselink", "error initializing RtxWirelessCharger"}}) {
        EXPECT_EQ(2, runService({"/usr/bin/env", setting}).exitStatus) << setting;
        EXPECT_THAT(system.log(), HasSubstr("WirelessCharger AIDL HAL service is starting"));
        EXPECT_THAT(system.log(), HasSubstr(message));
        expectNothingRegistered();
    }
}

TEST_F(StartUpTest, DumpWhoseReaderHasGoneDoesNotEndIt) {
    system.start();
    const auto client = system.connect();
    int ends[2];
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    close(ends[0]);
    EXPECT_EQ(STATUS_OK, AIBinder_dump(client->asBinder().get(), ends[1], nullptr, 0));
    close(ends[1]);
    bool isOn = false;
    EXPECT_TRUE(client->isRtxModeOn(&isOn).isOk());
    EXPECT_EQ("", system.complaint());
}

TEST_F(StartUpTest, OtherLibrariesTakeTheDocksPlaceAndAnyResultButZeroIsAFailure) {
    const std::string path = std::string("LD_LIBRARY_PATH=") + REPLACED_LIBRARIES;
    EXPECT_EQ(2, runService({"/usr/bin/env", path, "REPLACED_CHARGELINK=-1"}).exitStatus);
    EXPECT_THAT(system.log(), HasSubstr("replaced initWlcProto"));
    EXPECT_THAT(system.log(), Not(HasSubstr("initRtxProto")));
    EXPECT_EQ(2, runService({"/usr/bin/env", path, "REPLACED_REVERSELINK=7"}).exitStatus);
    EXPECT_THAT(system.log(), HasSubstr("replaced initRtxProto"));
    expectNothingRegistered();

    system.start({"/usr/bin/env", path});
    int32_t level = 0;
    EXPECT_TRUE(system.connect()->getFanLevel(&level).isOk());
    EXPECT_EQ(1006, level);
}

TEST_F(StartUpTest, RecorderLibrariesAndDockRecordTheSameAndAllThatTheDockLogs) {
    const std::string atLibraries = system.folder() + "/libraries.trace";
    const std::string atDock = system.folder() + "/dock.trace";
    system.start({"/usr/bin/env", "LD_LIBRARY_PATH=" RECORDER_FOLDER, "CHARGELINK_REAL=" CHARGELINK,
                  "REVERSELINK_REAL=" REVERSELINK, "CHARGELINK_TRACE=" + atLibraries});
    EXPECT_EQ(0u, system.dockLog().size());
    system.dock("record " + atDock);
    EXPECT_EQ(0, run({program("wlc"), "power"}).exitStatus);
    EXPECT_EQ(0, run({program("wlc"), "auth", "--virtual-dock"}).exitStatus);
    system.dock("fan-level 4");
    EXPECT_TRUE(eventually([&] {
        const auto log = system.dockLog();
        return log.back()["operation"] == "getWlcInfo" &&
               system.dock("status")["recording"]["lines"] == log.size() + 2;
    })) << "more or less than the header, the uevent and what the dock logs";
    const auto dockctl = [](const Words& words) {
        Words all = {program("dockctl"), "trace"};
        all.insert(all.end(), words.begin(), words.end());
        return run(all);
    };
    EXPECT_TRUE(eventually([&] { return dockctl({"diff", atLibraries, atDock}).exitStatus == 0; }));
    for (const std::string& trace : {atLibraries, atDock}) {
        EXPECT_THAT(dockctl({"show", trace}).out, HasSubstr("SOURCE=FAN DRIVER=p9221")) << trace;
    }
}

TEST_F(StartUpTest, OfTwoThatStartTogetherOneServesAndTheOtherAborts) {
    const auto one = system.launch();
    const auto other = system.launch();
    ASSERT_TRUE(eventually([&] { return !isRunning(one->pid()) || !isRunning(other->pid()); }));
    const bool oneServes = isRunning(one->pid());
    EXPECT_EQ(SIGABRT, (oneServes ? other : one)->wait().signal);
    EXPECT_THAT(system.log(), HasSubstr(kFailedCheck));
    EXPECT_EQ(0, run({program("wlc"), "--wait", "30", "fan", "level"}).exitStatus);
    EXPECT_TRUE(isRunning((oneServes ? one : other)->pid()));
}

TEST_F(StartUpTest, CrashedPredecessorsLeftoversAreNoObstacle) {
    for (int round = 0; round < 3; ++round) {
        system.start();
        const auto client = system.connect();
        system.dock("fan-level " + std::to_string(round));
        int32_t level = -1;
        EXPECT_TRUE(client->getFanLevel(&level).isOk());
        EXPECT_EQ(round, level);
        system.killService();
        EXPECT_TRUE(std::filesystem::exists(system.socketPath())) << "nothing was left over";
        EXPECT_FALSE(client->getFanLevel(&level).isOk());
    }
    EXPECT_EQ(0u, system.countInLog("Check failed"));
    EXPECT_EQ(0u, system.countInLog("failed to open uevent socket"));
}

TEST_F(StartUpTest, FolderThatOthersMayEnterIsRefused) {
    ASSERT_EQ(0, chmod(system.folder().c_str(), 0710));
    EXPECT_EQ(SIGABRT, runService().signal);
    EXPECT_FALSE(std::filesystem::exists(system.socketPath()));
    EXPECT_THAT(system.log(), HasSubstr("run chmod 0700 " + system.folder()));
}

TEST_F(StartUpTest, OrdinaryUserHasItAllUeventsIncluded) {
    if (geteuid() != 0) GTEST_SKIP() << "every test of this program shows it then";
    const Words nobody = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                          "--pdeathsig=KILL"};
    const auto asNobody = [&](const Words& words) {
        Words all = nobody;
        all.insert(all.end(), words.begin(), words.end());
        return all;
    };
    if (run(asNobody({program("wlc"), "--help"})).exitStatus != 0) {
        GTEST_SKIP() << "needs setpriv, and programs that user 65534 can run";
    }
    ASSERT_EQ(0, chown(system.folder().c_str(), kNobody, kNobody));
    const auto service = system.launch(nobody);
    const Outcome fan = run(asNobody({program("wlc"), "--wait", "30", "fan", "level"}));
    EXPECT_EQ(0, fan.exitStatus) << fan.err << system.log();
    Process watch(asNobody({program("wlc"), "watch", "fan", "--count", "1", "--timeout", "50"}));
    ASSERT_TRUE(watch.waitForError("watching")) << watch.wait().err;
    const Outcome set = run(asNobody({program("dockctl"), "fan-level", "4"}));
    EXPECT_EQ(0, set.exitStatus) << set.err;
    EXPECT_EQ("", set.err) << "the change was not announced";
    const Outcome seen = watch.wait();
    EXPECT_EQ(0, seen.exitStatus) << seen.err;
    EXPECT_THAT(seen.out, HasSubstr("fan    level 4"));
    // Root is another user too.
    EXPECT_EQ(3, run({program("wlc"), "fan", "level"}).exitStatus);
}

}  // namespace
}  // namespace test_support
