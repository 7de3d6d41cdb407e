// SPDX-License-Identifier: Apache-2.0
//
// Sessions that go in every state a session can be in, by the thousand: nothing of them stays.
#include <malloc.h>

#include "transport_fixture.h"

namespace android::host::test {
namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

// The listener's reference to the root object, and the fixture's.
constexpr int32_t kIdleReferences = 2;
// Those of a batch are in their state together: fewer than there may be threads that wait.
constexpr int kBatch = 20;
constexpr size_t kMemoryMargin = size_t{1} << 20;
constexpr size_t kSessionsPerState = kSanitized ? 500 : 3'000;

size_t usedMemory() {
    return kSanitized ? 0 : mallinfo2().uordblks;
}

// The client's side of a session.
struct Client {
    std::vector<RawPeer> peers;
    ndk::SpAIBinder binder;
};

class ChurnTest : public TransportTest {
  protected:
    // Opens and drops that many sessions. `enter` brings each into its state.
    void churn(size_t count, const std::function<void(Client&)>& enter) {
        const size_t descriptors = openDescriptors();
        for (size_t done = 0; done < count; done += kBatch) {
            std::vector<Client> clients(kBatch);
            for (Client& client : clients) ASSERT_NO_FATAL_FAILURE(enter(client));
            clients.clear();
            mServer.setCallback({});
            ASSERT_TRUE(eventually([&] {
                return AIBinder_debugGetRefCount(mRoot.get()) == kIdleReferences &&
                       openDescriptors() <= descriptors;
            })) << AIBinder_debugGetRefCount(mRoot.get())
                << " references to the root object, " << openDescriptors()
                << " descriptors, before: " << descriptors;
        }
    }
};

TEST_F(ChurnTest, DroppedSessionsLeaveNothingWhateverTheirState) {
    const FullPipe pipe;
    auto connectTo = [&](Client& client) -> RawPeer& { return client.peers.emplace_back(mPath); };
    auto openTo = [&](Client& client) -> RawPeer& { return client.peers.emplace_back(openRaw()); };
    auto joinTo = [&](Client& client, uint8_t options = 0) -> RawPeer& {
        const Bytes id = openTo(client).sessionId();
        connectTo(client).open(id, options);
        return client.peers.back();
    };
    struct State {
        const char* what;
        std::function<void(Client&)> enter;
    };
    const State states[] = {
        {"half an opening",
         [&](Client& c) {
             connectTo(c).send(Bytes{1, 0, 0, 0, 0, 1, 0, 0});
         }},
        {"half a frame with descriptors",
         [&](Client& c) {
             openTo(c).send(firstHalf(dumpFrame()), std::vector<int>(10, pipe.writer.get()));
         }},
        {"half a frame on a second connection",
         [&](Client& c) {
             RawPeer& second = joinTo(c);
             ASSERT_TRUE(second.ping(1));
             second.send(firstHalf(pingFrame(7)));
         }},
        {"early oneway call",
         [&](Client& c) {
             RawPeer& peer = openTo(c);
             peer.send(onewayFrame(1, 1000));
             ASSERT_TRUE(peer.ping(1));
         }},
        {"unread replies",
         [&](Client& c) {
             RawPeer& peer = openTo(c);
             peer.sendUnread(4);
             ASSERT_EQ(1u, peer.receive(1).size());
         }},
        {"callback registered, calls to it unread",
         [&](Client& c) {
             joinTo(c, kConnectionIncoming);
             RawPeer& first = c.peers.front();
             ASSERT_NO_FATAL_FAILURE(subscribe(first));
             ASSERT_TRUE(first.ask(echoFrame(echo::kFire, int32(3))));
         }},
        {"nested call unanswered",
         [&](Client& c) {
             RawPeer& peer = openTo(c);
             sendCallback(peer);
             ASSERT_TRUE(peer.frame());
         }},
        {"dump that nobody reads",
         [&](Client& c) { openTo(c).send(dumpFrame(), {pipe.writer.get()}); }},
        {"this runtime's client with a callback",
         [&](Client& c) {
             c.binder = connect();
             subscribe(c.binder);
         }},
        {"this runtime's client whose last call is oneway",
         [&](Client&) { ASSERT_EQ(STATUS_OK, echo::callOneway(connect().get(), echo::kPing, 1)); }},
        {"this runtime's client that is called once more after it has dropped all",
         [&](Client&) {
             const ndk::SpAIBinder callback = subscribe(connect());
             ASSERT_EQ(STATUS_OK, echo::callOneway(mServer.callback().get(), echo::Code{1}, 1));
             mServer.setCallback({});
         }},
    };
    // First what is made once. The pool may come to have all its threads.
    const size_t threads = threadCount() + Reactor::get().maxThreads();
    for (const State& state : states) churn(10 * kBatch, state.enter);
    const size_t memory = usedMemory();
    for (const State& state : states) {
        SCOPED_TRACE(state.what);
        ASSERT_NO_FATAL_FAILURE(churn(kSessionsPerState, state.enter));
        EXPECT_TRUE(eventually([&] { return usedMemory() <= memory + kMemoryMargin; }))
            << usedMemory() << " bytes, before: " << memory;
        EXPECT_TRUE(eventually([&] { return threadCount() <= threads; })) << threadCount();
    }
}

}  // namespace
}  // namespace android::host::test
