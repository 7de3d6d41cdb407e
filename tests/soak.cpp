// SPDX-License-Identifier: Apache-2.0
// soak SECONDS: everything at once against one service, from many threads and processes, while the
// dock fails, is slow and goes away; clients are killed at random. Then the service has to hold
// what it held before. One line tells what was done; exit status 1 when something was wrong, 2 for
// wrong usage.
#include <android-base/unique_fd.h>
#include <android/binder_process.h>
#include <fcntl.h>
#include <host/binder_host.h>
#include <signal.h>
#include <testing/charger_system.h>
#include <testing/seed.h>
#include <testing/subscriptions.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <random>
#include <thread>
#include <tuple>
#include <type_traits>

namespace test_support {
namespace {

using charger::FirmwareVersion;
using charger::IWirelessCharger;
using I = IWirelessCharger;
using Client = std::shared_ptr<IWirelessCharger>;

class Soak {
  public:
    explicit Soak(unsigned seed) : mSeed(seed) { mSystem.start(); }

    // What is wrong at the end; empty when nothing is.
    std::string run(std::chrono::seconds duration) {
        // The first round makes what is made on first use: threads, connections, loaded modules.
        runAll(std::max(duration / 10, std::chrono::seconds(2)));
        const Usage before = settledUsage();
        runAll(duration);
        mSystem.dock("reset");
        return mSystem.complaint(before, Subscribed{0, 0, 0});
    }

    void printSummary(const std::string& wrong) const {
        std::string done;
        for (const Work& work : mWork) {
            done += std::to_string(work.rounds) + " x " + work.name + ", ";
        }
        std::printf("soak (seed %u): %s%s\n", mSeed, done.c_str(),
                    wrong.empty() ? "all is as before" : wrong.c_str());
    }

  private:
    using Random = std::mt19937;

    void runAll(std::chrono::seconds duration) {
        mStop = false;
        std::vector<std::thread> threads;
        for (Work& work : mWork) {
            threads.emplace_back([this, &work, seed = mSeed + threads.size()] {
                Random random(seed);
                try {
                    for (; !mStop; ++work.rounds) (this->*work.round)(random);
                } catch (const std::exception& error) {
                    giveUp(error.what());
                }
            });
        }
        {
            std::unique_lock lock(mStopLock);
            mStopped.wait_for(lock, duration, [this] { return mStop.load(); });
        }
        mStop = true;
        mStopped.notify_all();
        for (std::thread& thread : threads) thread.join();
        std::lock_guard lock(mStopLock);
        if (!mGaveUp.empty()) throw std::runtime_error(mGaveUp + "\n" + mSystem.complaint());
    }

    // Something that must work did not.
    void giveUp(const std::string& reason) {
        std::lock_guard lock(mStopLock);
        if (mGaveUp.empty()) mGaveUp = reason;
        mStop = true;
        mStopped.notify_all();
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

    void updateFirmware(Random& random) {
        const Client client = mSystem.connect();
        const auto target = static_cast<int8_t>(random() % 2);
        const bool compressed = random() % 2 == 0;
        constexpr int32_t kSize = 20'000;
        constexpr uint8_t kChunk = 200;
        constexpr auto kChunkByte = static_cast<int8_t>(kChunk);
        constexpr int8_t kNoResends = 0;
        (void)ask(client, &I::getFwUpdateInformation, target);
        const FirmwareVersion version{2, static_cast<int32_t>(random() % 10), ""};
        const bool fresh = compressed || random() % 2 == 0;
        const bool started =
            compressed ? ask(client, &I::compressFwUpdateStart, target, kSize * 2, kChunkByte,
                             fresh, kSize, version)
                       : ask(client, &I::fwUpdateStart, target, kSize, kChunkByte, fresh, version);
        if (!started) return;
        const std::vector<uint8_t> data(kChunk, static_cast<uint8_t>(random()));
        for (int32_t chunk = 0; chunk < kSize / kChunk && !mStop; ++chunk) {
            if (compressed) {
                (void)ask(client, &I::sendCompressFwChunk, target, chunk, kNoResends, data);
            } else {
                (void)ask(client, &I::sendFwChunk, target, chunk, kNoResends, data);
            }
        }
        (void)ask(client, &I::getFirstFwMissingChunk, target);
        (void)ask(client, &I::fwExecuteUpdate, target);
        (void)ask(client, &I::getFwUpdateExecutionStatus, target);
        (void)client->sendReboot();
    }

    void updateLegacyFirmware(Random&) {
        const Client client = mSystem.connect();
        constexpr int32_t kSize = 10'000;
        constexpr int8_t kChunk = 100;
        constexpr int8_t kNoResends = 0;
        (void)ask(client, &I::getUpdateInformation);
        if (!ask(client, &I::updateStart, kSize, kChunk, true, FirmwareVersion{})) return;
        const std::vector<uint8_t> data(kChunk, 0x5A);
        for (char16_t chunk = 0; chunk < kSize / kChunk && !mStop; ++chunk) {
            (void)ask(client, &I::sendChunk, chunk, kNoResends, data);
        }
        (void)ask(client, &I::getFirstMissingChunk);
        (void)ask(client, &I::executeUpdate);
        (void)ask(client, &I::getUpdateExecutionStatus);
        (void)client->reboot();
    }

    void authenticate(Random& random) {
        const Client client = mSystem.connect();
        const auto slot = static_cast<int8_t>(random() % 4);
        const auto offset = static_cast<char16_t>(random() % 1200);
        (void)ask(client, &I::isAuthReady);
        (void)ask(client, &I::getWpcAuthDigests, int8_t{0x0F});
        (void)ask(client, &I::getWpcAuthCertificate, slot, char16_t{0}, char16_t{0});
        (void)ask(client, &I::getWpcAuthCertificate, slot, offset, char16_t{300});
        (void)ask(client, &I::getWpcAuthChallengeResponse, slot, std::vector<uint8_t>(16, 7));
        (void)ask(client, &I::keyExchange, std::vector<uint8_t>(32, 9));
        (void)ask(client, &I::challenge, int8_t{3}, std::vector<uint8_t>(8, 1));
    }

    void readEverything(Random& random) {
        const Client client = mSystem.connect();
        for (int i = 0; i < 20; ++i) {
            (void)ask(client, &I::getInformation);
            (void)ask(client, &I::getDockInformation);
            (void)ask(client, &I::isDockPresent);
            (void)ask(client, &I::getPhoneInformation);
            (void)ask(client, &I::getPowerInformation);
            (void)ask(client, &I::getAlignInfo);
            (void)ask(client, &I::getSkinTemperature);
            (void)ask(client, &I::getRtxInformation);
            (void)client->setRtxMode(random() % 2 == 0);
            (void)ask(client, &I::getFanInfo, static_cast<int8_t>(random() % 9));
            (void)ask(client, &I::setFan, int8_t{1}, charger::FanMode::MANUAL, char16_t{40});
            (void)ask(client, &I::getFeatures, static_cast<int64_t>(random() % 5));
        }
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

    void dump(Random& random) {
        if (random() % 8 == 0) {
            (void)test_support::run({program("dumpsys"), kInstance});
        } else {
            (void)mSystem.subscribed();
        }
    }

    void runShellCommand(Random& random) {
        const Client client = mSystem.connect();
        const std::array<Words, 6> commands = {
            Words{"diag.maxpower", std::to_string(random() % 20)},
            Words{"diag.qispec", "0x2101"},
            Words{"cert.request_length", std::to_string(1 + random() % 127)},
            Words{"eds.test", "1", "50", "32"},
            Words{"nonsense", "\xff\xfe"},
            Words{}};
        const android::base::unique_fd null(open("/dev/null", O_RDWR | O_CLOEXEC));
        binder_status_t result = STATUS_OK;
        for (const Words& command : commands) {
            (void)android::host::shellCommand(client->asBinder().get(), null.get(), null.get(),
                                              null.get(), command, &result);
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
            "fail getWLCAlignment 5 3",
            "fail sendRtxRequest 4 5",
            "delay sendBidiRequest 20 3",
            "delay sendWpcAuthRequest 30 2",
            "delay getFeature 50 4",
            "delay getWLCAlignment 20 2",
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
        waitUnlessStopped(std::chrono::milliseconds(5 + random() % 30));
    }

    void killClients(Random& random) {
        const std::array<Words, 4> commands = {
            Words{program("subscriber"), "8", "1", "1"}, Words{program("wlc"), "auth"},
            Words{program("wlc"), "watch"}, Words{program("wlc"), "dump"}};
        std::vector<std::unique_ptr<Process>> clients;
        for (const Words& command : commands) clients.push_back(std::make_unique<Process>(command));
        waitUnlessStopped(std::chrono::milliseconds(random() % 500));
    }

    void waitUnlessStopped(std::chrono::milliseconds time) {
        std::unique_lock lock(mStopLock);
        mStopped.wait_for(lock, time, [this] { return mStop.load(); });
    }

    const unsigned mSeed;
    ChargerSystem mSystem;
    struct Work {
        const char* name;
        void (Soak::*round)(Random&);
        uint64_t rounds = 0;
    };
    std::array<Work, 10> mWork = {{{"firmware update", &Soak::updateFirmware},
                                   {"legacy update", &Soak::updateLegacyFirmware},
                                   {"authentication", &Soak::authenticate},
                                   {"reading", &Soak::readEverything},
                                   {"events", &Soak::sendEvent},
                                   {"dump", &Soak::dump},
                                   {"shell commands", &Soak::runShellCommand},
                                   {"subscription", &Soak::comeAndGo},
                                   {"fault", &Soak::disturbTheDock},
                                   {"clients killed", &Soak::killClients}}};
    std::atomic<bool> mStop = false;
    std::mutex mStopLock;
    std::condition_variable mStopped;
    std::string mGaveUp GUARDED_BY(mStopLock);
};

int runSoak(int argc, char** argv) {
    const int seconds = argc == 2 ? std::atoi(argv[1]) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: soak SECONDS\n");
        return 2;
    }
    signal(SIGPIPE, SIG_IGN);
    ABinderProcess_startThreadPool();
    std::string wrong;
    try {
        Soak soak(randomSeed());
        wrong = soak.run(std::chrono::seconds(seconds));
        soak.printSummary(wrong);
    } catch (const std::exception& error) {
        std::printf("soak: %s\n", error.what());
        return 1;
    }
    if (!hasNoChildren()) {
        std::printf("soak: a process is left\n");
        return 1;
    }
    return wrong.empty() ? 0 : 1;
}

}  // namespace
}  // namespace test_support

int main(int argc, char** argv) {
    return test_support::runSoak(argc, argv);
}
