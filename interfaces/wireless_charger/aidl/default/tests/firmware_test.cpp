// SPDX-License-Identifier: Apache-2.0
// Answers of both firmware command sets, and the progress record the library sees at each step.
#include <string.h>

#include <thread>

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

class FirmwareTest : public ChargerTest {
  protected:
    void answer(const char* bytes) { fake::answerAll({.bytes = hex(bytes)}); }
    void fail(uint32_t result) { fake::answerAll({.result = result}); }

    int information(int8_t target) {
        FwUpdateInfo info;
        return errorOf(charger->getFwUpdateInformation(target, &info));
    }
    int start(bool fresh, int major = 0x109, int minor = 8) {
        FwUpdateStartResponse response;
        return errorOf(charger->fwUpdateStart(0, 100, 10, fresh, {major, minor, ""}, &response));
    }
    int chunk(int8_t target, int32_t number) {
        int32_t next = -1;
        return errorOf(charger->sendFwChunk(target, number, 0, {}, &next));
    }
    int missing() {
        FwMissingChunk response;
        return errorOf(charger->getFirstFwMissingChunk(0, &response));
    }
    int execute(int8_t target) {
        ExecuteStatus status{};
        return errorOf(charger->fwExecuteUpdate(target, &status));
    }
    void chargingOff() {
        int off = 1;
        charger->wlcCallback(off);
    }
    /** The records uploaded since the last call, as hexadecimal without their reserved bytes. */
    std::vector<std::string> uploads() {
        std::vector<std::string> texts;
        for (const FwUpdateData& data : std::exchange(protocol().uploads, {})) {
            char text[100];
            snprintf(text, sizeof(text),
                     "state %d target %d %d.%d>%d.%d result %d starts %d "
                     "chunk %d dock %x",
                     data.state, data.targetCode, data.currentMajor, data.currentMinor,
                     data.newMajor, data.newMinor, data.result, data.startCount, data.chunkNumber,
                     static_cast<unsigned>(data.dockId));
            texts.push_back(text);
            const Bytes reserved(data.reserved24, data.reserved24 + 8);
            EXPECT_EQ(reserved, Bytes(8));
            EXPECT_EQ(data.reserved6[0] | data.reserved6[1], 0);
        }
        return texts;
    }
};

TEST_F(FirmwareTest, RecordFollowsAWholeUpdate) {
    protocol().values = {{7, 0xA0000042}, {5, 0x72}, {8, 1}};
    answer("01 00 10 00 00 F0 03 04");
    EXPECT_EQ(information(1), 0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 6 target 3 3.4>0.0 result 0 starts 0 chunk 0 dock 42"));
    answer("01 00");
    EXPECT_EQ(start(true), 0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 2 target 3 3.4>9.8 result 2 starts 1 chunk 0 dock 42"));
    answer("01 05 00 1E 1F");
    EXPECT_EQ(chunk(1, 65536 + 4), 0);
    answer("00 05 00 02 00");
    EXPECT_EQ(missing(), 0);  // a transfer is under way: no upload
    answer("01 00 10 00 00 F0 03 05");
    EXPECT_EQ(information(1), 0);
    EXPECT_THAT(uploads(), IsEmpty());
    answer("01 02");
    EXPECT_EQ(execute(1), 0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 5 target 3 3.5>9.8 result -2 starts 1 chunk 5 dock 42"));
    chargingOff();
    EXPECT_THAT(uploads(),
                ElementsAre("state 4 target 3 3.5>9.8 result 0 starts 1 chunk 5 dock 42"));
    chargingOff();
    EXPECT_THAT(uploads(), IsEmpty());
    // The dock is forgotten; another target begins to count anew.
    protocol().values.clear();
    answer("02 00 10 00 00 F0 03 05");
    EXPECT_EQ(information(2), 0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 6 target 2 3.5>9.8 result 0 starts 0 chunk 5 dock 0"));
}

TEST_F(FirmwareTest, RecordKeepsTheFullChunkNumberOfTheLastAcceptedChunk) {
    answer("01");
    EXPECT_EQ(chunk(1, 65536), 0);
    answer("81");
    EXPECT_EQ(chunk(1, 7), 2);
    fail(1);
    EXPECT_EQ(chunk(1, 8), 2);
    answer("00 00");
    execute(0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 5 target 2 0.0>0.0 result 1 starts 0 chunk 65536 dock 0"));
}

TEST_F(FirmwareTest, FailedRequestsLeaveTheirTrace) {
    fail(12);
    EXPECT_EQ(start(false), 10);
    EXPECT_EQ(information(1), 10);
    EXPECT_EQ(missing(), 10);
    EXPECT_THAT(uploads(), IsEmpty());
    EXPECT_EQ(start(true, 1, 2), 10);
    EXPECT_EQ(start(true, 1, 3), 10);  // counted, but the transfer is already under way
    EXPECT_THAT(uploads(),
                ElementsAre("state 2 target 0 0.0>1.2 result 2 starts 2 chunk 0 dock 0"));
    EXPECT_EQ(execute(1), 10);
    EXPECT_EQ(execute(0), 10);
    EXPECT_THAT(uploads(),
                ElementsAre("state 5 target 3 0.0>1.3 result 0 starts 3 chunk 0 dock 0",
                            "state 5 target 2 0.0>1.3 result 0 starts 3 chunk 0 dock 0"));
    answer("00 06 00 02 00");
    EXPECT_EQ(missing(), 0);
    EXPECT_THAT(uploads(),
                ElementsAre("state 2 target 2 0.0>1.3 result 3 starts 3 chunk 6 dock 0"));
}

TEST_F(FirmwareTest, ExecuteStatusDecidesTheResult) {
    const struct {
        const char* bytes;
        int8_t target;
        int error, result;
    } kCases[] = {{"00 00", 0, 0, 1},  {"00 01", 0, 0, -1}, {"00 02", 0, 0, -2},
                  {"00 03", 0, 0, -3}, {"00 04", 0, 2, 0},  {"00 FF", 0, 2, 0},
                  {"01 00", 0, 2, 0},  {"FF 00", -1, 2, 0}, {"7F 01", 127, 0, -1},
                  {"", 5, 0, 1}};
    for (const auto& [bytes, target, error, result] : kCases) {
        answer(bytes);
        EXPECT_EQ(execute(target), error) << bytes;
        ASSERT_EQ(protocol().uploads.size(), 1u);
        EXPECT_EQ(protocol().uploads[0].result, result) << bytes;
        protocol().uploads.clear();
    }
}

TEST_F(FirmwareTest, ChunkAnswerHasToMatchTheTarget) {
    const struct {
        const char* bytes;
        int8_t target;
        int error;
    } kCases[] = {{"00", 0, 0}, {"01", 1, 0}, {"7E", 0, 0},  {"7F", 1, 0},
                  {"01", 0, 2}, {"00", 1, 2}, {"80", 0, 2},  {"81", 1, 2},
                  {"82", 2, 2}, {"02", 2, 2}, {"FF", -1, 2}, {"7F", -1, 2}};
    for (const auto& [bytes, target, error] : kCases) {
        answer(bytes);
        EXPECT_EQ(chunk(target, 0), error) << bytes;
    }
}

TEST_F(FirmwareTest, AnswersAreReadAtTheirPlaces) {
    answer("81 01 02 03 F4 FC FF FE");
    EXPECT_EQ(ask(&W::getFwUpdateInformation, 1).toString(),
              "FwUpdateInfo{target: -127, maxSize: -201129471, maxChunkSize: -4, "
              "version: FirmwareVersion{major: 255, minor: 254, name: }}");

    answer("01 01 F0 65");
    EXPECT_EQ(ask(&W::fwUpdateStart, 1, 0, 0, true, FirmwareVersion()).toString(),
              "FwUpdateStartResponse{resume: 1, chunkSize: -16, progress: -1, target: 1}");
    answer("01 02");
    EXPECT_EQ(start(true), 2);

    answer("01 FE FF F6 28");
    EXPECT_EQ(ask(&W::sendCompressFwChunk, 1, 0, 0, Bytes()).toString(),
              "ChunkResponse{boostTemp: -10, puckTemp: 40, next: 65534}");

    answer("FF FE FF 03 80");
    EXPECT_EQ(ask(&W::getFirstFwMissingChunk, 1).toString(),
              "FwMissingChunk{target: -1, chunkNumber: 65534, numChunks: 32771}");

    answer("01 02 64");
    EXPECT_EQ(ask(&W::getFwUpdateExecutionStatus, 1).toString(),
              "FwUpdateStatus{status: 2, progress: 100, target: 1}");
    for (const char* other : {"01 03", "01 FF"}) {
        answer(other);
        EXPECT_EQ(ask(&W::getFwUpdateExecutionStatus, 1).status, 16);
    }
}

TEST_F(FirmwareTest, LegacyAnswersAreReadAtTheirPlaces) {
    answer("99 01 02 03 F4 05");
    EXPECT_EQ(ask(&W::getUpdateInformation).toString(),
              "UpdateInfo{maxSize: -201129471, infoByte4: -12, infoByte5: 5}");

    answer("01 02 03 F4");
    const MissingChunk missing = ask(&W::getFirstMissingChunk);
    EXPECT_EQ(missing.chunkNumber, 0x0201);
    EXPECT_EQ(missing.numChunks, 0xF403);

    char16_t next = 5;
    answer("FE FF");
    EXPECT_EQ(ask(&W::sendChunk, 0, 0, Bytes()), 0xFFFE);
    fail(1);
    EXPECT_EQ(errorOf(charger->sendChunk(0, 0, {}, &next)), 2);
    EXPECT_EQ(next, 0);

    ExecuteStatus status = ExecuteStatus::ACCEPTED;
    answer("03");
    EXPECT_EQ(ask(&W::executeUpdate), ExecuteStatus(3));
    answer("04");
    EXPECT_EQ(errorOf(charger->executeUpdate(&status)), 2);
    EXPECT_EQ(status, ExecuteStatus::ACCEPTED);

    UpdateStatus progress;
    progress.status = 9;
    answer("03 64");
    EXPECT_EQ(errorOf(charger->getUpdateExecutionStatus(&progress)), 0);
    EXPECT_EQ(progress.toString(), "UpdateStatus{status: 9, progress: 100}");
    answer("02 9C");
    EXPECT_EQ(ask(&W::getUpdateExecutionStatus).toString(),
              "UpdateStatus{status: 2, progress: -100}");

    for (const auto& [bytes, error] : {std::pair{"00", 0}, {"01", 0}, {"02", 2}, {"FF", 2}}) {
        UpdateStartResponse start;
        start.resume = start.chunkSize = start.progress = 7;
        answer(bytes);
        EXPECT_EQ(errorOf(charger->updateStart(0, 0, true, {}, &start)), error);
        EXPECT_EQ(start, UpdateStartResponse());
    }
    EXPECT_THAT(uploads(), IsEmpty());
}

TEST_F(FirmwareTest, LegacyNameEndsAtAZeroByteButIsSentInItsLength) {
    UpdateStartResponse response;
    charger->updateStart(0, 0, false, {0, 0, std::string("a\0b", 3)}, &response);
    EXPECT_THAT(takeRequests(), ElementsAre(hex("00 00 00 00 00 00 00 00 61 00 00")));
}

TEST_F(FirmwareTest, StartsOfSeveralClientsAreAllCounted) {
    answer("00 00");
    const auto starts = [&] {
        for (int i = 0; i < 100; i++) start(false);
    };
    std::thread other(starts);
    starts();
    other.join();
    execute(0);
    EXPECT_EQ(protocol().uploads.at(0).startCount, 200);
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
