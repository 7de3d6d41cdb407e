// SPDX-License-Identifier: Apache-2.0
// Answers of both firmware command sets, and the progress record the library sees at each step.
#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

constexpr const char* kFails = nullptr;  // in the place of an answer: protocol result 12

// Each verb makes one call of the service, which the dock answers with these bytes, and tells its
// error.
class FirmwareTest : public ChargerTest {
  protected:
    void dock(const char* bytes) {
        fake::answerAll(bytes != kFails ? fake::Answer{.bytes = hex(bytes)}
                                        : fake::Answer{.result = 12});
    }
    int information(const char* bytes, int8_t target) {
        dock(bytes);
        FwUpdateInfo info;
        return errorOf(charger->getFwUpdateInformation(target, &info));
    }
    int start(const char* bytes, bool fresh, int major = 0x109, int minor = 8) {
        dock(bytes);
        FwUpdateStartResponse response;
        return errorOf(charger->fwUpdateStart(0, 100, 10, fresh, {major, minor, ""}, &response));
    }
    int chunk(const char* bytes, int8_t target, int32_t number) {
        dock(bytes);
        int32_t next = -1;
        return errorOf(charger->sendFwChunk(target, number, 0, {}, &next));
    }
    int missing(const char* bytes) {
        dock(bytes);
        FwMissingChunk response;
        return errorOf(charger->getFirstFwMissingChunk(0, &response));
    }
    int execute(const char* bytes, int8_t target) {
        dock(bytes);
        ExecuteStatus status{};
        return errorOf(charger->fwExecuteUpdate(target, &status));
    }
    /** Expects these records to have been uploaded since the last call. */
    void expectUploads(const std::vector<const char*>& expected) {
        std::vector<std::string> texts;
        for (const FwUpdateData& data : std::exchange(protocol().uploads, {})) {
            char text[100];
            snprintf(text, sizeof(text),
                     "state %d target %d %d.%d>%d.%d result %d starts %d chunk %d dock %x",
                     data.state, data.targetCode, data.currentMajor, data.currentMinor,
                     data.newMajor, data.newMinor, data.result, data.startCount, data.chunkNumber,
                     static_cast<unsigned>(data.dockId));
            texts.push_back(text);
            EXPECT_EQ(Bytes(data.reserved24, data.reserved24 + 8), Bytes(8));
            EXPECT_EQ(data.reserved6[0] | data.reserved6[1], 0);
        }
        EXPECT_THAT(texts, testing::ElementsAreArray(expected));
    }
};

TEST_F(FirmwareTest, RecordFollowsAWholeUpdate) {
    protocol().values = {{7, 0xA0000042}, {5, 0x72}, {8, 1}};
    // Each report leaves the record idle, so that the next is one too.
    for (const char* major : {"02", "03"}) {
        EXPECT_EQ(information((std::string("01 00 10 00 00 F0 ") + major + " 04").c_str(), 1), 0);
    }
    expectUploads({"state 6 target 3 2.4>0.0 result 0 starts 0 chunk 0 dock 42",
                   "state 6 target 3 3.4>0.0 result 0 starts 0 chunk 0 dock 42"});
    EXPECT_EQ(chunk("01", 1, 9), 0);
    EXPECT_EQ(start("01 00", true), 0);
    expectUploads({"state 2 target 3 3.4>9.8 result 2 starts 1 chunk 0 dock 42"});
    EXPECT_EQ(chunk("01 05 00 1E 1F", 1, 65536 + 4), 0);
    EXPECT_EQ(missing("00 05 00 02 00"), 0);  // a transfer is under way: no upload
    EXPECT_EQ(information("01 00 10 00 00 F0 03 05", 1), 0);
    expectUploads({});
    EXPECT_EQ(execute("01 02", 1), 0);
    expectUploads({"state 5 target 3 3.5>9.8 result -2 starts 1 chunk 5 dock 42"});
    chargingOff();
    expectUploads({"state 4 target 3 3.5>9.8 result 0 starts 1 chunk 5 dock 42"});
    chargingOff();
    expectUploads({});
    // The dock is forgotten; another target, the one that answers, begins to count anew.
    protocol().values.clear();
    EXPECT_EQ(information("02 00 10 00 00 F0 03 05", 1), 0);
    expectUploads({"state 6 target 2 3.5>9.8 result 0 starts 0 chunk 5 dock 0"});
}

TEST_F(FirmwareTest, RecordKeepsTheFullChunkNumberOfTheLastAcceptedChunk) {
    EXPECT_EQ(chunk("01", 1, 65536), 0);
    EXPECT_EQ(chunk("81", 1, 7), 2);
    EXPECT_EQ(chunk(kFails, 1, 8), 10);
    EXPECT_EQ(execute("00 00", 0), 0);
    expectUploads({"state 5 target 2 0.0>0.0 result 1 starts 0 chunk 65536 dock 0"});
}

TEST_F(FirmwareTest, FailedRequestsLeaveTheirTrace) {
    EXPECT_EQ(start(kFails, false), 10);
    EXPECT_EQ(information(kFails, 1), 10);
    EXPECT_EQ(missing(kFails), 10);
    expectUploads({});
    EXPECT_EQ(start(kFails, true, 1, 2), 10);
    EXPECT_EQ(start(kFails, true, 1, 3), 10);  // counted, but the transfer is under way already
    expectUploads({"state 2 target 0 0.0>1.2 result 2 starts 2 chunk 0 dock 0"});
    EXPECT_EQ(execute(kFails, 1), 10);
    EXPECT_EQ(execute(kFails, 0), 10);
    expectUploads({"state 5 target 3 0.0>1.3 result 0 starts 3 chunk 0 dock 0",
                   "state 5 target 2 0.0>1.3 result 0 starts 3 chunk 0 dock 0"});
    EXPECT_EQ(missing("00 06 00 02 00"), 0);
    expectUploads({"state 2 target 2 0.0>1.3 result 3 starts 3 chunk 6 dock 0"});
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
        EXPECT_EQ(execute(bytes, target), error) << bytes;
        EXPECT_EQ(protocol().uploads.back().result, result) << bytes;
    }
    EXPECT_EQ(protocol().uploads.size(), std::size(kCases));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
