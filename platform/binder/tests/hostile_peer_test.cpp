// SPDX-License-Identifier: Apache-2.0
//
// What odd and hostile peers get: an answer that says so, or the end of their own session, and
// nobody else notices.
#include <fcntl.h>
#include <unistd.h>

#include <set>

#include "transport_fixture.h"

namespace android::host::test {
namespace {

using android::base::unique_fd;
using HostilePeerTest = TransportTest;

constexpr WireAddress kRoot{kAddressCreated | kAddressForServer, 0};

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
constexpr size_t kParcelSizeAt = 40;

TEST_F(HostilePeerTest, OddFramesGetTheirAnswer) {
    const Bytes goodPing = pingFrame(7);
    Bytes binderOf = int32(kObjectBinder);  // an address that nobody made
    append(&binderOf, WireAddress{kAddressCreated | kAddressForServer, 77});
    append(&binderOf, int32(0x3f));
    auto echoOf = [](int32_t length) {
        return frameOf(Call{.code = echo::kEcho, .parcel = echoParcel(int32(length))});
    };
    auto registerOf = [](const Bytes& binder) {
        return frameOf(Call{.code = echo::kRegisterCallback, .parcel = echoParcel(binder)});
    };
    struct Row {
        const char* what;
        Bytes sent;
        int32_t status;
    };
    const Row rows[] = {
        {"good ping", goodPing, 0},
        {"surplus bytes after the argument", pingFrame(7, Bytes(8)), 0},
        {"reserved fields set", patched(goodPing, 8, Bytes(8, 0xee)), 0},
        {"unknown flags",
         frameOf(Call{.code = echo::kPing, .flags = 0xffff0010, .parcel = echoParcel(int32(7))}),
         0},
        {"no argument", frameOf(Call{.code = echo::kPing, .parcel = echoParcel()}),
         STATUS_NOT_ENOUGH_DATA},
        {"no parcel", frameOf(Call{.code = echo::kPing}), STATUS_BAD_TYPE},
        {"byte[] of length -1", echoOf(-1), STATUS_UNEXPECTED_NULL},
        {"byte[] of length -2", echoOf(-2), STATUS_BAD_VALUE},
        {"byte[] of length 1000000 without bytes", echoOf(1000000), STATUS_NO_MEMORY},
        {"byte[] of length 0", echoOf(0), 0},
        {"null binder with a stability", registerOf(joined(int32(0), int32(0x3f))),
         STATUS_BAD_TYPE},
        {"binder of the server's that it never made", registerOf(binderOf), STATUS_BAD_VALUE},
        {"unknown special call", frameOf(Call{.address = kSessionAddress, .code = 3}),
         STATUS_UNKNOWN_TRANSACTION},
        {"unknown address option", frameOf(Call{.address = {7, 0}, .code = echo::kPing}),
         STATUS_BAD_VALUE},
        {"object table entry past the parcel",
         frameOf(
             Call{.code = echo::kPing, .parcel = echoParcel(int32(7)), .objectTable = int32(96)}),
         STATUS_BAD_VALUE},
        {"object table entry that names no object",
         frameOf(
             Call{.code = echo::kPing, .parcel = echoParcel(int32(7)), .objectTable = int32(0)}),
         STATUS_BAD_VALUE},
        {"give-back of what was never had, then a ping",
         joined(decStrong({kAddressCreated, 9}, 1), goodPing), 0},
        {"give-back of more than was sent, then a ping", joined(decStrong(kRoot, 5), goodPing), 0},
        {"give-back of nothing, then a ping", joined(decStrong(kRoot, 0), goodPing), 0},
        {"the last give-back, then a ping", joined(decStrong(kRoot, 1), goodPing), kEnds},
        {"give-back of a wrong size", frameOf(WireCommand::kDecStrong, Bytes(8)), kEnds},
        {"unknown command", frameOf(WireCommand{7}, {}), kEnds},
        {"reply nobody waits for", frameOf(WireCommand::kReply, Bytes(20)), kEnds},
        {"body shorter than a transaction", frameOf(WireCommand::kTransact, Bytes(20)), kEnds},
        {"parcel larger than the body", patched(goodPing, kParcelSizeAt, int32(1000)), kEnds},
        {"object table of 3 bytes",
         frameOf(Call{.code = echo::kPing, .parcel = echoParcel(), .objectTable = Bytes(3)}),
         kEnds},
        {"body of 2 GiB", patched(goodPing, kBodySizeAt, int32(INT32_MIN)), kEnds},
        {"body of 4 GiB", patched(goodPing, kBodySizeAt, int32(-1)), kEnds},
        {"body one byte above the limit", patched(goodPing, kBodySizeAt, int32(100'001)), kEnds},
        {"address of the server's that it never made",
         frameOf(Call{.address = {3, 5}, .code = echo::kPing}), kEnds},
        {"address of the client's", frameOf(Call{.address = {1, 5}, .code = echo::kPing}), kEnds},
        {"garbage", Bytes(64, 0xa5), kEnds},
    };
    RawPeer bystander = openRaw();
    for (const Row& row : rows) {
        RawPeer peer = openRaw();
        peer.send(row.sent);
        std::optional<RawFrame> reply = peer.frame();
        ASSERT_EQ(row.status == kEnds, !reply.has_value()) << row.what;
        if (reply) {
            EXPECT_EQ(row.status, reply->replyStatus()) << row.what;
            EXPECT_TRUE(peer.ping(1)) << row.what << ": a session that goes on";
        }
        EXPECT_TRUE(bystander.ping(1)) << row.what << ": another session";
    }
}

TEST_F(HostilePeerTest, OddOpeningsGetTheirAnswer) {
    constexpr char kInit[] = "6363690000000000";
    struct Row {
        const char* what;
        std::string opening;
        std::string answer;  // empty: the connection ends
        bool serves;
    };
    const Row rows[] = {
        {"version 0", std::string("00000000 00 00 0000000000000000 0000") + kInit,
         "0000000000000000", true},
        {"version 2", std::string("02000000 00 01 0000000000000000 0000") + kInit,
         "0100000000000000", true},
        {"version 0xf0000000", std::string("000000f0 00 01 0000000000000000 0000") + kInit,
         "0100000000000000", true},
        {"unknown option", std::string("01000000 80 01 0000000000000000 0000") + kInit,
         "0100000000000000", true},
        {"fd mode 2", std::string("01000000 00 02 0000000000000000 0000") + kInit, "", false},
        {"wrong init", "01000000 00 01 0000000000000000 0000 6363690100000000", "0100000000000000",
         false},
        {"session id of 5 bytes", "01000000 00 01 0000000000000000 0500 0102030405", "", false},
        {"unknown session", "01000000 00 01 0000000000000000 2000" + std::string(64, '5') + kInit,
         "", false},
        {"callback connection first", "01000000 01 01 0000000000000000 0000", "", false},
    };
    for (const Row& row : rows) {
        RawPeer peer(mPath);
        peer.send(hex(row.opening));
        EXPECT_EQ(row.answer, toHex(peer.receive(row.answer.size() / 2))) << row.what;
        peer.send(frameOf(Call{.address = kSessionAddress, .code = kGetRoot}));
        EXPECT_EQ(row.serves, peer.frame().has_value()) << row.what;
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
    unique_fd null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    Bytes parcel;
    append(&parcel, WireFd{kObjectFd, 0});
    append(&parcel, int32(0));
    auto dumpOf = [&](int32_t index, const Bytes& table) {
        return frameOf(Call{
            .code = kDumpCode, .parcel = patched(parcel, 4, int32(index)), .objectTable = table});
    };
    struct Row {
        const char* what;
        Bytes frame;
        size_t fds;
        int32_t status;
    };
    const Row rows[] = {
        {"as it should be", dumpOf(0, int32(0)), 1, 0},
        {"table left out", dumpOf(0, {}), 1, STATUS_BAD_VALUE},
        {"no descriptor", dumpOf(0, int32(0)), 0, STATUS_BAD_VALUE},
        {"three descriptors", dumpOf(0, int32(0)), 3, STATUS_BAD_VALUE},
        {"index past the descriptors", dumpOf(1, int32(0)), 1, STATUS_BAD_VALUE},
        {"negative index", dumpOf(-1, int32(0)), 1, STATUS_BAD_VALUE},
    };
    RawPeer peer = openRaw();
    size_t before = openDescriptors();
    for (const Row& row : rows) {
        peer.send(row.frame, std::vector<int>(row.fds, null.get()));
        std::optional<RawFrame> reply = peer.frame();
        ASSERT_TRUE(reply) << row.what;
        EXPECT_EQ(row.status, reply->replyStatus()) << row.what;
    }
    EXPECT_EQ(before, openDescriptors());

    // More than one message may carry, in pieces of an unfinished frame.
    Bytes half = dumpOf(0, int32(0));
    for (size_t at = 0; at < 3; ++at) {
        peer.send({half[at]}, std::vector<int>(100, null.get()));
    }
    EXPECT_TRUE(peer.hasEnded());
    peer.close();
    EXPECT_TRUE(eventually([&] { return openDescriptors() < before; }));
    expectServed();
}

TEST_F(HostilePeerTest, DescriptorsNeedASessionThatCarriesThem) {
    RawPeer peer(mPath);
    peer.open({}, 0, /*fdMode=*/0);
    peer.fetchRoot();
    unique_fd null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    Bytes parcel;
    append(&parcel, WireFd{kObjectFd, 0});
    append(&parcel, int32(0));
    peer.send(frameOf(Call{.code = kDumpCode, .parcel = parcel, .objectTable = int32(0)}),
              {null.get()});
    std::optional<RawFrame> reply = peer.frame();
    ASSERT_TRUE(reply);
    EXPECT_EQ(STATUS_BAD_VALUE, reply->replyStatus());
}

TEST_F(HostilePeerTest, SessionsHaveNoMoreConnectionsThanReported) {
    RawPeer first = openRaw();
    Bytes id = first.sessionId();
    RawPeer second(mPath);
    second.open(id);
    EXPECT_TRUE(second.ping(1));
    RawPeer third(mPath);
    third.open(id);
    EXPECT_TRUE(third.ping(1));
    RawPeer fourth(mPath);
    fourth.open(id);
    EXPECT_TRUE(fourth.hasEnded());
    EXPECT_TRUE(third.ping(1));
}

TEST_F(HostilePeerTest, APeerThatDoesNotReadItsAnswersDelaysNobody) {
    RawPeer deaf = openRaw();
    Bytes big = echoParcel(int32(90'000));
    append(&big, Bytes(90'000, 0x11));
    Bytes call = frameOf(Call{.code = echo::kEcho, .parcel = big});
    size_t calls = 0;
    while (calls < 64 && deaf.trySend(call)) ++calls;
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
        std::lock_guard guard(lock);
        seen.push_back(x);
    });
    RawPeer first = openRaw();
    RawPeer second(mPath);
    second.open(first.sessionId());
    auto oneway = [](uint64_t number) {
        return frameOf(Call{.code = echo::kPing,
                            .flags = kFlagOneway,
                            .asyncNumber = number,
                            .parcel = echoParcel(int32(static_cast<int32_t>(number)))});
    };
    first.send(oneway(2));
    ASSERT_TRUE(first.ping(100));  // a call with an answer: what came before has been seen
    second.send(oneway(1));
    ASSERT_TRUE(second.ping(101));
    first.send(oneway(0));
    first.send(oneway(1));  // a repetition is passed over
    // A peer that forgot the object and was then sent it anew begins to count again.
    first.send(oneway(0));
    first.send(oneway(1));
    EXPECT_TRUE(eventually([&] {
        std::lock_guard guard(lock);
        return seen.size() == 7;
    }));
    EXPECT_EQ((std::vector<int>{100, 101, 0, 1, 2, 0, 1}), seen);
    mServer.onPing([](int) {});
}

TEST_F(HostilePeerTest, TooManyEarlyOnewayCallsEndTheSession) {
    RawPeer peer = openRaw();
    for (uint64_t number = 1; number <= kMaxQueuedOneway + 1; ++number) {
        peer.send(frameOf(Call{.code = echo::kPing, .flags = kFlagOneway, .asyncNumber = number}));
    }
    EXPECT_TRUE(peer.hasEnded());
    expectServed();
}

}  // namespace
}  // namespace android::host::test
