// SPDX-License-Identifier: Apache-2.0
// Subscribers that come, go, die, stop and change their minds while events flow.
#include <android/binder_process.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <testing/charger_system.h>
#include <testing/seed.h>
#include <testing/subscriptions.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <sstream>
#include <thread>

namespace test_support {
namespace {

// One half of them is never killed.
constexpr size_t kProcesses = 20;
constexpr size_t kMortal = 10;
constexpr int kUnconfirmedEvents = 8;

constexpr std::chrono::seconds kKillingTime(6);

// Counts the events from the one after `last` on, for as long as they come in their order.
class OrderedSubscriber : public charger::BnWirelessChargerInfoCallback {
  public:
    OrderedSubscriber(int32_t last, std::atomic<size_t>* count) : mLast(last), mCount(count) {}
    ndk::ScopedAStatus alignChanged(const charger::AlignInfo& info) override {
        mIsInOrder = mIsInOrder && info.value1 == ++mLast;
        if (mIsInOrder) ++*mCount;
        return ndk::ScopedAStatus::ok();
    }

  private:
    // Oneway calls of an object run one after the other.
    int32_t mLast;
    bool mIsInOrder = true;
    std::atomic<size_t>* const mCount;
};

// Lets this process and its children have as many descriptors as may be.
size_t raiseDescriptorLimit() {
    rlimit limit{};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur;
}

class SubscribersTest : public testing::Test {
  protected:
    static void SetUpTestSuite() { sDescriptorLimit = raiseDescriptorLimit(); }
    void SetUp() override {
        ABinderProcess_startThreadPool();
        system.start();
        mClient = system.connect();
        mOwn = ndk::SharedRefBase::make<AlignSubscriber>();
        ASSERT_TRUE(mClient->registerCallback(mOwn).isOk());
    }
    void TearDown() override {
        EXPECT_EQ("", system.complaint());
        system.killService();
        EXPECT_TRUE(hasNoChildren());
    }

    // An alignment event with the next number. Waits until this process's subscriber has it: the
    // dock then has been asked, so that the next number cannot overtake it.
    bool sendEvent() {
        const int32_t number = ++mNumber;
        system.dock("align 1 0 " + std::to_string(number));
        return mOwn->waitFor([&](const charger::AlignInfo& info) { return info.value1 == number; });
    }
    // One that all these processes have to have, too. They cannot fall far behind then: a
    // subscriber that does would be dropped.
    bool sendEventTo(const std::vector<std::unique_ptr<Process>>& processes) {
        if (!sendEvent()) return false;
        const std::string printed = valueText(mNumber);
        return std::all_of(processes.begin(), processes.end(),
                           [&](const auto& process) { return process->waitForOutput(printed); });
    }
    static std::string valueText(int32_t number) {
        return "\"value1\":" + std::to_string(number) + ",";
    }

    // A process with a subscriber of each kind.
    static std::unique_ptr<Process> startSubscriber() {
        return std::make_unique<Process>(Words{program("wlc"), "--json", "watch"});
    }
    static void expectReady(Process& process) {
        ASSERT_TRUE(process.waitForError("watching")) << process.wait().err;
    }
    // Had every event from its first one on, in order.
    void expectWhole(Process& process) const {
        process.signal(SIGTERM);
        const Outcome outcome = process.wait();
        EXPECT_EQ(0, outcome.exitStatus) << outcome.err;
        std::istringstream lines(outcome.out);
        std::string line;
        int32_t number = mNumber - static_cast<int32_t>(
                                       std::count(outcome.out.begin(), outcome.out.end(), '\n'));
        while (std::getline(lines, line)) ASSERT_EQ(++number, Json::parse(line)["value1"]);
    }

    // Nobody but this process's one.
    static constexpr Subscribed kOnlyOwn = {0, 1, 0};

    inline static size_t sDescriptorLimit = 0;
    ChargerSystem system;
    std::shared_ptr<charger::IWirelessCharger> mClient;
    std::shared_ptr<AlignSubscriber> mOwn;
    int32_t mNumber = 0;
};

TEST_F(SubscribersTest, ThreeThousandSessionsEachHaveEveryEventInOrder) {
    constexpr size_t kSessions = 3000;
    constexpr int kEvents = kSanitized ? 20 : 200;
    constexpr int kUnconfirmed = 50;  // fewer than a socket holds
    if (sDescriptorLimit < 2 * kSessions + 100) {
        GTEST_SKIP() << sDescriptorLimit << " descriptors are not enough";
    }
    ASSERT_TRUE(sendEvent());
    const size_t descriptors = system.usage().descriptors;
    static std::atomic<size_t> received = 0;  // callbacks may outlive a test that failed
    std::vector<std::shared_ptr<charger::IWirelessCharger>> clients;
    std::vector<std::shared_ptr<OrderedSubscriber>> subscribers;
    for (size_t i = 0; i < kSessions; ++i) {
        clients.push_back(system.connect());
        subscribers.push_back(ndk::SharedRefBase::make<OrderedSubscriber>(mNumber, &received));
        ASSERT_TRUE(clients.back()->registerCallback(subscribers.back()).isOk()) << i;
    }
    for (int sent = 1; sent <= kEvents; ++sent) {
        ASSERT_TRUE(sendEvent()) << sent;
        if (sent % kUnconfirmed != 0 && sent != kEvents) continue;
        const size_t expected = kSessions * static_cast<size_t>(sent);
        ASSERT_TRUE(eventually([&] { return received == expected; }))
            << received << " of " << expected << " callbacks came in their order";
    }
    EXPECT_EQ((Subscribed{0, 1 + static_cast<int>(kSessions), 0}), system.subscribed());
    for (size_t i = 0; i < kSessions; ++i) {
        EXPECT_TRUE(clients[i]->unregisterCallback(subscribers[i]).isOk());
    }
    clients.clear();
    EXPECT_EQ(kOnlyOwn, system.subscribed());
    EXPECT_TRUE(eventually([&] { return system.usage().descriptors <= descriptors; }))
        << system.usage().descriptors << " descriptors; before: " << descriptors;
}

TEST_F(SubscribersTest, KilledAtRandomTheyLeaveNothingAndSurvivorsMissNothing) {
    std::mt19937 random(randomSeed());

    // Once in advance, so that what is made on first use does not count.
    {
        std::vector<std::unique_ptr<Process>> processes;
        for (size_t i = 0; i < kMortal; ++i) processes.push_back(startSubscriber());
        for (auto& process : processes) expectReady(*process);
        ASSERT_TRUE(sendEvent());
    }
    ASSERT_TRUE(eventually([&] { return system.subscribed() == kOnlyOwn; }));
    const Usage before = system.usage();

    std::vector<std::unique_ptr<Process>> survivors;
    std::vector<std::unique_ptr<Process>> mortal;
    for (size_t i = kMortal; i < kProcesses; ++i) survivors.push_back(startSubscriber());
    for (size_t i = 0; i < kMortal; ++i) mortal.push_back(startSubscriber());
    for (auto& process : survivors) expectReady(*process);
    for (auto& process : mortal) expectReady(*process);
    EXPECT_EQ((Subscribed{kProcesses, 1 + kProcesses, kProcesses}), system.subscribed());

    std::atomic<bool> stop = false;
    std::atomic<int> events = 0;
    std::atomic<bool> lost = false;
    std::thread eventThread([&] {
        while (!stop && !lost) {
            const bool confirmed = ++events % kUnconfirmedEvents == 0;
            if (!(confirmed ? sendEventTo(survivors) : sendEvent())) lost = true;
        }
    });
    int kills = 0;
    const auto end = std::chrono::steady_clock::now() + kKillingTime;
    while (std::chrono::steady_clock::now() < end && !lost) {
        // At any moment of the successor's life, the start included.
        const int until = events + static_cast<int>(random() % 20);
        if (!eventually([&] { return events >= until || lost; })) break;
        auto& victim = mortal[random() % mortal.size()];
        if (random() % 2 == 0) {
            EXPECT_TRUE(victim->waitForError("watching"));
        }
        victim = nullptr;
        victim = startSubscriber();
        ++kills;
    }
    stop = true;
    eventThread.join();
    EXPECT_FALSE(lost) << "an event did not come within the limit";
    EXPECT_TRUE(sendEventTo(survivors));
    for (auto& process : survivors) expectWhole(*process);
    mortal.clear();
    EXPECT_EQ("", system.complaint(before, kOnlyOwn));
    const auto seen = mOwn->all();
    for (size_t i = 1; i < seen.size(); ++i) ASSERT_EQ(seen[i - 1].value1 + 1, seen[i].value1);
    std::cout << kills << " processes killed during " << seen.size() << " events\n";
}

TEST_F(SubscribersTest, StoppedWatchDelaysNobodyIsDroppedWhenFullAndSubscribesAgain) {
    Process watch({program("wlc"), "--json", "watch", "align", "--reconnect"});
    ASSERT_TRUE(watch.waitForError("watching"));
    watch.signal(SIGSTOP);
    int sent = 0;
    while (system.countInLog("Error in AlignChanged()") == 0) {
        ASSERT_LT(++sent, 20'000) << "its queue has no end";
        ASSERT_TRUE(sendEvent()) << "a stopped subscriber holds up the others";
    }
    EXPECT_TRUE(eventually([&] { return system.subscribed() == kOnlyOwn; }));
    watch.signal(SIGCONT);
    EXPECT_TRUE(watch.waitForOutput("\"reconnected\""));
    ASSERT_TRUE(sendEvent());
    EXPECT_TRUE(watch.waitForOutput("\"value1\":" + std::to_string(mNumber)));
}

// Nothing that the service itself sees: the argument arrives as null.
TEST_F(SubscribersTest, ObjectOfAnotherInterfaceIsRefusedAsNoCallback) {
    const auto fan = ndk::SharedRefBase::make<FanSubscriber>();
    const ndk::SpAIBinder service = mClient->asBinder();
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    ndk::ScopedAStatus status;
    constexpr transaction_code_t kRegisterCallback = 15;
    ASSERT_EQ(STATUS_OK, AIBinder_prepareTransaction(service.get(), in.getR()));
    ASSERT_EQ(STATUS_OK, AParcel_writeStrongBinder(in.get(), fan->asBinder().get()));
    ASSERT_EQ(STATUS_OK,
              AIBinder_transact(service.get(), kRegisterCallback, in.getR(), out.getR(), 0));
    ASSERT_EQ(STATUS_OK, AParcel_readStatusHeader(out.get(), status.getR()));
    EXPECT_EQ(1, status.getServiceSpecificError()) << status.getDescription();
}

}  // namespace
}  // namespace test_support
