// SPDX-License-Identifier: Apache-2.0
//
// What a hostile peer can hold: nothing for long, and nobody else's turn. While each attack runs, a
// client that keeps the rules calls without a break.
#include <android/log.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <functional>
#include <thread>

#include "transport_fixture.h"

namespace android::host::test {
namespace {

using android::base::unique_fd;

// Nobody may wait for others' limits.
constexpr std::chrono::milliseconds kLongestWait(2500);

class WellBehavedClient {
  public:
    explicit WellBehavedClient(ndk::SpAIBinder root) : mRoot(std::move(root)) {
        EXPECT_TRUE(eventually([&] { return mCalls > 0; }));
    }
    ~WellBehavedClient() {
        mStop = true;
        mThread.join();
        EXPECT_LT(mLongest, kLongestWait);
    }

  private:
    void run() {
        while (!mStop) {
            const auto begin = Clock::now();
            int answer = 0;
            ASSERT_EQ(STATUS_OK, echo::ping(mRoot.get(), 1, &answer));
            mLongest = std::max<Clock::duration>(mLongest, Clock::now() - begin);
            ++mCalls;
        }
    }

    const ndk::SpAIBinder mRoot;
    std::atomic<bool> mStop = false;
    Clock::duration mLongest{};
    std::atomic<int> mCalls = 0;
    std::thread mThread{[this] { run(); }};
};

using LimitsTest = TransportTest;

// All at once, since each lasts as long as its limit.
TEST_F(LimitsTest, PeersThatKeepTheServiceWaitingLoseTheirSessionsAndAllTheyHold) {
    const FullPipe pipe;
    std::vector<RawPeer> peers;
    const auto keep = [&](RawPeer peer) -> RawPeer& { return peers.emplace_back(std::move(peer)); };
    const std::function<void()> attacks[] = {
        // Half an opening; half a frame.
        [&] { keep(RawPeer(mPath)).send(Bytes(5)); },
        [&] { keep(openRaw()).send(firstHalf(pingFrame(1))); },
        // Replies that it does not read; a oneway call whose predecessor never comes.
        [&] { keep(openRaw()).sendUnread(8); },
        [&] { keep(openRaw()).send(onewayFrame(1)); },
        // A nested question that it does not answer; a dump into a full pipe.
        [&] { sendCallback(keep(openRaw())); },
        [&] { keep(openRaw()).send(dumpFrame(), {pipe.writer.get()}); },
        // It dies and leaves the service with the other end of its own socket: in half a frame,
        // and behind unread replies.
        [&] {
            RawPeer peer = openRaw();
            peer.send(firstHalf(dumpFrame()), {peer.fd()});
        },
        [&] {
            RawPeer peer = openRaw();
            peer.sendUnread(8);
            peer.send(dumpFrame(), {peer.fd()});
        },
    };
    expectServed();
    const size_t descriptors = openDescriptors();
    const size_t threads = threadCount();
    {
        const WellBehavedClient client(connect());
        for (int round = 0; round < 4; ++round) {  // more than there are threads
            for (const auto& attack : attacks) attack();
        }
        const auto begin = Clock::now();
        for (size_t i = 0; i < peers.size(); ++i) EXPECT_TRUE(peers[i].hasEnded()) << i;
        EXPECT_LT(Clock::now() - begin, kDiagnosticsTimeout + 2 * kPeerTimeout);
    }
    peers.clear();
    mServer.setCallback({});
    EXPECT_TRUE(eventually([&] { return openDescriptors() <= descriptors; }));
    EXPECT_TRUE(eventually([&] { return threadCount() <= threads + 2; })) << threadCount();
    expectServed();
}

TEST_F(LimitsTest, NestedCallsAreNestedOnlySoDeep) {
    RawPeer peer = openRaw();
    subscribe(peer);
    const WellBehavedClient client(connect());
    const Bytes askBack = echoFrame(echo::kAskBack, int32(1));
    size_t depth = 0;
    while (depth++ < 1000 && peer.ask(askBack)) continue;
    EXPECT_EQ(kMaxNesting + 1, depth);
    mServer.setCallback({});
}

TEST_F(LimitsTest, WhatWaitsOnBehalfOfASessionIsBounded) {
    const WellBehavedClient client(connect());
    const auto begin = Clock::now();
    for (const size_t size : {0, 90'000}) {
        RawPeer peer = openRaw();
        uint64_t sent = 0;
        while (!peer.hasHungUp() && sent <= kMaxQueuedOneway) peer.send(onewayFrame(++sent, size));
        EXPECT_TRUE(peer.hasEnded()) << "early oneway calls";
        EXPECT_LT(sent * size, 2 * kMaxWaitingOnewayBytes);
    }
    {
        RawPeer peer = openRaw();
        Bytes call = dumpFrame();
        call[sizeof(WireHeader) + offsetof(WireTransaction, flags)] = kFlagOneway;
        call[sizeof(WireHeader) + offsetof(WireTransaction, asyncNumber)] = 1;
        peer.send(call, {mNull.get()});
        EXPECT_TRUE(peer.hasEnded()) << "an early oneway call with a descriptor";
    }
    EXPECT_LT(Clock::now() - begin, kPeerTimeout) << "these end at once";
    {
        const size_t before = openDescriptors();
        std::vector<RawPeer> peers;
        const Bytes half = firstHalf(dumpFrame());
        for (int i = 0; i < 8; ++i) {
            peers.push_back(openRaw());
            peers.back().send(half, std::vector<int>(253, mNull.get()));
        }
        EXPECT_TRUE(eventually(
            [&] { return openDescriptors() < before + kMaxHeldFdsInAll + 2 * peers.size() + 8; }));
        EXPECT_TRUE(eventually([&] {
            const auto ended =
                std::count_if(peers.begin(), peers.end(), std::mem_fn(&RawPeer::hasHungUp));
            return static_cast<size_t>(ended) >= peers.size() - kMaxHeldFdsInAll / 253;
        })) << "descriptors of unfinished frames";
    }
}

TEST_F(LimitsTest, WhoCallsWhileThereAreNoDescriptorsIsAcceptedWhenThereAre) {
    const WellBehavedClient client(connect());
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    std::vector<unique_fd> sockets;
    for (int i = 0; i < 18; ++i) sockets.emplace_back(socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    mPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    static std::atomic<size_t> logged;
    logged = 0;
    __android_log_set_logger([](const __android_log_message*) { ++logged; });
    const rlimit none{3, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    std::vector<RawPeer> peers;
    for (unique_fd& socket : sockets) {
        EXPECT_EQ(0, ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address),
                               sizeof(address)));
        peers.emplace_back(std::move(socket));
    }
    // Between its first two entries the listener gives up its reserve to turn a caller away, and
    // would succeed if it could have a descriptor by then.
    EXPECT_TRUE(eventually([&] { return logged >= 2; }));
    setrlimit(RLIMIT_NOFILE, &before);
    for (RawPeer& peer : peers) {
        peer.open();
        peer.fetchRoot();
        EXPECT_TRUE(peer.ping(1)) << "not accepted";
    }
    EXPECT_LE(logged, 50u);
    __android_log_set_logger(__android_log_logd_logger);
    peers.clear();
    expectServed();
}

TEST_F(LimitsTest, WithoutFurtherThreadsCallsAreServedOrFailAndNothingEnds) {
    // No stack is that large: every start of a thread fails.
    pthread_attr_t usual;
    pthread_attr_t huge;
    ASSERT_EQ(0, pthread_getattr_default_np(&usual));
    ASSERT_EQ(0, pthread_getattr_default_np(&huge));
    std::vector<RawPeer> peers;
    for (int i = 0; i < 8; ++i) peers.push_back(openRaw());
    ASSERT_EQ(0, pthread_attr_setstacksize(&huge, size_t{1} << 46));
    ASSERT_EQ(0, pthread_setattr_default_np(&huge));
    for (size_t i = 0; i < 6; ++i) sendCallback(peers[i]);
    std::optional<RawFrame> reply = peers[6].ask(dumpFrame(), {mNull.get()});
    EXPECT_TRUE(peers[7].ping(1));
    ASSERT_EQ(0, pthread_setattr_default_np(&usual));
    ASSERT_TRUE(reply);
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, reply->replyStatus());
    peers.clear();
    mServer.setCallback({});
    expectServed();
}

}  // namespace
}  // namespace android::host::test
