// SPDX-License-Identifier: Apache-2.0
//
// Sessions that go in every state a session can be in, by the thousand: nothing of them stays.
// CHURN_TEST_SESSIONS sets their number for each state.
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>

#include "transport_fixture.h"

namespace android::host::test {
namespace {

using android::base::unique_fd;

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

size_t sessionsPerState() {
    const char* text = std::getenv("CHURN_TEST_SESSIONS");
    if (text != nullptr) return static_cast<size_t>(std::atol(text));
    return kSanitized ? 500 : 3'000;
}

struct Usage {
    size_t descriptors = 0;
    size_t threads = 0;
    size_t memory = 0;

    static Usage now() {
        auto threads = std::filesystem::directory_iterator("/proc/self/task");
        return {openDescriptors(), static_cast<size_t>(std::distance(begin(threads), end(threads))),
                kSanitized ? 0 : mallinfo2().uordblks};
    }
    bool isWithin(const Usage& limit) const {
        return descriptors <= limit.descriptors && threads <= limit.threads &&
               memory <= limit.memory + kMemoryMargin;
    }
    friend std::ostream& operator<<(std::ostream& out, const Usage& usage) {
        return out << usage.descriptors << " descriptors, " << usage.threads << " threads, "
                   << usage.memory << " bytes";
    }
};

Bytes half(const Bytes& bytes) {
    return {bytes.begin(), bytes.begin() + static_cast<long>(bytes.size() / 2)};
}

// The client's side of a session.
struct Client {
    std::vector<RawPeer> peers;
    ndk::SpAIBinder binder;
};

class ChurnTest : public TransportTest {
  protected:
    void SetUp() override {
        TransportTest::SetUp();
        // A pipe that takes no more.
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
        mPipeReader.reset(ends[0]);
        mFullPipe.reset(ends[1]);
        const Bytes page(4096);
        while (write(mFullPipe.get(), page.data(), page.size()) > 0) continue;
    }

    // Gives a callback object away, and returns when the server asks for its descriptor.
    static void giveCallback(RawPeer& peer) {
        Bytes binder = int32(kObjectBinder);
        append(&binder, WireAddress{kAddressCreated, 0});
        append(&binder, static_cast<int32_t>(Stability::kVintf));
        peer.send(frameOf(Call{.code = echo::kRegisterCallback, .parcel = echoParcel(binder)}));
        const std::optional<RawFrame> question = peer.frame();
        ASSERT_TRUE(question);
        ASSERT_EQ(WireCommand::kTransact, question->command);
    }

    static void registerCallback(RawPeer& peer) {
        ASSERT_NO_FATAL_FAILURE(giveCallback(peer));
        AParcel name;
        name.writeString("test.ICb");
        Bytes answer;
        append(&answer, WireReply{0, static_cast<uint32_t>(name.bytes().size()), {}});
        append(&answer, Bytes(name.bytes().begin(), name.bytes().end()));
        peer.send(frameOf(WireCommand::kReply, answer));
        expectReply(peer);
    }

    static void expectReply(RawPeer& peer) {
        const std::optional<RawFrame> reply = peer.frame();
        ASSERT_TRUE(reply);
        ASSERT_EQ(WireCommand::kReply, reply->command);
        ASSERT_EQ(STATUS_OK, reply->replyStatus());
    }

    Bytes dumpFrame() const {
        Bytes parcel;
        append(&parcel, WireFd{kObjectFd, 0});
        append(&parcel, int32(0));
        return frameOf(Call{.code = kDumpCode, .parcel = parcel, .objectTable = int32(0)});
    }

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
                << " references to the root object and " << openDescriptors()
                << " descriptors (before: " << descriptors << ") after " << done + kBatch
                << " sessions";
        }
    }

    unique_fd mPipeReader;
    unique_fd mFullPipe;
};

TEST_F(ChurnTest, DroppedSessionsLeaveNothingWhateverTheirState) {
    const Bytes ping = frameOf(Call{.code = echo::kPing, .parcel = echoParcel(int32(7))});
    Bytes big = int32(90'000);
    append(&big, Bytes(90'000, 0x11));
    const Bytes bigEcho = frameOf(Call{.code = echo::kEcho, .parcel = echoParcel(big)});
    const Bytes early = frameOf(Call{.code = echo::kPing,
                                     .flags = kFlagOneway,
                                     .asyncNumber = 1,
                                     .parcel = echoParcel(Bytes(1000))});
    const Bytes fire = frameOf(Call{.code = echo::kFire, .parcel = echoParcel(int32(3))});

    auto connectTo = [&](Client& client) -> RawPeer& { return client.peers.emplace_back(mPath); };
    auto openTo = [&](Client& client) -> RawPeer& { return client.peers.emplace_back(openRaw()); };
    struct State {
        const char* what;
        std::function<void(Client&)> enter;
    };
    const State states[] = {
        {"connected", [&](Client& c) { connectTo(c); }},
        {"half an opening",
         [&](Client& c) {
             Bytes opening;
             append(&opening, WireConnectionHeader{1, 0, 1, {}, 0});
             connectTo(c).send(half(opening));
         }},
        {"opened", [&](Client& c) { connectTo(c).open(); }},
        {"root object fetched", [&](Client& c) { openTo(c); }},
        {"half a frame", [&](Client& c) { openTo(c).send(half(ping)); }},
        {"half a frame with descriptors",
         [&](Client& c) {
             openTo(c).send(half(dumpFrame()), std::vector<int>(10, mFullPipe.get()));
         }},
        {"half a frame on a second connection",
         [&](Client& c) {
             const Bytes id = openTo(c).sessionId();
             RawPeer& second = connectTo(c);
             second.open(id);
             ASSERT_TRUE(second.ping(1));
             second.send(half(ping));
         }},
        {"early oneway call",
         [&](Client& c) {
             RawPeer& peer = openTo(c);
             peer.send(early);
             ASSERT_TRUE(peer.ping(1));
         }},
        {"unread replies",
         [&](Client& c) {
             RawPeer& peer = openTo(c);
             for (int i = 0; i < 4 && peer.trySend(bigEcho); ++i) continue;
             ASSERT_EQ(1u, peer.receive(1).size());
         }},
        {"callback registered", [&](Client& c) { registerCallback(openTo(c)); }},
        {"callback registered, calls to it unread",
         [&](Client& c) {
             const Bytes id = openTo(c).sessionId();
             connectTo(c).open(id, kConnectionIncoming);
             RawPeer& first = c.peers.front();
             ASSERT_NO_FATAL_FAILURE(registerCallback(first));
             first.send(fire);
             ASSERT_NO_FATAL_FAILURE(expectReply(first));
         }},
        {"nested call unanswered", [&](Client& c) { giveCallback(openTo(c)); }},
        {"dump that nobody reads",
         [&](Client& c) { openTo(c).send(dumpFrame(), {mFullPipe.get()}); }},
        {"this runtime's client with a callback",
         [&](Client& c) {
             c.binder = connect();
             const ndk::SpAIBinder callback = echo::makeCallback([](int x) { return x; });
             ASSERT_EQ(STATUS_OK, echo::callWithBinder(c.binder.get(), echo::kRegisterCallback,
                                                       callback.get()));
         }},
    };
    // First what is made once. The pool may come to have all its threads.
    Usage before = Usage::now();
    before.threads += Reactor::get().maxThreads();
    before.memory = SIZE_MAX / 2;
    for (const State& state : states) {
        SCOPED_TRACE(state.what);
        ASSERT_NO_FATAL_FAILURE(churn(10 * kBatch, state.enter));
    }
    ASSERT_TRUE(eventually([&] { return Usage::now().isWithin(before); })) << Usage::now();
    before.memory = Usage::now().memory;
    for (const State& state : states) {
        SCOPED_TRACE(state.what);
        ASSERT_NO_FATAL_FAILURE(churn(sessionsPerState(), state.enter));
        EXPECT_TRUE(eventually([&] { return Usage::now().isWithin(before); }))
            << Usage::now() << "; before: " << before;
    }
}

}  // namespace
}  // namespace android::host::test
