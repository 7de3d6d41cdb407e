// SPDX-License-Identifier: Apache-2.0
#include "dock/dock_information.h"

#include <gtest/gtest.h>
#include <chargelink.h>

#include <memory>
#include <vector>

namespace virtual_dock {
namespace {

std::vector<uint8_t> encoded(const DockInformation& information) {
    AnswerBuffer answer;
    information.encode(&answer);
    return {answer.bytes().begin(), answer.bytes().end()};
}

std::string textOf(Bytes bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(DockInformationTest, EveryElementIsFound) {
    DockInformation information;
    information.texts[1] = std::string("\xFF\0z", 3);
    const std::vector<uint8_t> packet = encoded(information);
    Bytes value;
    ASSERT_EQ(findElement(packet, 0, &value), kOk);
    EXPECT_EQ(textOf(value), "Virtual dock");
    ASSERT_EQ(findElement(packet, 1, &value), kOk);
    EXPECT_EQ(textOf(value), information.texts[1]);
    ASSERT_EQ(findElement(packet, 3, &value), kOk);
    EXPECT_EQ(textOf(value), "\x21");
    ASSERT_EQ(findElement(packet, 4, &value), kOk);
    EXPECT_EQ(textOf(value), std::string("\x01\x00", 2) + "desk");
    EXPECT_EQ(findElement(packet, 5, &value), kUnavailable);
    EXPECT_EQ(findElement(packet, -1, &value), kUnavailable);
    EXPECT_EQ(findElement(packet, 256, &value), kUnavailable) << "256 is not tag 0";
}

// In memory of exactly that size, so that a read beyond it is an error under asan.
TEST(DockInformationTest, PacketCutAtEveryLengthStaysInside) {
    const std::vector<uint8_t> packet = encoded(DockInformation());
    for (size_t length = 0; length <= packet.size(); ++length) {
        const auto cut = std::make_unique<uint8_t[]>(length);
        std::copy_n(packet.begin(), length, cut.get());
        for (int32_t tag = 0; tag <= 5; ++tag) {
            const uint8_t* value = nullptr;
            uint8_t valueLength = 0;
            const uint32_t result = getPacketTlv(cut.get(), length, tag, &value, &valueLength);
            if (result != kOk) continue;
            EXPECT_GE(value, cut.get());
            EXPECT_LE(value + valueLength, cut.get() + length);
        }
    }
}

TEST(DockInformationTest, LyingLengthsAreMalformed) {
    Bytes value;
    for (const std::vector<uint8_t>& packet : std::vector<std::vector<uint8_t>>{
             {7}, {7, 1}, {7, 255}, {7, 3, 0, 0}, {0, 0, 7, 1}, {0, 2, 1, 1, 9, 1, 0, 7}}) {
        EXPECT_EQ(findElement(packet, 7, &value), kMalformedPacket)
            << ::testing::PrintToString(packet);
    }
    // What stands before the lie is still found.
    const uint8_t liesLater[] = {0, 1, 'a', 7, 255};
    ASSERT_EQ(findElement(liesLater, 0, &value), kOk);
    EXPECT_EQ(textOf(value), "a");
    const uint8_t empty[] = {7, 0};
    ASSERT_EQ(findElement(empty, 7, &value), kOk);
    EXPECT_TRUE(value.empty());
}

TEST(DockInformationTest, LongestPacketFitsAndOneByteMoreDoesNot) {
    DockInformation information;
    information.texts[1] = information.texts[2] = information.versionName = "";
    information.texts[0] = std::string(DockInformation::kMaxPacket - 13, 'x');
    EXPECT_EQ(encoded(information).size(), DockInformation::kMaxPacket);
    EXPECT_TRUE(information.fits());
    information.texts[0] += 'x';
    EXPECT_FALSE(information.fits());
}

}  // namespace
}  // namespace virtual_dock
