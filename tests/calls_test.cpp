// SPDX-License-Identifier: Apache-2.0
// Many clients call at once, while others wait for the dock.
#include <gtest/gtest.h>
#include <testing/charger_system.h>

#include <atomic>
#include <thread>

namespace test_support {
namespace {

using charger::FanInfo;

class CallsTest : public testing::Test {
  protected:
    void SetUp() override { system.start(); }
    void TearDown() override {
        EXPECT_EQ("", system.complaint());
        system.killService();
        EXPECT_TRUE(hasNoChildren());
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

TEST_F(CallsTest, OneFreeThreadServesEverybodyAndWithoutOneEverybodyWaits) {
    auto blocked = blockThreads(3);
    std::vector<std::shared_ptr<charger::IWirelessCharger>> connections;
    for (int i = 0; i < 56; ++i) connections.push_back(system.connect());
    std::vector<std::thread> clients;
    std::atomic<int> calling = 0;
    std::atomic<int> served = 0;
    const auto callFromEach = [&](int calls) {
        for (const auto& connection : connections) {
            clients.emplace_back([&, calls] {
                ++calling;
                FanInfo info;
                for (int call = 0; call < calls; ++call) {
                    const auto fan = static_cast<int8_t>(call % 8);
                    if (connection->getFanInfo(fan, &info).isOk() && info.valid) ++served;
                }
            });
        }
    };
    callFromEach(20);
    joinAll(&clients);
    EXPECT_EQ(56 * 20, served);
    EXPECT_EQ(0, answered) << "no thread was blocked";

    for (std::thread& last : blockThreads(1)) blocked.push_back(std::move(last));
    calling = 0;
    served = 0;
    callFromEach(1);
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
}  // namespace test_support
