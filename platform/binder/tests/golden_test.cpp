// SPDX-License-Identifier: Apache-2.0
//
// Whole exchanges of the platform's own libbinder, byte by byte: our server must answer the
// platform's client as the platform's server did, and our client must say what the platform's
// client said. Where the platform gives references back (DEC_STRONG) is its own affair, so those
// frames are left out.
#include <android/binder_parcel.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "session.h"
#include "transport_fixture.h"

namespace android::host::test {
namespace {

// The interface token "test.IEcho" as it stands in a parcel.
#define ECHO_TOKEN "0a000000 740065007300740 02e004900450063 0068006f00 00000000"

// A registration of a callback, the question for its descriptor, and the platform's client's
// answer: DEC_STRONG and REPLY in one write.
constexpr char kRegistration[] =
    "00000000 54000000 0000000000000000"
    "03000000 00000000 03000000 00000000 0000000000000000 2c000000"
    "000000000000000000000000" ECHO_TOKEN "01000000 01000000 00000000 3f000000";
constexpr char kQuestion[] =
    "00000000 28000000 0000000000000000"
    "01000000 00000000 46544e5f 00000000 0000000000000000 00000000"
    "000000000000000000000000";
constexpr char kDescriptor[] =
    "02000000 10000000 0000000000000000 01000000 00000000 01000000 00000000"
    "01000000 2c000000 0000000000000000 00000000 18000000"
    "000000000000000000000000"
    "08000000 740065007300740 02e004900430062 0000000000";

struct Exchange {
    const char* what;
    WireAddress address;
    uint32_t code;
    const char* arguments;  // the parcel that the client sends
    const char* results;    // and the one that the server answers with

    Bytes call() const {
        return frameOf(Call{.address = address, .code = code, .parcel = hex(arguments)});
    }
    Bytes reply() const { return replyFrame(hex(results)); }
};

const Exchange kExchanges[] = {
    {"GET_MAX_THREADS", kSessionAddress, 1, "", "03000000"},
    {"GET_ROOT", kSessionAddress, 0, "", "01000000 03000000 00000000 3f000000"},
    {"_NTF", kRoot, 0x5f4e5446, "", ECHO_TOKEN},
    {"ping(7)", kRoot, 2, ECHO_TOKEN "07000000", "00000000 08000000"},
    {"echo({11 22 33 44 55})", kRoot, 1, ECHO_TOKEN "05000000 1122334455000000",
     "00000000 05000000 1122334455000000"},
    {"fire(-1): service-specific exception 42 \"no\"", kRoot, 4, ECHO_TOKEN "ffffffff",
     "f8ffffff 02000000 6e006f0000000000 00000000 2a000000"},
    {"fire(-2): EX_UNSUPPORTED_OPERATION without a message", kRoot, 4, ECHO_TOKEN "feffffff",
     "f9ffffff 00000000 00000000 00000000"},
    {"ping of the object", kRoot, 0x5f504e47, "", ""},
    {"_EXT, none set: the only one that our client never says", kRoot, 0x5f455854, "",
     "00000000 00000000"},
};
// One of them as a whole.
const Exchange& kPing = kExchanges[3];
constexpr char kPingCall[] =
    "00000000 48000000 0000000000000000"
    "03000000 00000000 02000000 00000000 0000000000000000 20000000"
    "000000000000000000000000" ECHO_TOKEN "07000000";
constexpr char kPingReply[] =
    "01000000 1c000000 0000000000000000 00000000 08000000 000000000000000000000000"
    "00000000 08000000";
constexpr size_t kSaidByOurClient = std::size(kExchanges) - 1;

using GoldenTest = TransportTest;

TEST_F(GoldenTest, ServerAnswersThePlatformsClientByteForByte) {
    RawPeer peer(mPath);
    peer.send(hex("01000000 00 01 0000000000000000 0000  63636900 00000000"));
    ASSERT_EQ("0100000000000000", toHex(peer.receive(8)));
    EXPECT_EQ(toHex(hex(kPingCall)), toHex(kPing.call()));
    EXPECT_EQ(toHex(hex(kPingReply)), toHex(kPing.reply()));
    for (const Exchange& exchange : kExchanges) {
        std::optional<RawFrame> reply = peer.ask(exchange.call());
        ASSERT_TRUE(reply) << exchange.what;
        EXPECT_EQ(toHex(exchange.reply()), toHex(frameOf(reply->command, reply->body)))
            << exchange.what;
    }
}

// The callback's registration brings a nested question for its descriptor; then it is called on the
// connection that is for the server's calls, each call with its number.
TEST_F(GoldenTest, ServerCallsThePlatformsCallbackByteForByte) {
    RawPeer caller(mPath);
    caller.open();
    RawPeer incoming(mPath);
    incoming.open(caller.sessionId(), kConnectionIncoming);
    caller.fetchRoot();

    std::optional<RawFrame> question = caller.ask(hex(kRegistration));
    ASSERT_TRUE(question);
    EXPECT_EQ(toHex(hex(kQuestion)), toHex(frameOf(question->command, question->body)));
    std::optional<RawFrame> registered = caller.ask(hex(kDescriptor));
    ASSERT_TRUE(registered);
    EXPECT_EQ(0, registered->replyStatus());

    caller.send(echoFrame(echo::kFire, int32(3)));
    for (int i = 0; i < 3; ++i) {
        std::optional<RawFrame> call = incoming.frame();
        ASSERT_TRUE(call);
        Bytes expected =
            hex("00000000 44000000 0000000000000000"
                "01000000 00000000 01000000 01000000 0000000000000000 1c000000"
                "000000000000000000000000"
                "08000000 740065007300740 02e004900430062 0000000000 00000000");
        expected[32] = expected[80] = static_cast<uint8_t>(i);  // async number and argument
        EXPECT_EQ(toHex(expected), toHex(frameOf(call->command, call->body)));
    }
    ASSERT_TRUE(caller.frame());
}

const Bytes kSessionId(kSessionIdSize, 0x4a);

// The next connection to a server of a capture.
android::base::unique_fd acceptFrom(const android::base::unique_fd& listening) {
    android::base::unique_fd socket;
    (void)eventually([&] {
        socket.reset(accept4(listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
        return socket.ok();
    });
    return socket;
}

void expectBytes(RawPeer& peer, const Bytes& expected, const char* what = "") {
    EXPECT_EQ(toHex(expected), toHex(peer.receive(expected.size()))) << what;
}

void play(RawPeer& peer, const Exchange& exchange) {
    expectBytes(peer, exchange.call(), exchange.what);
    peer.send(exchange.reply());
}

// The beginning of a session, where our client also asks for the session's id.
void playOpening(RawPeer& peer) {
    expectBytes(peer, hex("01000000 00 01 0000000000000000 0000  63636900 00000000"));
    peer.send(hex("0100000000000000"));
    play(peer, kExchanges[0]);
    expectBytes(peer, frameOf(Call{.address = kSessionAddress, .code = kGetSessionId}));
    Bytes id = int32(kSessionIdSize);
    append(&id, kSessionId);
    peer.send(replyFrame(id));
    play(peer, kExchanges[1]);
}

TEST_F(GoldenTest, ClientSaysWhatThePlatformsClientSaid) {
    const std::string path = mFolder + "/scripted";
    const android::base::unique_fd listening = listenUnix(path);
    std::thread script([&] {
        RawPeer peer(acceptFrom(listening));
        playOpening(peer);
        for (size_t i = 2; i < kSaidByOurClient; ++i) play(peer, kExchanges[i]);
        // A dump: the descriptor travels with the first byte of its frame.
        expectBytes(peer, hex("00000000 44000000 0000000000000000"
                              "03000000 00000000 504d445f 00000000 0000000000000000 18000000"
                              "000000000000000000000000"
                              "02000000 00000000 01000000 02000000 2d00760000000000 00000000"));
        peer.send(replyFrame({}));
        // Registering a callback: a connection for our calls first, then the object.
        RawPeer incoming(acceptFrom(listening));
        Bytes opening = hex("01000000 01 01 0000000000000000 2000");
        append(&opening, kSessionId);
        expectBytes(incoming, opening);
        incoming.send(hex("63636900 00000000"));
        expectBytes(peer, hex(kRegistration));
        peer.send(hex(kQuestion));
        expectBytes(peer, hex(kDescriptor));
        // The callback and the eight calls that named the root object are given back at once.
        peer.send(decStrong({1, 0}, 1));
        peer.send(decStrong({3, 0}, 8));
        peer.send(replyFrame(int32(0)));
        // With its last proxy the client gives the root object back.
        EXPECT_EQ(toHex(decStrong({3, 0}, 1)), toHex(peer.receive(32)));
        EXPECT_TRUE(peer.hasEnded());
    });

    ndk::SpAIBinder root(connectService(path));
    ASSERT_NE(nullptr, root.get());
    EXPECT_TRUE(AIBinder_associateClass(root.get(), echo::serverClass()));
    int answer = 0;
    EXPECT_EQ(STATUS_OK, echo::ping(root.get(), 7, &answer));
    EXPECT_EQ(8, answer);
    std::vector<int8_t> bytes;
    EXPECT_EQ(STATUS_OK, echo::echo(root.get(), {0x11, 0x22, 0x33, 0x44, 0x55}, &bytes));
    EXPECT_EQ((std::vector<int8_t>{0x11, 0x22, 0x33, 0x44, 0x55}), bytes);
    ndk::ScopedAStatus status;
    EXPECT_EQ(STATUS_OK, echo::callWithInt(root.get(), echo::kFire, -1, nullptr, &status));
    EXPECT_EQ(42, status.getServiceSpecificError());
    EXPECT_STREQ("no", status.getMessage());
    EXPECT_EQ(STATUS_OK, echo::callWithInt(root.get(), echo::kFire, -2, nullptr, &status));
    EXPECT_EQ(EX_UNSUPPORTED_OPERATION, status.getExceptionCode());
    EXPECT_EQ(STATUS_OK, AIBinder_ping(root.get()));
    const char* args[] = {"-v"};
    EXPECT_EQ(STATUS_OK, AIBinder_dump(root.get(), STDERR_FILENO, args, 1));
    ndk::SpAIBinder callback = echo::makeCallback([](int) { return 0; });
    EXPECT_EQ(STATUS_OK, echo::callWithBinder(root.get(), echo::kRegisterCallback, callback.get()));
    root = {};
    script.join();
}

// A link that nobody could ever tell is refused, and the next attempt tries anew.
TEST_F(GoldenTest, ClientThatCannotBeCalledBackIsTold) {
    const std::string path = mFolder + "/scripted";
    const android::base::unique_fd listening = listenUnix(path);
    std::thread script([&] {
        RawPeer peer(acceptFrom(listening));
        playOpening(peer);
        RawPeer(acceptFrom(listening)).close();
        RawPeer(acceptFrom(listening)).close();
        RawPeer incoming(acceptFrom(listening));
        (void)incoming.receive(48);
        incoming.send(hex("63636900 00000000"));
        EXPECT_TRUE(peer.hasEnded());
    });
    ndk::SpAIBinder root(connectService(path));
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new([](void*) {}));
    AIBinder_DeathRecipient* told = recipient.get();
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, AIBinder_linkToDeath(root.get(), told, nullptr));
    ndk::SpAIBinder callback = echo::makeCallback([](int) { return 0; });
    AParcel in;
    AParcel out;
    in.writeBinder(callback.get());
    EXPECT_EQ(STATUS_FAILED_TRANSACTION, root.get()->transact(echo::kRegisterCallback, in, out, 0));
    EXPECT_EQ(STATUS_OK, AIBinder_linkToDeath(root.get(), told, nullptr));
    root = {};
    script.join();
}

}  // namespace
}  // namespace android::host::test
