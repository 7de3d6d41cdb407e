// SPDX-License-Identifier: Apache-2.0
// Every method that sends a framed request: the exact request, what becomes of the answer, and the
// error of every result.
#include <atomic>
#include <chrono>
#include <future>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

using namespace std::string_literals;

/** Calls a method; returns what it answers, as text, or "error" and its number. */
using Call = std::function<std::string(W&)>;

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
// What an answer does not cover is the request, then zeros.
const Bytes kKeyAfterTwoBytes =
    hex("02 AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB "
        "AB 00");
const FirmwareVersion kVersion{0x112, 0x34, "ab"};
const FirmwareVersion kZeroInName{0, 0, {"a\0b", 3}};

template <typename... Parameters, typename... Arguments>
Call calls(ndk::ScopedAStatus (W::*method)(Parameters...), Arguments... arguments) {
    const auto outcome = [](const ndk::ScopedAStatus& status, const std::string& answer) {
        return status.isOk() ? answer : "error " + std::to_string(errorOf(status));
    };
    return [=](W& charger) {
        if constexpr (sizeof...(Arguments) == sizeof...(Parameters)) {
            return outcome((charger.*method)(arguments...), "");
        } else {
            using Out = std::tuple_element_t<sizeof...(Arguments), std::tuple<Parameters...>>;
            std::remove_pointer_t<Out> out{};
            const ndk::ScopedAStatus status = (charger.*method)(arguments..., &out);
            if constexpr (requires { out.toString(); }) {
                return outcome(status, out.toString());
            } else if constexpr (requires { toString(out); }) {
                return outcome(status, toString(out));
            } else {
                return outcome(status, testing::PrintToString(out));
            }
        }
    };
}

// clang-format off
const Exchange kExchanges[] = {
    {"FanInfoOfMinus1", calls(&W::getFanInfo, -1), Sent::BIDI, 12, "0F FF", "0F 00 34 12 61 00 62 00 03 80", "FanInfo{valid: true, level: \u1234, fanValue1: a, fanValue2: b, fanValue3: \u8003}"},
    {"SetFanManualOfMinus1", calls(&W::setFan, -1, FanMode::MANUAL, 0x0150), Sent::BIDI, 12, "0F FF 50 01"},
    {"SetFanAuto", calls(&W::setFan, 3, FanMode::AUTO, 0x0150), Sent::BIDI, 12, "0F 03", "0F 01 34 12 61 00 62 00 03 80", "FanInfo{valid: false, level: \u1234, fanValue1: \0, fanValue2: \0, fanValue3: \0}"s},
    {"DockInformation", calls(&W::getInformation), Sent::BIDI, 0, kNoPayload},
    {"Challenge", calls(&W::challenge, 5, kNonce), Sent::BIDI, 18, "05 08 01 02 03 04 05 06 07 08", "08 11 12 13 14 15 16 17 18 99", testing::PrintToString(hex("11 12 13 14 15 16 17 18"))},
    {"KeyExchange", calls(&W::keyExchange, kKey), Sent::BIDI, 16, "AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB AB", "FF 02", KeyExchangeResponse{-1, kKeyAfterTwoBytes}.toString()},
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

class RequestTest : public ChargerTest, public testing::WithParamInterface<Exchange> {};

INSTANTIATE_TEST_SUITE_P(All, RequestTest, testing::ValuesIn(kExchanges),
                         [](const auto& row) { return row.param.name; });

TEST_P(RequestTest, IsSentByteForByteAndItsAnswerReadAtItsPlaces) {
    const Exchange& row = GetParam();
    answer(row.answer.c_str());
    const std::string read = row.call(*charger);
    if (!row.answer.empty()) {
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
        EXPECT_EQ(GetParam().call(*charger), "error " + std::to_string(error)) << result;
    }
}

TEST_F(ChargerTest, AnswersOutsideTheirRangeAreRefusedOrReplaced) {
    const auto challenge = calls(&W::challenge, 5, kNonce);
    const auto chunk = [](int8_t target) { return calls(&W::sendFwChunk, target, 0, 0, Bytes()); };
    const auto fwStart = calls(&W::fwUpdateStart, 1, 0, 0, true, kVersion);
    const auto fwStatus = calls(&W::getFwUpdateExecutionStatus, 1);
    const auto legacyStart = calls(&W::updateStart, 0, 0, true, kVersion);
    const auto legacyStatus = calls(&W::getUpdateExecutionStatus);
    const struct {
        Call call;
        const char* answer;
        std::string outcome;
    } kCases[] = {
        {challenge, "07 11 12 13 14 15 16 17 18", "error 2"},
        {chunk(0), "7E", "0"},
        {chunk(1), "7F", "0"},
        {chunk(0), "01", "error 2"},
        {chunk(1), "00", "error 2"},
        {chunk(1), "81", "error 2"},
        {chunk(2), "02", "error 2"},
        {chunk(-1), "FF", "error 2"},
        {fwStart, "01 02", "error 2"},
        {fwStatus, "01 03 09", "FwUpdateStatus{status: 16, progress: 9, target: 1}"},
        {fwStatus, "01 FF 09", "FwUpdateStatus{status: 16, progress: 9, target: 1}"},
        {legacyStart, "01", UpdateStartResponse().toString()},
        {legacyStart, "02", "error 2"},
        {calls(&W::executeUpdate), "04", "error 2"},
        {legacyStatus, "03 64", "UpdateStatus{status: 0, progress: 100}"},
        {legacyStatus, "FF 64", "UpdateStatus{status: 0, progress: 100}"},
    };
    for (const auto& [call, bytes, outcome] : kCases) {
        answer(bytes);
        EXPECT_EQ(call(*charger), outcome) << bytes;
    }
}

TEST_F(ChargerTest, ErrorMessagesOfAuthenticationAreMapped) {
    const std::pair<const char*, int> kErrors[] = {{"17 00", 7},  {"17 01", 1}, {"17 02", 9},
                                                   {"17 03", 10}, {"17 04", 7}, {"17 FF", 7},
                                                   {"14 03", 2}};
    for (const Exchange& row : kExchanges) {
        if (row.channel != Sent::WPC_AUTH) continue;
        for (const auto& [bytes, error] : kErrors) {
            answer(bytes);
            EXPECT_EQ(row.call(*charger), "error " + std::to_string(error)) << row.name << bytes;
        }
    }
}

TEST_F(ChargerTest, FailureOfTheOtherCallsIsMapped) {
    protocol().simpleResult = protocol().alignment.result = 12;
    for (const Call& call :
         {calls(&W::getFeatures, 1), calls(&W::setFeatures, 1, WirelessChargerFeature::NONE),
          calls(&W::isAuthReady), calls(&W::getAlignInfo)}) {
        EXPECT_EQ(call(*charger), "error 10");
    }
}

// While a request under the lock is with the dock, legacy ones are answered and all others wait.
TEST_F(ChargerTest, OnlyLegacyRequestsAreSentBesideOthers) {
    for (const Exchange& row : kExchanges) {
        const bool isLegacy = std::string_view(row.name).starts_with("Legacy");
        std::atomic<bool> started = false;
        std::future<std::string> other;  // is waited for at the end of its life
        protocol().answer = [&](const Sent&) {
            if (started.exchange(true)) return fake::Answer{};
            other = std::async(std::launch::async, row.call, std::ref(*charger));
            const auto limit = std::chrono::milliseconds(isLegacy ? 30000 : 10);
            EXPECT_EQ(other.wait_for(limit) == std::future_status::ready, isLegacy) << row.name;
            return fake::Answer{};
        };
        ask(&W::getSkinTemperature);
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
