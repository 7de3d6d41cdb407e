// SPDX-License-Identifier: Apache-2.0
// The progress record of an update that the library sees at each step.
#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

constexpr const char* kFails = nullptr;  // in the place of an answer: protocol result 12

class FirmwareTest : public ChargerTest {
  protected:
    /** The error of a method to which the dock answers with these bytes. */
    int on(const char* bytes, auto method, auto... arguments) {
        fake::answerAll(bytes != kFails ? fake::Answer{.bytes = hex(bytes)}
                                        : fake::Answer{.result = 12});
        return call(method, arguments...).first;
    }
    int start(const char* bytes, bool fresh, int major, int minor) {
        const FirmwareVersion version{major, minor, ""};
        return on(bytes, &W::fwUpdateStart, 0, 100, 10, fresh, version);
    }
    int chunk(const char* bytes, int32_t number) {
        return on(bytes, &W::sendFwChunk, 1, number, 0, Bytes());
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
        }
        EXPECT_THAT(texts, testing::ElementsAreArray(expected));
    }
};

TEST_F(FirmwareTest, RecordFollowsAWholeUpdate) {
    protocol().values = {{7, 0xA0000042}, {5, 0x72}, {8, 1}};
    // Each report leaves the record idle, so that the next is one too.
    EXPECT_EQ(on("01 00 10 00 00 F0 02 04", &W::getFwUpdateInformation, 1), 0);
    EXPECT_EQ(on("01 00 10 00 00 F0 03 04", &W::getFwUpdateInformation, 1), 0);
    expectUploads({"state 6 target 3 2.4>0.0 result 0 starts 0 chunk 0 dock 42",
                   "state 6 target 3 3.4>0.0 result 0 starts 0 chunk 0 dock 42"});
    EXPECT_EQ(chunk("01", 9), 0);
    EXPECT_EQ(start("01 00", true, 0x109, 8), 0);
    expectUploads({"state 2 target 3 3.4>9.8 result 2 starts 1 chunk 0 dock 42"});
    // A transfer is under way: no upload.
    EXPECT_EQ(on("00 05 00 02 00", &W::getFirstFwMissingChunk, 0), 0);
    EXPECT_EQ(on("01 00 10 00 00 F0 03 05", &W::getFwUpdateInformation, 1), 0);
    expectUploads({});
    EXPECT_EQ(on("01 02", &W::fwExecuteUpdate, 1), 0);
    expectUploads({"state 5 target 3 3.5>9.8 result -2 starts 1 chunk 5 dock 42"});
    chargingOff();
    expectUploads({"state 4 target 3 3.5>9.8 result 0 starts 1 chunk 5 dock 42"});
    chargingOff();
    expectUploads({});
    // The dock is forgotten; another target, the one that answers, begins to count anew.
    protocol().values.clear();
    EXPECT_EQ(on("02 00 10 00 00 F0 03 05", &W::getFwUpdateInformation, 1), 0);
    expectUploads({"state 6 target 2 3.5>9.8 result 0 starts 0 chunk 5 dock 0"});
}

TEST_F(FirmwareTest, FailedRequestsLeaveTheirTrace) {
    EXPECT_EQ(start(kFails, false, 9, 8), 10);
    EXPECT_EQ(on(kFails, &W::getFwUpdateInformation, 1), 10);
    EXPECT_EQ(on(kFails, &W::getFirstFwMissingChunk, 0), 10);
    expectUploads({});
    EXPECT_EQ(start(kFails, true, 1, 2), 10);
    EXPECT_EQ(start(kFails, true, 1, 3), 10);  // counted, but the transfer is under way already
    expectUploads({"state 2 target 0 0.0>1.2 result 2 starts 2 chunk 0 dock 0"});
    EXPECT_EQ(chunk("01", 65536), 0);
    EXPECT_EQ(chunk("81", 7), 2);
    EXPECT_EQ(chunk(kFails, 8), 10);
    EXPECT_EQ(on(kFails, &W::fwExecuteUpdate, 1), 10);
    EXPECT_EQ(on(kFails, &W::fwExecuteUpdate, 0), 10);
    expectUploads({"state 5 target 3 0.0>1.3 result 0 starts 3 chunk 65536 dock 0",
                   "state 5 target 2 0.0>1.3 result 0 starts 3 chunk 65536 dock 0"});
    EXPECT_EQ(on("00 06 00 02 00", &W::getFirstFwMissingChunk, 0), 0);
    expectUploads({"state 2 target 2 0.0>1.3 result 3 starts 3 chunk 6 dock 0"});
}

TEST_F(FirmwareTest, ExecuteStatusDecidesTheResult) {
    const struct {
        const char* bytes;
        int8_t target;
        int error, result;
    } kCases[] = {{"00 00", 0, 0, 1}, {"00 03", 0, 0, -3}, {"00 04", 0, 2, 0},
                  {"01 00", 0, 2, 0}, {"FF 00", -1, 2, 0}, {"7F 01", 127, 0, -1}};
    for (const auto& [bytes, target, error, result] : kCases) {
        EXPECT_EQ(on(bytes, &W::fwExecuteUpdate, target), error) << bytes;
        EXPECT_EQ(protocol().uploads.back().result, result) << bytes;
    }
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
