// SPDX-License-Identifier: Apache-2.0
//
// Calls between two sides of a session: nested, oneway, at once; objects and their references; the
// death of the other side.
#include "session.h"

#include <android/binder_manager.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "testing/process.h"
#include "transport_fixture.h"

namespace android::host::test {
namespace {

using ndk::SpAIBinder;
using test_support::Process;

// Addresses that the session of a remote object knows; none once it has ended.
size_t addressCount(const SpAIBinder& remote) {
    return static_cast<ProxyBinder*>(remote.get())->session().addressCount();
}

using SessionTest = TransportTest;

TEST_F(SessionTest, CallInsideACallbackInsideACall) {
    SpAIBinder root = connect();
    SpAIBinder callback = subscribe(root, [&](int x) {
        int answer = 0;
        EXPECT_EQ(STATUS_OK, echo::ping(root.get(), x, &answer));
        return answer * 2;
    });
    int answer = 0;
    EXPECT_EQ(STATUS_OK, echo::callWithInt(root.get(), echo::kAskBack, 20, &answer));
    EXPECT_EQ(42, answer);
}

TEST_F(SessionTest, ThreadsOfOneClientCallAtOnce) {
    SpAIBinder root = connect();
    std::vector<std::thread> callers;
    for (int i = 0; i < 16; ++i) {
        callers.emplace_back([&, i] {
            for (int k = 0; k < 200; ++k) {
                int answer = 0;
                ASSERT_EQ(STATUS_OK, echo::ping(root.get(), 1000 * i + k, &answer));
                ASSERT_EQ(1000 * i + k + 1, answer);
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(1u, addressCount(root));
}

TEST_F(SessionTest, LargestTransactionsArriveAndLargerOnesAreRefusedHere) {
    SpAIBinder root = connect();
    // 40 bytes of transaction, 28 of token, 4 of length.
    const size_t largest = kMaxBodySize - 40 - 28 - 4;
    for (size_t size : {size_t{4000}, size_t{50'000}, largest}) {
        std::vector<int8_t> sent(size, 0x5a);
        std::vector<int8_t> received;
        ASSERT_EQ(STATUS_OK, echo::echo(root.get(), sent, &received)) << size;
        EXPECT_EQ(sent, received);
    }
    std::vector<int8_t> none;
    EXPECT_EQ(STATUS_FAILED_TRANSACTION,
              echo::echo(root.get(), std::vector<int8_t>(largest + 1), &none));
    int answer = 0;
    EXPECT_EQ(STATUS_OK, echo::ping(root.get(), 1, &answer));
}

TEST_F(SessionTest, AThousandObjectsSentAndDroppedLeaveNothingBehind) {
    SpAIBinder root = connect();
    for (int i = 0; i < 1000; ++i) {
        SpAIBinder callback = subscribe(root);
        SpAIBinder same;
        ASSERT_EQ(STATUS_OK,
                  echo::callWithBinder(root.get(), echo::kReturnObject, callback.get(), &same));
        ASSERT_EQ(callback.get(), same.get()) << "an object comes home as itself";
    }
    SpAIBinder keeper = subscribe(root);
    // The root object and the last callback.
    EXPECT_EQ(2u, addressCount(root));
    EXPECT_EQ(2u, addressCount(mServer.callback()));
    ASSERT_EQ(STATUS_OK, echo::callWithBinder(root.get(), echo::kRegisterCallback, nullptr));
    EXPECT_EQ(1u, addressCount(root));
    EXPECT_EQ(1, AIBinder_debugGetRefCount(keeper.get()));
}

TEST_F(SessionTest, TheSameRemoteObjectIsTheSameProxy) {
    SpAIBinder root = connect();
    SpAIBinder again;
    ASSERT_EQ(STATUS_OK, echo::callWithBinder(root.get(), echo::kReturnObject, root.get(), &again));
    EXPECT_EQ(root.get(), again.get());
    EXPECT_EQ(STATUS_INVALID_OPERATION,
              echo::callWithBinder(root.get(), echo::kReturnObject, connect().get(), &again))
        << "an object of another session has no name in this one";
}

TEST_F(SessionTest, OnewayReferencesAreGivenBackWithoutACall) {
    SpAIBinder root = connect();
    std::atomic<int> calls = 0;
    SpAIBinder callback = subscribe(root, [&](int) { return ++calls; });
    // Called by nobody's call, so that no answer can carry the references back.
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(STATUS_OK, echo::callOneway(mServer.callback().get(), echo::Code{1}, i));
    }
    EXPECT_TRUE(eventually([&] { return calls == 100; }));
    mServer.setCallback({});
    int answer = 0;
    EXPECT_EQ(STATUS_OK, echo::ping(root.get(), 1, &answer));
    EXPECT_TRUE(eventually([&] { return addressCount(root) == 1; }));
}

TEST_F(SessionTest, ACallbackWithoutAConnectionForItFailsAtOnce) {
    RawPeer peer = openRaw();
    subscribe(peer);
    int answer = 0;
    EXPECT_EQ(STATUS_WOULD_BLOCK,
              echo::callWithInt(mServer.callback().get(), echo::Code{1}, 1, &answer));
}

TEST_F(SessionTest, ASubscriberThatDoesNotReadDelaysNobodyAndIsToldByTheEndOfItsSession) {
    // Calls that fit whole, and such that the last one is cut in the middle.
    for (const size_t size : {4, 90'000}) {
        RawPeer caller = openRaw();
        RawPeer incoming(mPath);
        incoming.open(caller.sessionId(), kConnectionIncoming);
        ASSERT_NO_FATAL_FAILURE(subscribe(caller));
        const SpAIBinder callback = mServer.callback();
        const auto call = [&] {
            AParcel in;
            AParcel out;
            in.write(Bytes(size).data(), size);
            return callback.get()->transact(1, in, out, FLAG_ONEWAY);
        };
        binder_status_t status = STATUS_OK;
        Clock::duration longest{};
        while (status == STATUS_OK) {
            const auto begin = Clock::now();
            status = call();
            longest = std::max<Clock::duration>(longest, Clock::now() - begin);
        }
        EXPECT_EQ(STATUS_FAILED_TRANSACTION, status);
        EXPECT_LT(longest, kPeerTimeout / 2);
        EXPECT_TRUE(caller.hasEnded());
        EXPECT_EQ(STATUS_DEAD_OBJECT, call());
        expectServed();
        // What was sent before arrives whole and in order.
        uint64_t next = 0;
        for (; std::optional<RawFrame> frame = incoming.frame(); ++next) {
            WireTransaction transaction;
            memcpy(&transaction, frame->body.data(), sizeof(transaction));
            ASSERT_EQ(next, transaction.asyncNumber);
        }
        EXPECT_GT(next, 1u);
    }
}

TEST_F(SessionTest, AClientKilledInACallFreesItsThreadDescriptorsAndAddresses) {
    expectServed();
    size_t before = openDescriptors();
    std::atomic<bool> isServing = false;
    std::atomic<bool> mayReturn = false;
    mServer.onBlock([&] {
        isServing = true;
        EXPECT_TRUE(eventually([&] { return mayReturn.load(); }));
        isServing = false;
    });
    {
        Process client({ECHO_PEER, "call", mPath});
        ASSERT_TRUE(eventually([&] { return isServing.load(); }));
    }
    EXPECT_TRUE(eventually([&] { return !AIBinder_isAlive(mServer.callback().get()); }));
    EXPECT_TRUE(eventually([&] { return addressCount(mServer.callback()) == 0; }));
    mayReturn = true;
    EXPECT_TRUE(eventually([&] { return !isServing; }));
    expectServed();
    mServer.setCallback({});
    EXPECT_TRUE(eventually([&] { return openDescriptors() <= before + 1; }));
    mServer.onBlock([] {});
}

TEST_F(SessionTest, CallsToADeadServerFailAndItsClientsAreTold) {
    setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    constexpr char kName[] = "test.IEcho/mortal";
    Process server({ECHO_PEER, "serve", kName});
    SpAIBinder root(AServiceManager_waitForService(kName));
    ASSERT_TRUE(AIBinder_associateClass(root.get(), echo::serverClass()));
    std::atomic<int> deaths = 0;
    ndk::ScopedAIBinder_DeathRecipient recipient(
        AIBinder_DeathRecipient_new([](void* d) { ++*static_cast<std::atomic<int>*>(d); }));
    ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(root.get(), recipient.get(), &deaths));
    server.signal(SIGKILL);
    EXPECT_TRUE(eventually([&] { return deaths == 1; }));
    int answer = 0;
    EXPECT_EQ(STATUS_DEAD_OBJECT, echo::ping(root.get(), 1, &answer));
    EXPECT_FALSE(AIBinder_isAlive(root.get()));
    EXPECT_EQ(nullptr, AServiceManager_checkService(kName));
}

TEST_F(SessionTest, EveryLinkEndsOnceAndThoseThatAreLeftAreToldOfTheDeath) {
    static std::atomic<int> told;
    static std::atomic<int> unlinked;
    told = unlinked = 0;
    const auto make = [] {
        ndk::ScopedAIBinder_DeathRecipient recipient(
            AIBinder_DeathRecipient_new([](void*) { ++told; }));
        AIBinder_DeathRecipient_setOnUnlinked(recipient.get(), [](void*) { ++unlinked; });
        return recipient;
    };
    ndk::ScopedAIBinder_DeathRecipient first = make();
    ndk::ScopedAIBinder_DeathRecipient second = make();
    ndk::ScopedAIBinder_DeathRecipient third = make();
    SpAIBinder root = connect();
    constexpr int kDropped = 100;
    for (int i = 0; i < kDropped; ++i) {
        const SpAIBinder callback = subscribe(root);
        ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(mServer.callback().get(), first.get(), nullptr));
        mServer.setCallback({});
    }
    EXPECT_TRUE(eventually([] { return unlinked == kDropped; })) << "by dropping the object";
    const SpAIBinder callback = subscribe(root);
    AIBinder* remote = mServer.callback().get();
    for (auto* recipient : {&first, &second, &third}) {
        ASSERT_EQ(STATUS_OK, AIBinder_linkToDeath(remote, recipient->get(), nullptr));
    }
    unlinked = 0;
    EXPECT_EQ(STATUS_OK, AIBinder_unlinkToDeath(remote, first.get(), nullptr));
    EXPECT_EQ(STATUS_NAME_NOT_FOUND, AIBinder_unlinkToDeath(remote, first.get(), nullptr));
    EXPECT_EQ(1, unlinked) << "by unlinking";
    second = ndk::ScopedAIBinder_DeathRecipient();
    EXPECT_EQ(2, unlinked) << "by deleting the recipient";
    EXPECT_EQ(STATUS_INVALID_OPERATION, AIBinder_linkToDeath(mRoot.get(), first.get(), nullptr));
    EXPECT_EQ(3, unlinked) << "an object of this process cannot be linked";
    static_cast<ProxyBinder*>(root.get())->session().end(nullptr);
    EXPECT_TRUE(eventually([] { return unlinked == 4; })) << "behind the death";
    EXPECT_EQ(1, told);
    EXPECT_EQ(STATUS_DEAD_OBJECT, AIBinder_linkToDeath(remote, first.get(), nullptr));
    EXPECT_EQ(5, unlinked) << "a dead object cannot be linked";
    third = ndk::ScopedAIBinder_DeathRecipient();
    EXPECT_EQ(5, unlinked);
}

TEST_F(SessionTest, CallsAreCheckedAsOnThePlatform) {
    SpAIBinder root = connect();
    const auto call = [&](transaction_code_t code, binder_flags_t flags) {
        ndk::ScopedAParcel in;
        ndk::ScopedAParcel out;
        EXPECT_EQ(STATUS_OK, AIBinder_prepareTransaction(root.get(), in.getR()));
        AParcel_writeInt32(in.get(), 7);
        return AIBinder_transact(root.get(), code, in.getR(), out.getR(), flags);
    };
    EXPECT_EQ(STATUS_UNKNOWN_TRANSACTION, call(0, 0));
    EXPECT_EQ(STATUS_UNKNOWN_TRANSACTION, call(LAST_CALL_TRANSACTION + 1, 0));
    EXPECT_EQ(STATUS_OK, call(echo::kPing, 0x20)) << "FLAG_CLEAR_BUF";
    EXPECT_EQ(STATUS_BAD_VALUE, call(echo::kPing, 0x40));
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, AIBinder_dump(root.get(), -1, nullptr, 0));
}

TEST_F(SessionTest, CallersAreKnownByTheirSocket) {
    std::atomic<pid_t> pid = 0;
    std::atomic<uid_t> uid = 99999;
    mServer.onBlock([&] {
        uid = AIBinder_getCallingUid();
        pid = AIBinder_getCallingPid();
    });
    Process client({ECHO_PEER, "call", mPath});
    EXPECT_TRUE(eventually([&] { return pid == client.pid(); }));
    EXPECT_EQ(getuid(), uid);
    EXPECT_EQ(getpid(), AIBinder_getCallingPid()) << "outside a call it is this process";
    // Who made a oneway call may be gone when it runs.
    SpAIBinder root = connect();
    ASSERT_EQ(STATUS_OK, echo::callOneway(root.get(), echo::kBlock, 0));
    EXPECT_TRUE(eventually([&] { return pid == 0; }));
    EXPECT_EQ(getuid(), uid);
    mServer.onBlock([] {});
}

}  // namespace
}  // namespace android::host::test
