// SPDX-License-Identifier: Apache-2.0
// A dock that outlives services, is shared by them, and remembers across its own end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <testing/charger_system.h>
#include <testing/seed.h>

#include <random>
#include <set>

namespace test_support {
namespace {

using virtual_dock::Connection;

constexpr size_t kChunkSize = 252;
constexpr int kChunks = 30;

class DockProcessTest : public testing::Test {
  protected:
    void TearDown() override {
        unsetenv("VIRTUAL_DOCK");
        EXPECT_EQ("", system.complaint());
    }

    void startDock() {
        dock = std::make_unique<Process>(
            Words{program("virtual-dock"), "--state", system.folder() + "/kept"});
        ASSERT_TRUE(dock->waitForError("listening")) << dock->wait().err;
    }
    void killDock() {
        dock->signal(SIGKILL);
        dock->wait();
    }
    static Json status() { return Json::parse(Connection().ask("status")); }

    // Starts an update and returns when the dock has got so many of its chunks.
    std::unique_ptr<Process> updateUntil(const Words& command, int chunks) {
        Connection follower;
        follower.ask("follow");
        auto update = std::make_unique<Process>(command);
        follower.waitForLine(std::chrono::seconds(20));
        for (int seen = 0; seen < chunks;) {
            const Json line = Json::parse(follower.receive());
            if (line["operation"] == "sendPropRequest" && line["type"] == 26) ++seen;
        }
        return update;
    }

    // Interrupts updates at random places, continues each, and compares what the dock executed.
    void interruptUpdates(const std::function<void()>& crash) {
        std::mt19937 random(randomSeed());
        Connection().ask("set firmware.0.execute-ms 1");
        for (int round = 0; round < 20; ++round) {
            std::string bytes(kChunks * kChunkSize, '\0');
            for (char& byte : bytes) byte = static_cast<char>(random());
            const std::string image = system.file("image", bytes);
            const std::string digest = run({"/usr/bin/sha256sum", image}).out.substr(0, 64);
            Words command = {program("wlc"), "firmware",     "update",
                             image,          "--fw-version", "3." + std::to_string(round)};
            if (round % 2 == 1) command.push_back("--compress");
            const int chunks = 1 + static_cast<int>(random() % kChunks);
            SCOPED_TRACE("round " + std::to_string(round) + ", chunk " + std::to_string(chunks));
            Connection().ask("delay sendPropRequest:26 3");
            const auto update = updateUntil(command, chunks);
            crash();
            Connection().ask("delay sendPropRequest:26 0");
            const Outcome interrupted = update->wait();
            if (interrupted.exitStatus == 0) continue;  // the last chunk was not the last request
            command.push_back("--resume");
            const Outcome resumed = run(command);
            ASSERT_EQ(0, resumed.exitStatus) << resumed.err << interrupted.err;
            ASSERT_EQ(digest, status()["firmware"][0]["executedDigest"]);
        }
    }

    ChargerSystem system;
    std::unique_ptr<Process> dock;
};

TEST_F(DockProcessTest, UpdateGoesOnAfterTheServiceWasKilled) {
    startDock();
    system.start();
    interruptUpdates([this] {
        system.killService();
        system.start();
    });
}

TEST_F(DockProcessTest, UpdateGoesOnAfterTheDockWasKilled) {
    startDock();
    system.start();
    interruptUpdates([this] {
        killDock();
        startDock();
        Connection().ask("set firmware.0.execute-ms 1");
    });
}

TEST_F(DockProcessTest, ServicesShareADockThatComesAndGoes) {
    startDock();
    setenv("VIRTUAL_DOCK", (system.folder() + "/dock").c_str(), 1);
    system.start();
    std::vector<std::unique_ptr<ChargerSystem>> more;
    std::vector<std::shared_ptr<charger::IWirelessCharger>> services = {system.connect()};
    for (int i = 0; i < 3; ++i) {
        more.push_back(std::make_unique<ChargerSystem>());
        more.back()->start();
        services.push_back(more.back()->connect());
    }
    const auto askAll = [&](bool answered) {
        for (const auto& service : services) {
            charger::FanInfo info;
            EXPECT_EQ(answered, service->getFanInfo(2, &info).isOk());
        }
    };
    askAll(true);
    // Each service reads the level that the uevent is about.
    const auto levelsRead = [&] {
        const std::vector<Json> entries = system.dockLog();
        return std::count_if(entries.begin(), entries.end(), [](const Json& entry) {
            return entry["operation"] == "getWlcInfo" && entry["type"] == 6;
        });
    };
    ASSERT_THAT(Connection().ask("fan-level 3"), testing::HasSubstr("\"sent\":true"));
    EXPECT_TRUE(eventually([&] { return levelsRead() == 4; }));
    killDock();
    askAll(false);
    setenv("ANDROID_HOST_DIR", system.folder().c_str(), 1);
    startDock();
    // All of them, though none has asked for anything, once they have found it.
    EXPECT_TRUE(eventually([&] {
        const auto before = levelsRead();
        Connection().ask("fan-level 4");
        return eventually([&] { return levelsRead() >= before + 4; }, std::chrono::seconds(1));
    }));
    askAll(true);
}

TEST_F(DockProcessTest, HostileConnectionsEndAlone) {
    startDock();
    system.start();
    const auto service = system.connect();
    const std::string tooLong =
        std::string("\x04\0\0\0\x0c\0\0\0\0\0\0\0\x10\0\0\0\xff\xff\0\0", 20);
    const std::string noOperation(20, '\x7f');
    const std::string twoAtOnce(40, '\0');
    for (const std::string& bytes : {tooLong, noOperation, twoAtOnce}) {
        Connection hostile;
        EXPECT_EQ("{\"ok\":true}", hostile.ask("exchange 1"));
        hostile.write(bytes);
        EXPECT_THROW(hostile.receive(), virtual_dock::NoDock);
    }
    EXPECT_THAT(Connection().ask("exchange 2"), testing::HasSubstr("version 1"));
    std::vector<std::unique_ptr<Connection>> idle;
    for (int i = 0; i < 100; ++i) {
        idle.push_back(std::make_unique<Connection>());
        idle.back()->ask("exchange 1");
    }
    charger::FanInfo info;
    EXPECT_TRUE(service->getFanInfo(2, &info).isOk());
}

}  // namespace
}  // namespace test_support
