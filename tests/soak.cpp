// SPDX-License-Identifier: Apache-2.0
// soak SECONDS: everything at once against one service, from many threads and processes, while the
// dock fails, is slow and goes away; clients are killed at random. Then the service has to hold
// what it held before. One line tells what was done; exit status 1 when something was wrong, 2 for
// wrong usage.
#include <android/binder_process.h>
#include <signal.h>
#include <testing/charger_system.h>
#include <testing/seed.h>
#include <testing/subscriptions.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <random>
#include <thread>
#include <tuple>
#include <type_traits>

namespace test_support {
namespace {

using charger::FirmwareVersion;
using I = charger::IWirelessCharger;
using Client = std::shared_ptr<I>;

class Soak {
  public:
    // What is wrong at the end; empty when nothing is.
    std::string run(std::chrono::seconds duration) {
        try {
            mSystem.start();
            // The first round makes what is made on first use: threads, connections, loaded
            // modules.
            runAll(std::max(duration / 10, std::chrono::seconds(2)));
            const Usage before = settledUsage();
            runAll(duration);
            mSystem.dock("reset");
            return mSystem.complaint(before, Subscribed{0, 0, 0});
        } catch (const std::exception& error) {
            return std::string(error.what()) + "\n" + mSystem.complaint();
        }
    }

    void printSummary(const std::string& wrong) const {
        for (const Work& work : mWork) {
            std::printf("%llu x %s, ", static_cast<unsigned long long>(work.rounds), work.name);
        }
        std::printf("%s\n", wrong.empty() ? "all is as before" : wrong.c_str());
    }

  private:
    using Random = std::mt19937;

    struct Work {
        const char* name;
        void (Soak::*round)(Random&);
        int threads;
        std::atomic<uint64_t> rounds = 0;
    };

    void runAll(std::chrono::seconds duration) {
        mStop = false;
        std::vector<std::future<void>> threads;
        for (Work& work : mWork) {
            for (int i = 0; i < work.threads; ++i) {
                const auto seed = mSeed + static_cast<unsigned>(threads.size());
                threads.push_back(
                    std::async(std::launch::async, [this, &work, seed] { repeat(work, seed); }));
            }
        }
        (void)eventually([this] { return mStop.load(); }, duration);
        mStop = true;
        for (auto& thread : threads) thread.get();
    }

    void repeat(Work& work, unsigned seed) {
        Random random(seed);
        try {
            for (; !mStop; ++work.rounds) (this->*work.round)(random);
        } catch (...) {  // something that must work did not
            mStop = true;
            throw;
        }
    }

    Usage settledUsage() {
        mSystem.dock("reset");
        Usage usage;
        // The sockets of the clients that have gone are closed when the service gets to it.
        (void)eventually([&] {
            const Usage now = mSystem.usage();
            const bool settled =
                mSystem.subscribed() == Subscribed{0, 0, 0} && now.descriptors == usage.descriptors;
            usage = now;
            return settled;
        });
        return usage;
    }

    // Every call has to come back; whether it succeeds is the dock's affair.
    template <typename... Parameters, typename... Arguments>
    static bool ask(const Client& client, ndk::ScopedAStatus (I::*method)(Parameters...),
                    const Arguments&... arguments) {
        using Out = std::tuple_element_t<sizeof...(Arguments), std::tuple<Parameters...>>;
        std::remove_pointer_t<Out> answer{};
        return (client.get()->*method)(arguments..., &answer).isOk();
    }

    void callMethods(Random& random) {
        const Client client = mSystem.connect();
        for (int i = 0; i < 10; ++i) {
            const auto number = static_cast<int8_t>(random() % 9);
            const auto slot = static_cast<int8_t>(random() % 4);
            const auto offset = static_cast<char16_t>(random() % 1200);
            (void)ask(client, &I::getInformation);
            (void)ask(client, &I::getDockInformation);
            (void)ask(client, &I::isDockPresent);
            (void)ask(client, &I::getPhoneInformation);
            (void)ask(client, &I::getPowerInformation);
            (void)ask(client, &I::getAlignInfo);
            (void)ask(client, &I::getSkinTemperature);
            (void)ask(client, &I::getRtxInformation);
            (void)client->setRtxMode(random() % 2 == 0);
            (void)ask(client, &I::getFanInfo, number);
            (void)ask(client, &I::setFan, int8_t{1}, charger::FanMode::MANUAL, char16_t{40});
            (void)ask(client, &I::getFeatures, static_cast<int64_t>(number));
            (void)ask(client, &I::isAuthReady);
            (void)ask(client, &I::getWpcAuthDigests, int8_t{0x0F});
            (void)ask(client, &I::getWpcAuthCertificate, slot, offset, char16_t{300});
            (void)ask(client, &I::getWpcAuthChallengeResponse, slot, std::vector<uint8_t>(16, 7));
            (void)ask(client, &I::keyExchange, std::vector<uint8_t>(32, 9));
            (void)ask(client, &I::challenge, int8_t{3}, std::vector<uint8_t>(8, 1));
        }
    }

    // An update of the old kind and one of the new kind together.
    void updateFirmware(Random& random) {
        const Client client = mSystem.connect();
        const auto target = static_cast<int8_t>(random() % 2);
        const bool compressed = random() % 2 == 0;
        constexpr int32_t kSize = 10'000;
        constexpr int8_t kChunk = 100;
        constexpr int8_t kNoResends = 0;
        const FirmwareVersion version{2, static_cast<int32_t>(random() % 10), ""};
        (void)ask(client, &I::getFwUpdateInformation, target);
        (void)ask(client, &I::getUpdateInformation);
        if (compressed) {
            (void)ask(client, &I::compressFwUpdateStart, target, kSize * 2, kChunk, true, kSize,
                      version);
        } else {
            (void)ask(client, &I::fwUpdateStart, target, kSize, kChunk, true, version);
        }
        (void)ask(client, &I::updateStart, kSize, kChunk, true, version);
        const std::vector<uint8_t> data(kChunk, static_cast<uint8_t>(random()));
        for (char16_t chunk = 0; chunk < kSize / kChunk && !mStop; ++chunk) {
            if (compressed) {
                (void)ask(client, &I::sendCompressFwChunk, target, chunk, kNoResends, data);
            } else {
                (void)ask(client, &I::sendFwChunk, target, chunk, kNoResends, data);
            }
            (void)ask(client, &I::sendChunk, chunk, kNoResends, data);
        }
        (void)ask(client, &I::getFirstFwMissingChunk, target);
        (void)ask(client, &I::getFirstMissingChunk);
        (void)ask(client, &I::fwExecuteUpdate, target);
        (void)ask(client, &I::executeUpdate);
        (void)ask(client, &I::getFwUpdateExecutionStatus, target);
        (void)ask(client, &I::getUpdateExecutionStatus);
        (void)client->sendReboot();
        (void)client->reboot();
    }

    void sendEvent(Random& random) {
        virtual_dock::Connection dock;
        for (int i = 0; i < 50 && !mStop; ++i) {
            constexpr std::array kLines = {"align 1 0 7",    "fan-level 3",       "rtx connect",
                                           "rtx disconnect", "charging off",      "charging on",
                                           "align 0 1 2 3",  "uevent NAME=value", "rtx error 3"};
            (void)dock.ask(kLines[random() % kLines.size()]);
        }
    }

    // Subscribers in this process, which leave as they should; in others they are killed.
    void comeAndGo(Random&) {
        const Client client = mSystem.connect();
        const auto align = ndk::SharedRefBase::make<AlignSubscriber>();
        const auto rtx = ndk::SharedRefBase::make<RtxSubscriber>();
        const auto fan = ndk::SharedRefBase::make<FanSubscriber>();
        (void)client->registerCallback(align);
        (void)client->registerRtxCallback(rtx);
        (void)client->registerFanLevelChangedCallback(fan);
        int32_t level = 0;
        for (int i = 0; i < 20; ++i) (void)client->getFanLevel(&level);
        (void)client->unregisterFanLevelChangedCallback(fan);
        (void)client->unregisterRtxCallback(rtx);
        (void)client->unregisterCallback(align);
    }

    void disturbTheDock(Random& random) {
        constexpr std::array kLines = {
            "fail sendBidiRequest 7 5",
            "fail sendPropRequest 12 5",
            "fail sendWpcAuthRequest 11 2",
            "fail getWlcInfo 6 5",
            "fail sendRtxRequest 4 5",
            "delay sendBidiRequest 20 3",
            "delay sendWpcAuthRequest 30 2",
            "delay getFeature 50 4",
            "answer sendBidiRequest:12 0f 2",
            "answer sendWpcAuthRequest 00 2",
            "answer sendPropRequest:24 ff 2",
            "answer sendBidiRequest:0 0304ffffff 2",
            "answer sendRtxRequest:3 30313233343536373839303132333435363738393031 2",
            "set rtx.texts garbage",
            "set auth.claimed-length 65535",
            "set auth.max-piece 1",
            "set firmware.0.forget-every 7",
            "remove",
            "place",
            "reset"};
        virtual_dock::Connection dock;
        (void)dock.ask(kLines[random() % kLines.size()]);
        // So that much goes well in between.
        std::this_thread::sleep_for(std::chrono::milliseconds(5 + random() % 30));
    }

    // In a process of its own, which is killed unless it ends soon.
    void runClient(Random& random) {
        const std::array<Words, 8> commands = {
            Words{"wlc", "watch"},
            {"wlc", "auth"},
            {"wlc", "dump"},
            {"dumpsys", kInstance},
            {"wlc", "shell", "diag.maxpower", std::to_string(random() % 20)},
            {"wlc", "shell", "cert.request_length", std::to_string(1 + random() % 127)},
            {"wlc", "shell", "eds.test", "1", "50", "32"},
            {"wlc", "shell", "nonsense", "\xff\xfe"}};
        Words command = commands[random() % commands.size()];
        command[0] = program(command[0]);
        const Process client(command);
        for (auto left = random() % 200; left > 0 && !mStop && isRunning(client.pid()); --left) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }

    const unsigned mSeed = randomSeed();
    ChargerSystem mSystem;
    std::array<Work, 6> mWork = {{{"other calls", &Soak::callMethods, 2},
                                  {"two updates", &Soak::updateFirmware, 1},
                                  {"events", &Soak::sendEvent, 1},
                                  {"subscription", &Soak::comeAndGo, 1},
                                  {"fault", &Soak::disturbTheDock, 1},
                                  {"client process", &Soak::runClient, 5}}};
    std::atomic<bool> mStop = false;
};

}  // namespace
}  // namespace test_support

int main(int argc, char** argv) {
    const int seconds = argc == 2 ? std::atoi(argv[1]) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: soak SECONDS\n");
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    ABinderProcess_startThreadPool();
    std::string wrong;
    {
        test_support::Soak soak;
        wrong = soak.run(std::chrono::seconds(seconds));
        soak.printSummary(wrong);
    }
    if (!test_support::hasNoChildren()) {
        std::printf("a process is left\n");
        return 1;
    }
    return wrong.empty() ? 0 : 1;
}
