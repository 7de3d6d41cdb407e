// SPDX-License-Identifier: Apache-2.0
// Every method that sends a framed request: the exact request, what becomes of the answer, and the
// error of every result.
#include <chrono>
#include <future>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using namespace std::string_literals;

/** Calls a method; fills in what it answers, as text, and returns its error. */
using Call = std::function<int(W&, std::string*)>;

struct Exchange {
    const char* name;
    Call call;
    Sent::Channel channel;
    int32_t type;
    std::string request;
    std::string answer = {};  // and what is read from it; nothing: not examined here
    std::string read = {};
    uint32_t authTimeLimit = 0;
};

// Requests that are not bytes: no request area at all, with and without an answer area.
const std::string kNoPayload = "no payload";
const std::string kNoAnswer = "no answer";

const Bytes kNonce = hex("01 02 03 04 05 06 07 08");
const Bytes kAuthNonce(16, 0xCD);
const Bytes kKey(32, 0xAB);
const FirmwareVersion kVersion{0x112, 0x34, "ab"};
const FirmwareVersion kZeroInName{0, 0, {"a\0b", 3}};

template <typename... Parameters, typename... Arguments>
Call calls(ndk::ScopedAStatus (W::*method)(Parameters...), Arguments... arguments) {
    return [=](W& charger, std::string* text) {
        if constexpr (sizeof...(Arguments) == sizeof...(Parameters)) {
            return errorOf((charger.*method)(arguments...));
        } else {
            using Out = std::tuple_element_t<sizeof...(Arguments), std::tuple<Parameters...>>;
            std::remove_pointer_t<Out> out{};
            const int error = errorOf((charger.*method)(arguments..., &out));
            if constexpr (requires { out.toString(); }) {
                *text = out.toString();
            } else if constexpr (requires { toString(out); }) {
                *text = toString(out);
            } else {
                *text = testing::PrintToString(out);
            }
            return error;
        }
    };
}

// clang-format off
const Exchange kExchanges[] = {
    {"FanInfoOf2", calls(&W::getFanInfo, 2), Sent::BIDI, 12, "0F FA", "0F 00 34 12 61 00 62 00 03 80", "FanInfo{valid: true, level: \u1234, fanValue1: a, fanValue2: b, fanValue3: \u8003}"},
    {"FanInfoOfMinus1", calls(&W::getFanInfo, -1), Sent::BIDI, 12, "0F FF"},
    {"SetFanManual", calls(&W::setFan, 3, FanMode::MANUAL, 0x0150), Sent::BIDI, 12, "0F 0B 50 01"},
    {"SetFanManualOfMinus1", calls(&W::setFan, -1, FanMode::MANUAL, 0x0150), Sent::BIDI, 12, "0F FF 50 01"},
    {"SetFanAuto", calls(&W::setFan, 3, FanMode::AUTO, 0x0150), Sent::BIDI, 12, "0F 03", "0F 01 34 12 61 00 62 00 03 80", "FanInfo{valid: false, level: \u1234, fanValue1: \0, fanValue2: \0, fanValue3: \0}"s},
    {"SetFanOtherMode", calls(&W::setFan, 3, FanMode(2), 0x0150), Sent::BIDI, 12, "0F 00"},
    {"DockInformation", calls(&W::getInformation), Sent::BIDI, 0, kNoPayload},
    {"Challenge", calls(&W::challenge, 5, kNonce), Sent::BIDI, 18, "05 08 01 02 03 04 05 06 07 08"},
    {"KeyExchange", calls(&W::keyExchange, kKey), Sent::BIDI, 16, "AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB"},
    {"LegacyInformation", calls(&W::getUpdateInformation), Sent::BIDI, 24, kNoPayload, "99 01 02 03 F4 05", "UpdateInfo{maxSize: -201129471, infoByte4: -12, infoByte5: 5}"},
    {"LegacyStart", calls(&W::updateStart, 0x01020304, -3, true, kVersion), Sent::BIDI, 25, "04 03 02 01 FD 80 12 34 61 62"},
    {"LegacyResume", calls(&W::updateStart, 1, 2, false, FirmwareVersion()), Sent::BIDI, 25, "01 00 00 00 02 00 00 00"},
    {"LegacyNameWithAZeroByte", calls(&W::updateStart, 0, 0, false, kZeroInName), Sent::BIDI, 25, "00 00 00 00 00 00 00 00 61 00 00"},
    {"LegacyChunk", calls(&W::sendChunk, 0xFFFE, -1, kNonce), Sent::BIDI, 26, "FE FF FF 01 02 03 04 05 06 07 08", "FE 7F", "U+7FFE"},
    {"LegacyMissingChunk", calls(&W::getFirstMissingChunk), Sent::BIDI, 27, kNoPayload, "01 02 03 F4", "MissingChunk{chunkNumber: \u0201, numChunks: \uF403}"},
    {"LegacyExecute", calls(&W::executeUpdate), Sent::BIDI, 28, kNoPayload, "03", "REFUSED"},
    {"LegacyStatus", calls(&W::getUpdateExecutionStatus), Sent::BIDI, 29, kNoPayload, "02 9C", "UpdateStatus{status: 2, progress: -100}"},
    {"LegacyReboot", calls(&W::reboot), Sent::BIDI, 30, kNoAnswer},
    {"SkinTemperature", calls(&W::getSkinTemperature), Sent::PROP, 23, "", "F6 28", "SkinTemp{boostTemp: -10, puckTemp: 40}"},
    {"FwInformation", calls(&W::getFwUpdateInformation, -2), Sent::PROP, 24, "FE", "81 01 02 03 F4 FC FF FE", "FwUpdateInfo{target: -127, maxSize: -201129471, maxChunkSize: -4, version: FirmwareVersion{major: 255, minor: 254, name: }}"},
    {"FwStart", calls(&W::fwUpdateStart, 1, 0x01020304, -4, true, kVersion), Sent::PROP, 25, "01 04 03 02 01 FC 80 12 34", "01 01 F0 FF", "FwUpdateStartResponse{resume: 1, chunkSize: -16, progress: -155, target: 1}"},
    {"FwResume", calls(&W::fwUpdateStart, 1, 2, 3, false, kVersion), Sent::PROP, 25, "01 02 00 00 00 03 00 12 34"},
    {"CompressStart", calls(&W::compressFwUpdateStart, 0, 2, 3, true, 0x0A0B0C0D, kVersion), Sent::PROP, 25, "00 02 00 00 00 03 C0 12 34 0D 0C 0B 0A"},
    {"CompressResume", calls(&W::compressFwUpdateStart, 0, 2, 3, false, -1, kVersion), Sent::PROP, 25, "00 02 00 00 00 03 40 12 34 FF FF FF FF"},
    {"CompressStartOfNothing", calls(&W::compressFwUpdateStart, 0, 2, 3, true, 0, kVersion), Sent::PROP, 25, "00 02 00 00 00 03 80 12 34"},
    {"FwChunk", calls(&W::sendFwChunk, 1, 0x12345, -1, kNonce), Sent::PROP, 26, "01 45 23 FF 01 02 03 04 05 06 07 08", "01 FE FF F6 28", "65534"},
    {"CompressChunkOfMinus1", calls(&W::sendCompressFwChunk, 1, -1, 7, Bytes()), Sent::PROP, 26, "01 FF FF 07", "01 FE FF F6 28", "ChunkResponse{boostTemp: -10, puckTemp: 40, next: 65534}"},
    {"FwMissingChunk", calls(&W::getFirstFwMissingChunk, 127), Sent::PROP, 27, "7F", "FF FE FF 03 80", "FwMissingChunk{target: -1, chunkNumber: 65534, numChunks: 32771}"},
    {"FwExecute", calls(&W::fwExecuteUpdate, 1), Sent::PROP, 28, "01"},
    {"FwStatus", calls(&W::getFwUpdateExecutionStatus, 0), Sent::PROP, 29, "00", "01 02 64", "FwUpdateStatus{status: 2, progress: 100, target: 1}"},
    {"FwReboot", calls(&W::sendReboot), Sent::PROP, 30, kNoAnswer},
    {"Digests", calls(&W::getWpcAuthDigests, -1), Sent::WPC_AUTH, 25, "19 0F", "", "", 53000},
    {"Certificate", calls(&W::getWpcAuthCertificate, 6, 0x6FF, 100), Sent::WPC_AUTH, 26, "1A C2 FF 64", "", "", 44000},
    {"AuthChallenge", calls(&W::getWpcAuthChallengeResponse, -1, kAuthNonce), Sent::WPC_AUTH, 27, "1B 03 CD CD CD CD CD CD CD CD CD CD CD CD CD CD CD CD", "", "", 33000},
};
// clang-format on

bool isLegacy(const Exchange& row) {
    return std::string_view(row.name).starts_with("Legacy");
}

class RequestTest : public ChargerTest, public testing::WithParamInterface<Exchange> {
  protected:
    int call() { return GetParam().call(*charger, &read); }
    std::string read;
};

INSTANTIATE_TEST_SUITE_P(All, RequestTest, testing::ValuesIn(kExchanges),
                         [](const auto& row) { return row.param.name; });

TEST_P(RequestTest, IsSentByteForByteAndItsAnswerReadAtItsPlaces) {
    const Exchange& row = GetParam();
    answer(row.answer.c_str());
    const int error = call();
    if (!row.answer.empty()) {
        EXPECT_EQ(error, 0);
        EXPECT_EQ(read, row.read);
    }
    ASSERT_EQ(protocol().sent.size(), 1u);
    const Sent& sent = protocol().sent[0];
    EXPECT_EQ(sent.channel, row.channel);
    EXPECT_EQ(sent.type, row.type);
    EXPECT_EQ(sent.timeLimit, row.channel == Sent::PROP ? 60000 : row.authTimeLimit);
    const bool empty = row.request == kNoPayload || row.request == kNoAnswer;
    EXPECT_EQ(sent.request, empty ? Bytes() : hex(row.request));
    EXPECT_EQ(sent.hasRequestArea, !empty);
    const size_t capacity = row.channel == Sent::WPC_AUTH ? 2044 : 256;
    EXPECT_EQ(sent.capacity, row.request == kNoAnswer ? 0 : capacity);
}

TEST_P(RequestTest, FailureBecomesTheMappedError) {
    const std::pair<uint32_t, int> kErrors[] = {
        {1, 2}, {2, 2},  {3, 1},  {4, 8},   {5, 7},  {6, 4},  {7, 6},           {8, 5},
        {9, 3}, {10, 7}, {11, 8}, {12, 10}, {13, 9}, {14, 7}, {0x80000000u, 7}, {0xFFFFFFFF, 7}};
    for (const auto& [result, error] : kErrors) {
        fake::answerAll({.result = result});
        EXPECT_EQ(call(), error) << "result " << result;
    }
}

// A client that gets a success sees only what the dock said: any answer, of any length, is safe.
TEST_P(RequestTest, AnswerOfAnyLengthIsSafe) {
    for (uint8_t byte : {0x00, 0x01, 0x12, 0x80, 0xFF}) {
        for (size_t length = 0; length <= 256; length++) {
            fake::answerAll({.bytes = Bytes(length, byte)});
            const int error = call();
            EXPECT_GE(error, 0);
            EXPECT_LE(error, 10);
        }
        fake::answerAll({.bytes = Bytes(4096, byte), .claimedLength = 4096});
        EXPECT_GE(call(), 0);
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

TEST_F(ChargerTest, LengthInTheChallengesAnswerHasToBe8) {
    answer("08 11 12 13 14 15 16 17 18 99");
    Bytes bytes = ask(&W::challenge, 5, kNonce);
    EXPECT_EQ(bytes, hex("11 12 13 14 15 16 17 18"));
    answer("07 11 12 13 14 15 16 17 18");
    EXPECT_EQ(errorOf(charger->challenge(5, kNonce, &bytes)), 2);
}

TEST_F(ChargerTest, WhatAShortAnswerDoesNotCoverIsTheRequestThenZeros) {
    answer("FF");
    Bytes expected(31, 0xAB);
    expected.push_back(0);
    EXPECT_EQ(ask(&W::keyExchange, kKey), (KeyExchangeResponse{-1, expected}));
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
        if (!isLegacy(row))
            locked.push_back([&] {
                std::string text;
                row.call(*charger, &text);
            });
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
                other = std::async(std::launch::async, [&] {
                    std::string text;
                    row.call(*charger, &text);
                });
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
