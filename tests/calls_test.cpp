// SPDX-License-Identifier: Apache-2.0
// Many clients call at once, and what their calls make of the dock.
#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "charger_system.h"

namespace charger_system {
namespace {

using charger::ErrorCode;
using charger::FanInfo;
using charger::FanMode;

class CallsTest : public testing::Test {
  protected:
    void SetUp() override { system.start(); }
    void TearDown() override {
        EXPECT_EQ("", system.complaint());
        system.killService();
        EXPECT_TRUE(hasNoChildren());
    }

    // The frames that the dock saw for its fans, in hexadecimal.
    Words fanFrames() {
        Words frames;
        const Outcome log = run({program("dockctl"), "--json", "log"});
        EXPECT_EQ(0, log.exitStatus) << log.err;
        std::istringstream lines(log.out);
        for (std::string line; std::getline(lines, line);) {
            const Json entry = Json::parse(line);
            if (entry["operation"] == "sendBidiRequest" && entry["type"] == 12) {
                frames.push_back(entry["request"]);
            }
        }
        return frames;
    }

    // Takes so many of the service's threads until the dock is reset.
    std::vector<std::thread> blockThreads(int count) {
        system.dock("delay getFeature 600000 " + std::to_string(count));
        std::vector<std::thread> blocked;
        for (int i = 0; i < count; ++i) {
            blocked.emplace_back([this] {
                charger::WirelessChargerFeature feature;
                if (system.connect()->getFeatures(1, &feature).isOk()) ++answered;
            });
        }
        EXPECT_TRUE(eventually([&] { return system.dock("status")["faults"].empty(); }));
        return blocked;
    }

    static void joinAll(std::vector<std::thread>* threads) {
        for (std::thread& thread : *threads) thread.join();
        threads->clear();
    }

    ChargerSystem system;
    std::atomic<int> answered = 0;
};

TEST_F(CallsTest, FanFramesAreByteForByteAsTheDockKnowsThem) {
    const auto client = system.connect();
    FanInfo info;
    EXPECT_TRUE(client->getFanInfo(2, &info).isOk());
    EXPECT_TRUE(client->getFanInfo(7, &info).isOk());
    EXPECT_TRUE(client->getFanInfo(-1, &info).isOk());
    EXPECT_TRUE(client->setFan(3, FanMode::MANUAL, 0x0150, &info).isOk());
    EXPECT_EQ(0x0150, info.level);
    EXPECT_TRUE(client->setFan(3, FanMode::AUTO, 0x0150, &info).isOk());
    EXPECT_TRUE(client->setFan(3, static_cast<FanMode>(2), 0x0150, &info).isOk());
    EXPECT_TRUE(client->setFan(-1, FanMode::MANUAL, 0xFFFF, &info).isOk());
    EXPECT_THAT(fanFrames(), testing::ElementsAre("0ffa", "0fff", "0fff", "0f0b5001", "0f03",
                                                  "0f00", "0fffffff"));
}

TEST_F(CallsTest, FanThatCannotBeGivesError1AndSendsNothing) {
    const auto client = system.connect();
    FanInfo info;
    for (const int fan : {8, 9, 127}) {
        const auto index = static_cast<int8_t>(fan);
        EXPECT_EQ(static_cast<int>(ErrorCode::INVALID_ARGUMENT),
                  client->getFanInfo(index, &info).getServiceSpecificError());
        EXPECT_EQ(static_cast<int>(ErrorCode::INVALID_ARGUMENT),
                  client->setFan(index, FanMode::MANUAL, 1, &info).getServiceSpecificError());
    }
    const Outcome tool = run({program("wlc"), "--json", "fan", "get", "8"});
    EXPECT_EQ(1, tool.exitStatus);
    EXPECT_EQ(1, Json::parse(tool.out)["error"]["code"]);
    EXPECT_THAT(fanFrames(), testing::IsEmpty());
}

TEST_F(CallsTest, OneFreeThreadServesEverybodyWhileTheOthersWaitForTheDock) {
    auto blocked = blockThreads(3);
    std::vector<std::thread> clients;
    std::atomic<int> served = 0;
    for (int i = 0; i < 61; ++i) {
        clients.emplace_back([&, i] {
            const auto client = system.connect();
            for (int call = 0; call < 20; ++call) {
                FanInfo info;
                const auto fan = static_cast<int8_t>(i % 8);
                if (client->getFanInfo(fan, &info).isOk() && info.valid) ++served;
            }
        });
    }
    joinAll(&clients);
    EXPECT_EQ(61 * 20, served);
    EXPECT_EQ(0, answered) << "no thread was blocked";
    system.dock("reset");
    joinAll(&blocked);
    EXPECT_EQ(3, answered);
}

TEST_F(CallsTest, SixtyFourClientsAreAnsweredWithFourThreadsBlockedInTheDock) {
    std::vector<std::shared_ptr<charger::IWirelessCharger>> connections;
    for (int i = 0; i < 56; ++i) connections.push_back(system.connect());
    auto blocked = blockThreads(4);
    std::vector<std::thread> clients;
    std::atomic<int> calling = 0;
    std::atomic<int> served = 0;
    for (const auto& connection : connections) {
        clients.emplace_back([&] {
            FanInfo info;
            ++calling;
            if (connection->getFanInfo(1, &info).isOk()) ++served;
        });
    }
    std::vector<std::unique_ptr<Process>> processes;
    for (int i = 0; i < 4; ++i) {
        processes.push_back(std::make_unique<Process>(
            Words{program("wlc"), "--wait", "60", "fan", "get", std::to_string(i)}));
    }
    ASSERT_TRUE(eventually([&] { return calling == 56; }));
    EXPECT_EQ(0, served) << "a fifth thread answered";
    system.dock("reset");
    joinAll(&clients);
    joinAll(&blocked);
    EXPECT_EQ(56, served);
    EXPECT_EQ(4, answered);
    for (const auto& process : processes) {
        const Outcome outcome = process->wait();
        EXPECT_EQ(0, outcome.exitStatus) << outcome.err;
    }
}

}  // namespace
}  // namespace charger_system
