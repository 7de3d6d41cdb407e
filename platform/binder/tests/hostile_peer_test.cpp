// SPDX-License-Identifier: Apache-2.0
//
// What odd and hostile peers get: an answer that says so, or the end of their own session, and
// nobody else notices.
#include "transport_fixture.h"

namespace android::host::test {
namespace {

using HostilePeerTest = TransportTest;

// A frame with some of its bytes overwritten.
Bytes patched(Bytes frame, size_t at, const Bytes& with) {
    std::copy(with.begin(), with.end(), frame.begin() + static_cast<long>(at));
    return frame;
}

Bytes joined(const Bytes& first, const Bytes& second) {
    Bytes both = first;
    append(&both, second);
    return both;
}

constexpr int32_t kEnds = 12345;  // in place of a status: the session ends
constexpr size_t kBodySizeAt = 4;
constexpr size_t kFlagsAt = 28;
constexpr size_t kParcelSizeAt = 40;

TEST_F(HostilePeerTest, OddFramesGetTheirAnswer) {
    const Bytes goodPing = pingFrame(7);
    Bytes unmade = int32(kObjectBinder);  // an address that nobody made
    append(&unmade, WireAddress{kAddressCreated | kAddressForServer, 77});
    append(&unmade, int32(0x3f));
    auto pingAt = [](WireAddress address) {
        return frameOf(Call{.address = address, .code = echo::kPing});
    };
    struct Row {
        const char* what;
        Bytes sent;
        int32_t status;
    };
    const Row rows[] = {
        {"surplus bytes", echoFrame(echo::kPing, joined(int32(7), Bytes(8))), 0},
        {"reserved fields set", patched(goodPing, 8, Bytes(8, 0xee)), 0},
        {"unknown flags", patched(goodPing, kFlagsAt, {0x10, 0, 0xff, 0xff}), 0},
        {"no argument", echoFrame(echo::kPing, {}), STATUS_NOT_ENOUGH_DATA},
        {"no parcel", frameOf(Call{.code = echo::kPing}), STATUS_BAD_TYPE},
        {"another interface's token",
         frameOf(Call{.code = echo::kPing, .parcel = joined(text("test.IWrong"), int32(7))}),
         STATUS_BAD_TYPE},
        {"byte[] of length -1", echoFrame(echo::kEcho, int32(-1)), STATUS_UNEXPECTED_NULL},
        {"byte[] of length -2", echoFrame(echo::kEcho, int32(-2)), STATUS_BAD_VALUE},
        {"byte[] without its bytes", echoFrame(echo::kEcho, int32(1000000)), STATUS_NO_MEMORY},
        {"null binder with a stability",
         echoFrame(echo::kRegisterCallback, joined(int32(0), int32(0x3f))), STATUS_BAD_TYPE},
        {"binder of the server's that it never made", echoFrame(echo::kRegisterCallback, unmade),
         STATUS_BAD_VALUE},
        {"unknown special call", frameOf(Call{.address = kSessionAddress, .code = 3}),
         STATUS_UNKNOWN_TRANSACTION},
        {"unknown address option", pingAt({7, 0}), STATUS_BAD_VALUE},
        {"object past the parcel", echoFrame(echo::kPing, int32(7), int32(96)), STATUS_BAD_VALUE},
        {"object that is none", echoFrame(echo::kPing, int32(7), int32(0)), STATUS_BAD_VALUE},
        {"give-back of what was never had, then a ping",
         joined(decStrong({kAddressCreated, 9}, 1), goodPing), 0},
        {"give-back of more than was sent, then a ping", joined(decStrong(kRoot, 5), goodPing), 0},
        {"give-back of nothing, then a ping", joined(decStrong(kRoot, 0), goodPing), 0},
        {"the last give-back, then a ping", joined(decStrong(kRoot, 1), goodPing), kEnds},
        {"give-back of a wrong size", frameOf(WireCommand::kDecStrong, Bytes(8)), kEnds},
        {"unknown command", frameOf(WireCommand{7}, {}), kEnds},
        {"unexpected reply", frameOf(WireCommand::kReply, Bytes(20)), kEnds},
        {"body shorter than a transaction", frameOf(WireCommand::kTransact, Bytes(20)), kEnds},
        {"parcel larger than the body", patched(goodPing, kParcelSizeAt, int32(1000)), kEnds},
        {"object table of 3 bytes", echoFrame(echo::kPing, {}, Bytes(3)), kEnds},
        {"body of 4 GiB", patched(goodPing, kBodySizeAt, int32(-1)), kEnds},
        {"body one byte above the limit", patched(goodPing, kBodySizeAt, int32(100'001)), kEnds},
        {"address of the server's that it never made", pingAt({3, 5}), kEnds},
        {"address of the client's", pingAt({1, 5}), kEnds},
        {"garbage", Bytes(64, 0xa5), kEnds},
    };
    RawPeer bystander = openRaw();
    for (const Row& row : rows) {
        RawPeer peer = openRaw();
        std::optional<RawFrame> reply = peer.ask(row.sent);
        ASSERT_EQ(row.status == kEnds, !reply.has_value()) << row.what;
        if (reply) {
            EXPECT_EQ(row.status, reply->replyStatus()) << row.what;
            EXPECT_TRUE(peer.ping(1)) << row.what << ": a session that goes on";
        }
        EXPECT_TRUE(bystander.ping(1)) << row.what << ": another session";
    }
}

TEST_F(HostilePeerTest, OddOpeningsGetTheirAnswer) {
    const std::string init = "6363690000000000";
    const std::string none = "0000000000000000 0000";  // reserved bytes, no session's id
    const std::string version1 = "0100000000000000";
    struct Row {
        const char* what;
        std::string opening;
        std::string answer;  // empty: the connection ends
        bool serves;
    };
    const Row rows[] = {
        {"version 0", "00000000 00 00" + none + init, "0000000000000000", true},
        {"version 2", "02000000 00 01" + none + init, version1, true},
        {"version 0xf0000000", "000000f0 00 01" + none + init, version1, true},
        {"unknown option", "01000000 80 01" + none + init, version1, true},
        {"fd mode 2", "01000000 00 02" + none + init, "", false},
        {"wrong init", "01000000 00 01" + none + "6363690100000000", version1, false},
        {"session id of 5 bytes", "01000000 00 01 0000000000000000 0500 0102030405", "", false},
        {"unknown session", "01000000 00 01 0000000000000000 2000" + std::string(64, '5') + init,
         "", false},
        {"callback connection first", "01000000 01 01" + none, "", false},
    };
    for (const Row& row : rows) {
        RawPeer peer(mPath);
        peer.send(hex(row.opening));
        EXPECT_EQ(row.answer, toHex(peer.receive(row.answer.size() / 2))) << row.what;
        const Bytes question = frameOf(Call{.address = kSessionAddress, .code = kGetRoot});
        EXPECT_EQ(row.serves, peer.ask(question).has_value()) << row.what;
    }
    expectServed();
}

TEST_F(HostilePeerTest, OpeningsAndFramesMayComeByteByByteAndEndAnywhere) {
    Bytes stream;
    append(&stream, WireConnectionHeader{1, 0, 1, {}, 0});
    append(&stream, kConnectionInit);
    append(&stream, frameOf(Call{.address = kSessionAddress, .code = kGetRoot}));
    append(&stream, pingFrame(7));
    {
        RawPeer slow(mPath);
        for (uint8_t byte : stream) slow.send({byte});
        EXPECT_EQ("0100000000000000", toHex(slow.receive(8)));
        EXPECT_TRUE(slow.frame());
        std::optional<RawFrame> answer = slow.frame();
        ASSERT_TRUE(answer);
        EXPECT_EQ(toHex(joined(int32(0), int32(8))), toHex(answer->replyParcel()));
    }
    size_t before = openDescriptors();
    for (size_t length = 0; length < stream.size(); ++length) {
        RawPeer(mPath).send(Bytes(stream.begin(), stream.begin() + static_cast<long>(length)));
    }
    expectServed();
    EXPECT_TRUE(eventually([&] { return openDescriptors() <= before; }));
}

TEST_F(HostilePeerTest, DescriptorsThatDoNotFitTheirTableAreRefusedAndClosed) {
    struct Row {
        const char* what;
        Bytes frame;
        size_t fds;
        int32_t status;
    };
    const Row rows[] = {
        {"as it should be", dumpFrame(), 1, 0},
        {"table left out", dumpFrame(0, {}), 1, STATUS_BAD_VALUE},
        {"no descriptor", dumpFrame(), 0, STATUS_BAD_VALUE},
        {"three descriptors", dumpFrame(), 3, STATUS_BAD_VALUE},
        {"index past the descriptors", dumpFrame(1), 1, STATUS_BAD_VALUE},
        {"negative index", dumpFrame(-1), 1, STATUS_BAD_VALUE},
    };
    RawPeer peer = openRaw();
    size_t before = openDescriptors();
    for (const Row& row : rows) {
        std::optional<RawFrame> reply = peer.ask(row.frame, std::vector<int>(row.fds, mNull.get()));
        ASSERT_TRUE(reply) << row.what;
        EXPECT_EQ(row.status, reply->replyStatus()) << row.what;
    }
    EXPECT_TRUE(eventually([&] { return openDescriptors() <= before; }));

    // More than one message may carry, in pieces of an unfinished frame.
    Bytes half = dumpFrame();
    for (size_t at = 0; at < 3; ++at) {
        peer.send({half[at]}, std::vector<int>(100, mNull.get()));
    }
    EXPECT_TRUE(peer.hasEnded());
    peer.close();
    EXPECT_TRUE(eventually([&] { return openDescriptors() < before; }));
    expectServed();

    RawPeer without(mPath);
    without.open({}, 0, /*fdMode=*/0);
    without.fetchRoot();
    std::optional<RawFrame> reply = without.ask(dumpFrame(), {mNull.get()});
    ASSERT_TRUE(reply);
    EXPECT_EQ(STATUS_BAD_VALUE, reply->replyStatus()) << "a session that carries none";
}

TEST_F(HostilePeerTest, SessionsHaveNoMoreConnectionsThanReported) {
    RawPeer first = openRaw();
    Bytes id = first.sessionId();
    std::vector<RawPeer> others;
    for (int i = 0; i < 2; ++i) {
        others.emplace_back(mPath).open(id);
        EXPECT_TRUE(others.back().ping(1));  // only now has it joined
    }
    RawPeer third(mPath);
    third.open(id);
    EXPECT_TRUE(third.hasEnded());
    EXPECT_TRUE(others[1].ping(1));
}

TEST_F(HostilePeerTest, APeerThatDoesNotReadItsAnswersDelaysNobody) {
    RawPeer deaf = openRaw();
    const size_t calls = deaf.sendUnread(64);
    ASSERT_GT(calls, 1u);
    expectServed();
    for (size_t i = 0; i + 1 < calls; ++i) {
        std::optional<RawFrame> reply = deaf.frame();
        ASSERT_TRUE(reply) << i;
        EXPECT_EQ(90'008u, reply->replyParcel().size());
    }
}

TEST_F(HostilePeerTest, OnewayCallsRunInTheirOrderWhateverConnectionBringsThem) {
    std::mutex lock;
    std::vector<int> seen;
    mServer.onPing([&](int x) {
        std::lock_guard held(lock);
        seen.push_back(x);
    });
    RawPeer first = openRaw();
    RawPeer second(mPath);
    second.open(first.sessionId());
    first.send(onewayFrame(2));
    ASSERT_TRUE(first.ping(100));  // a call with an answer: what came before has been seen
    second.send(onewayFrame(1));
    ASSERT_TRUE(second.ping(101));
    first.send(onewayFrame(0));
    first.send(onewayFrame(1));  // a repetition is passed over
    // A peer that forgot the object and was then sent it anew begins to count again.
    first.send(onewayFrame(0));
    first.send(onewayFrame(1));
    EXPECT_TRUE(eventually([&] {
        std::lock_guard held(lock);
        return seen.size() == 7;
    }));
    EXPECT_EQ((std::vector<int>{100, 101, 0, 1, 2, 0, 1}), seen);
    mServer.onPing([](int) {});
}

TEST_F(HostilePeerTest, EarlyOnewayCallsTakeUpRoomOnlyUntilTheyRun) {
    RawPeer peer = openRaw();
    for (uint64_t number = 0; number <= 2 * kMaxQueuedOneway; number += 2) {
        peer.send(onewayFrame(number + 1));
        peer.send(onewayFrame(number));
    }
    EXPECT_TRUE(peer.ping(1));
}

}  // namespace
}  // namespace android::host::test
