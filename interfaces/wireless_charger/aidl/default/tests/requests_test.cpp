// SPDX-License-Identifier: Apache-2.0
// Every method that sends a framed request: the exact request, and the error of every result.
#include <chrono>
#include <future>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

struct Exchange {
    const char* name;
    std::function<ndk::ScopedAStatus(W&)> call;
    Sent::Channel channel;
    int32_t type;
    std::string request;
    uint32_t timeLimit;
};

// Requests that are not bytes: no request area at all, with and without an answer area.
const std::string kNoPayload = "no payload";
const std::string kNoAnswer = "no answer";

const Bytes kNonce = hex("01 02 03 04 05 06 07 08");
const Bytes kAuthNonce(16, 0xCD);
const Bytes kKey(32, 0xAB);
const FirmwareVersion kVersion{0x112, 0x34, "ab"};

// clang-format off
const Exchange kExchanges[] = {
        {"FanInfoOf2", [](W& w) { FanInfo o{}; return w.getFanInfo(2, &o); }, Sent::BIDI, 12, "0F FA", 0},
        {"FanInfoOfMinus1", [](W& w) { FanInfo o{}; return w.getFanInfo(-1, &o); }, Sent::BIDI, 12, "0F FF", 0},
        {"SetFanManual", [](W& w) { FanInfo o{}; return w.setFan(3, FanMode::MANUAL, 0x0150, &o); }, Sent::BIDI, 12, "0F 0B 50 01", 0},
        {"SetFanManualOfMinus1", [](W& w) { FanInfo o{}; return w.setFan(-1, FanMode::MANUAL, 0x0150, &o); }, Sent::BIDI, 12, "0F FF 50 01", 0},
        {"SetFanAuto", [](W& w) { FanInfo o{}; return w.setFan(3, FanMode::AUTO, 0x0150, &o); }, Sent::BIDI, 12, "0F 03", 0},
        {"SetFanOtherMode", [](W& w) { FanInfo o{}; return w.setFan(3, FanMode(2), 0x0150, &o); }, Sent::BIDI, 12, "0F 00", 0},
        {"DockInformation", [](W& w) { DockInfo o{}; return w.getInformation(&o); }, Sent::BIDI, 0, kNoPayload, 0},
        {"Challenge", [](W& w) { Bytes o{}; return w.challenge(5, kNonce, &o); }, Sent::BIDI, 18, "05 08 01 02 03 04 05 06 07 08", 0},
        {"KeyExchange", [](W& w) { KeyExchangeResponse o{}; return w.keyExchange(kKey, &o); }, Sent::BIDI, 16, "AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB", 0},
        {"LegacyInformation", [](W& w) { UpdateInfo o{}; return w.getUpdateInformation(&o); }, Sent::BIDI, 24, kNoPayload, 0},
        {"LegacyStart", [](W& w) { UpdateStartResponse o{}; return w.updateStart(0x01020304, -3, true, kVersion, &o); }, Sent::BIDI, 25, "04 03 02 01 FD 80 12 34 61 62", 0},
        {"LegacyResume", [](W& w) { UpdateStartResponse o{}; return w.updateStart(1, 2, false, FirmwareVersion(), &o); }, Sent::BIDI, 25, "01 00 00 00 02 00 00 00", 0},
        {"LegacyNameWithAZeroByte", [](W& w) { UpdateStartResponse o{}; return w.updateStart(0, 0, false, {0, 0, {"a\0b", 3}}, &o); }, Sent::BIDI, 25, "00 00 00 00 00 00 00 00 61 00 00", 0},
        {"LegacyChunk", [](W& w) { char16_t o{}; return w.sendChunk(0xFFFE, -1, kNonce, &o); }, Sent::BIDI, 26, "FE FF FF 01 02 03 04 05 06 07 08", 0},
        {"LegacyMissingChunk", [](W& w) { MissingChunk o{}; return w.getFirstMissingChunk(&o); }, Sent::BIDI, 27, kNoPayload, 0},
        {"LegacyExecute", [](W& w) { ExecuteStatus o{}; return w.executeUpdate(&o); }, Sent::BIDI, 28, kNoPayload, 0},
        {"LegacyStatus", [](W& w) { UpdateStatus o{}; return w.getUpdateExecutionStatus(&o); }, Sent::BIDI, 29, kNoPayload, 0},
        {"LegacyReboot", [](W& w) { return w.reboot(); }, Sent::BIDI, 30, kNoAnswer, 0},
        {"SkinTemperature", [](W& w) { SkinTemp o{}; return w.getSkinTemperature(&o); }, Sent::PROP, 23, "", 60000},
        {"FwInformation", [](W& w) { FwUpdateInfo o{}; return w.getFwUpdateInformation(-2, &o); }, Sent::PROP, 24, "FE", 60000},
        {"FwStart", [](W& w) { FwUpdateStartResponse o{}; return w.fwUpdateStart(1, 0x01020304, -4, true, kVersion, &o); }, Sent::PROP, 25, "01 04 03 02 01 FC 80 12 34", 60000},
        {"FwResume", [](W& w) { FwUpdateStartResponse o{}; return w.fwUpdateStart(1, 2, 3, false, kVersion, &o); }, Sent::PROP, 25, "01 02 00 00 00 03 00 12 34", 60000},
        {"CompressStart", [](W& w) { FwUpdateStartResponse o{}; return w.compressFwUpdateStart(0, 2, 3, true, 0x0A0B0C0D, kVersion, &o); }, Sent::PROP, 25, "00 02 00 00 00 03 C0 12 34 0D 0C 0B 0A", 60000},
        {"CompressResume", [](W& w) { FwUpdateStartResponse o{}; return w.compressFwUpdateStart(0, 2, 3, false, -1, kVersion, &o); }, Sent::PROP, 25, "00 02 00 00 00 03 40 12 34 FF FF FF FF", 60000},
        {"CompressStartOfNothing", [](W& w) { FwUpdateStartResponse o{}; return w.compressFwUpdateStart(0, 2, 3, true, 0, kVersion, &o); }, Sent::PROP, 25, "00 02 00 00 00 03 80 12 34", 60000},
        {"FwChunk", [](W& w) { int32_t o{}; return w.sendFwChunk(1, 0x12345, -1, kNonce, &o); }, Sent::PROP, 26, "01 45 23 FF 01 02 03 04 05 06 07 08", 60000},
        {"CompressChunkOfMinus1", [](W& w) { ChunkResponse o{}; return w.sendCompressFwChunk(1, -1, 7, {}, &o); }, Sent::PROP, 26, "01 FF FF 07", 60000},
        {"FwMissingChunk", [](W& w) { FwMissingChunk o{}; return w.getFirstFwMissingChunk(127, &o); }, Sent::PROP, 27, "7F", 60000},
        {"FwExecute", [](W& w) { ExecuteStatus o{}; return w.fwExecuteUpdate(1, &o); }, Sent::PROP, 28, "01", 60000},
        {"FwStatus", [](W& w) { FwUpdateStatus o{}; return w.getFwUpdateExecutionStatus(0, &o); }, Sent::PROP, 29, "00", 60000},
        {"FwReboot", [](W& w) { return w.sendReboot(); }, Sent::PROP, 30, kNoAnswer, 60000},
        {"Digests", [](W& w) { WpcAuthDigests o{}; return w.getWpcAuthDigests(-1, &o); }, Sent::WPC_AUTH, 25, "19 0F", 53000},
        {"Certificate", [](W& w) { Bytes o{}; return w.getWpcAuthCertificate(6, 0x6FF, 100, &o); }, Sent::WPC_AUTH, 26, "1A C2 FF 64", 44000},
        {"AuthChallenge", [](W& w) { WpcAuthChallengeResponse o{}; return w.getWpcAuthChallengeResponse(-1, kAuthNonce, &o); }, Sent::WPC_AUTH, 27, "1B 03 CD CD CD CD CD CD CD CD CD CD CD CD CD CD CD CD", 33000},
};
// clang-format on

bool isLegacy(const Exchange& row) {
    return std::string_view(row.name).starts_with("Legacy");
}

class RequestTest : public ChargerTest, public testing::WithParamInterface<Exchange> {};

INSTANTIATE_TEST_SUITE_P(All, RequestTest, testing::ValuesIn(kExchanges),
                         [](const auto& row) { return row.param.name; });

TEST_P(RequestTest, IsSentByteForByte) {
    const Exchange& row = GetParam();
    row.call(*charger);
    ASSERT_EQ(protocol().sent.size(), 1u);
    const Sent& sent = protocol().sent[0];
    EXPECT_EQ(sent.channel, row.channel);
    EXPECT_EQ(sent.type, row.type);
    EXPECT_EQ(sent.timeLimit, row.timeLimit);
    const bool empty = row.request == kNoPayload || row.request == kNoAnswer;
    EXPECT_EQ(sent.request, empty ? Bytes() : hex(row.request));
    EXPECT_EQ(sent.hasRequestArea, !empty);
    EXPECT_EQ(sent.wantsAnswer, row.request != kNoAnswer);
    const size_t capacity = row.channel == Sent::WPC_AUTH ? 2044 : 256;
    EXPECT_EQ(sent.capacity, row.request == kNoAnswer ? 0 : capacity);
}

TEST_P(RequestTest, FailureBecomesTheMappedError) {
    const std::pair<uint32_t, int> kErrors[] = {
        {1, 2}, {2, 2},  {3, 1},  {4, 8},   {5, 7},  {6, 4},  {7, 6},           {8, 5},
        {9, 3}, {10, 7}, {11, 8}, {12, 10}, {13, 9}, {14, 7}, {0x80000000u, 7}, {0xFFFFFFFF, 7}};
    for (const auto& [result, error] : kErrors) {
        fake::answerAll({.result = result});
        EXPECT_EQ(errorOf(GetParam().call(*charger)), error) << "result " << result;
    }
}

// A client that gets a success sees only what the dock said: any answer, of any length, is safe.
TEST_P(RequestTest, AnswerOfAnyLengthIsSafe) {
    for (uint8_t byte : {0x00, 0x01, 0x12, 0x80, 0xFF}) {
        for (size_t length = 0; length <= 256; length++) {
            fake::answerAll({.bytes = Bytes(length, byte)});
            const int error = errorOf(GetParam().call(*charger));
            EXPECT_GE(error, 0);
            EXPECT_LE(error, 10);
        }
        fake::answerAll({.bytes = Bytes(4096, byte), .claimedLength = 4096});
        EXPECT_GE(errorOf(GetParam().call(*charger)), 0);
    }
}

TEST_F(ChargerTest, LargestArgumentFillsTheRequest) {
    int32_t next;
    char16_t legacyNext;
    UpdateStartResponse start;
    const FirmwareVersion longName{0, 0, std::string(247, 'n')};
    charger->sendFwChunk(1, 0, 0, Bytes(252, 1), &next);
    charger->sendChunk(0, 0, Bytes(253, 1), &legacyNext);
    charger->updateStart(0, 0, true, longName, &start);
    std::vector<size_t> sizes;
    for (const Bytes& request : takeRequests()) sizes.push_back(request.size());
    EXPECT_THAT(sizes, ElementsAre(256, 256, 255));
}

TEST_F(ChargerTest, AnswersAreReadAtTheirPlaces) {
    const auto fields = [](const FanInfo& fan) {
        return std::vector<int>{fan.valid, fan.level, fan.fanValue1, fan.fanValue2, fan.fanValue3};
    };
    answer("0F 00 34 12 01 00 02 00 03 80");
    EXPECT_THAT(fields(ask(&W::getFanInfo, 2)), ElementsAre(1, 0x1234, 1, 2, 0x8003));
    answer("0F 01 34 12 01 00 02 00 03 80");
    EXPECT_THAT(fields(ask(&W::setFan, 2, FanMode::AUTO, 0)), ElementsAre(0, 0x1234, 0, 0, 0));
    answer("F6 28");
    EXPECT_EQ(ask(&W::getSkinTemperature).toString(), "SkinTemp{boostTemp: -10, puckTemp: 40}");

    answer("08 11 12 13 14 15 16 17 18 99");
    EXPECT_EQ(ask(&W::challenge, 5, kNonce), hex("11 12 13 14 15 16 17 18"));
    answer("07 11 12 13 14 15 16 17 18");
    Bytes bytes;
    EXPECT_EQ(errorOf(charger->challenge(5, kNonce, &bytes)), 2);

    // What a short answer does not cover is the request, then zeros.
    answer("FF");
    const KeyExchangeResponse key = ask(&W::keyExchange, kKey);
    EXPECT_EQ(key.header, -1);
    Bytes expected(31, 0xAB);
    expected.push_back(0);
    EXPECT_EQ(key.key, expected);
}

TEST_F(ChargerTest, FanLevelIsReadWithoutTheDock) {
    int32_t level = 0;
    EXPECT_EQ(errorOf(charger->getFanLevel(&level)), 4);
    EXPECT_EQ(level, -1);
    protocol().values[6] = 300;
    EXPECT_EQ(ask(&W::getFanLevel), 300);
    EXPECT_THAT(protocol().sent, IsEmpty());
}

// Slow exchanges from several threads: those under the request lock never meet in the library.
TEST_F(ChargerTest, LockedRequestsNeverOverlap) {
    protocol().answer = [](const Sent&) {
        std::this_thread::yield();
        return fake::Answer{};
    };
    std::vector<std::function<void()>> locked;
    for (const Exchange& row : kExchanges) {
        if (!isLegacy(row)) locked.push_back([&] { row.call(*charger); });
    }
    runAtOnce(20, locked);
    EXPECT_FALSE(protocol().overlapped);
}

// While a request under the lock is with the dock, the others are sent and answered.
TEST_F(ChargerTest, LegacyRequestsDoNotWaitForOthers) {
    for (const Exchange& row : kExchanges) {
        if (!isLegacy(row)) continue;
        std::future<void> other;
        protocol().answer = [&](const Sent& sent) {
            if (sent.channel == Sent::PROP) {
                other = std::async(std::launch::async, [&] { row.call(*charger); });
                EXPECT_EQ(other.wait_for(std::chrono::seconds(30)), std::future_status::ready)
                    << row.name;
            }
            return fake::Answer{};
        };
        ask(&W::getSkinTemperature);
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
