// SPDX-License-Identifier: Apache-2.0
//
// What the dock answers to framed requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

constexpr int64_t kSecond = 1'000'000'000;

TEST(PacketsTest, FanGoesBackToAutomaticAndNonsenseChangesNothing) {
    VirtualDock dock;
    expectSteps(&dock, {{"bidi 12 0f0b 5001", "0f005001"},
                        {"bidi 12 0f03", "0f00b004"},
                        {"set fan.count 2", ""},
                        {"bidi 12 0f0a 0101", "0f010000"},  // a fan that is not there
                        {"bidi 12 0f09", "0f010000"},       // manual without a level
                        {"bidi 12 0f09 01", "0f010000"},
                        {"bidi 12 0f09 0101 00", "0f010000"},
                        {"bidi 12 0ff9 0000", "0f010000000000000000"},  // a question with a level
                        {"bidi 12 0f11", "0f010000000000000000"},       // an unknown command
                        {"get fan.1", "\"fan.1\":\"auto\""},
                        {"bidi 12", "result 13"},
                        {"bidi 12 0f", "result 13"},
                        {"bidi 12 10f8", "result 13"}});
}

TEST(FansTest, ReadingsMoveToTheLevelAndStayThere) {
    Fans fans;
    Fan& fan = fans.fan(0);
    fan.setManual(5200, 10 * kSecond);
    EXPECT_EQ(fan.read(11 * kSecond).speed, 3200);
    EXPECT_EQ(fan.read(1'000'000 * kSecond).speed, 5200);
    fan.setManual(0, 11 * kSecond);  // turned round half-way
    EXPECT_EQ(fan.read(12 * kSecond).speed, 1200);
    fans.fan(1).setManual(777, 0);
    fans.setFanLevel(0xFFFFFFFF, 0);
    EXPECT_EQ(fans.fan(1).read(0).level, 777);
    EXPECT_EQ(fans.fan(2).read(0).level, Fan::kFullSpeed);
}

TEST(PacketsTest, EdsPacketsComeBackAndOtherNonsenseIsRefused) {
    VirtualDock dock;
    const std::string nonce(32, '0');
    const auto key = [](int size, char digit) { return std::string(2 * size, digit); };
    expectSteps(&dock, {{"prop 14 000708", "00"},      // an EDS packet to acknowledge
                        {"prop 14 010708", "010708"},  // one to send back
                        {"prop 14 0207", "result 3"},
                        {"prop 14", "result 3"},
                        {"bidi 16 " + key(31, '9'), "result 3"},
                        {"bidi 16 " + key(33, '9'), "result 3"},
                        {"bidi 16 " + key(32, '0'), "result 9"},  // gives no secret
                        {"bidi 18 050801020304050607", "result 3"},
                        {"bidi 18 05070102030405060708", "result 3"},
                        {"auth 26 1a02000a", "170100"},  // an empty slot
                        {"auth 26 1a802201", "170100"},  // behind the end
                        {"auth 26 1a0000", "170100"},    // short
                        {"auth 26 2a000000", "170210"},  // a version that it does not speak
                        {"auth 25 19", "170100"},
                        {"auth 27 1b02" + nonce, "170100"},
                        {"auth 27 1b00", "170100"},
                        {"auth 25", "result 3"},
                        {"auth 25 1a000000", "result 3"},
                        {"auth 24 1800", "result 13"},
                        {"set auth.error 3", ""},
                        {"auth 25 1901", "170300"}});
}

TEST(DockInformationTest, LyingLengthsAreMalformed) {
    Bytes value;
    for (const ByteVector& packet : std::vector<ByteVector>{
             {7}, {7, 1}, {7, 255}, {7, 3, 0, 0}, {0, 0, 7, 1}, {0, 2, 1, 1, 9, 1, 0, 7}}) {
        EXPECT_EQ(findElement(packet, 7, &value), kMalformedPacket)
            << ::testing::PrintToString(packet);
    }
    const uint8_t liesLater[] = {0, 0, 7, 255};
    EXPECT_EQ(findElement(liesLater, 0, &value), kOk) << "what stands before the lie";
    EXPECT_TRUE(value.empty());
    const uint8_t others[] = {0, 1, 7, 8, 0};
    EXPECT_EQ(findElement(others, 7, &value), kUnavailable);
}

TEST(DockInformationTest, LongestPacketFitsAndOneByteMoreDoesNot) {
    VirtualDock dock;
    const std::string longest(243, 'x');
    expectSteps(&dock, {{"set info.text1= info.text2= info.version-name=", ""},
                        {"set info.text0 " + longest + "x", "is not a value of info.text0"},
                        {"set info.text0 " + longest, ""}});
    EXPECT_EQ(perform(&dock, "bidi 0").size(), 2 * DockInformation::kMaxPacket);
}

TEST(ReverseTransmitTest, TextsAreLeftInEveryStyle) {
    VirtualDock dock;
    expectSteps(&dock, {{"rtx 2", std::string("available\0", 10)},
                        {"set rtx.reading-a -4999", ""},
                        {"rtx 6", std::string("-4999\0", 6)},
                        {"set rtx.prmc 0xDEADBEEF", ""},
                        {"rtx 8", std::string("deadbeef\0", 9)},
                        {"set rtx.texts newline", ""},
                        {"rtx 6", std::string("-4999\n\0", 7)},
                        {"set rtx.texts unterminated", ""},
                        {"rtx 6", "-4999xxxxxxxxxxxxxxx"},
                        {"set rtx.texts garbage", ""},
                        {"rtx 1", std::string("\0", 1)}});  // its area may be one byte
    EXPECT_EQ(perform(&dock, "rtx 6").find('\0'), std::string::npos);
}

TEST(ReverseTransmitTest, SwitchingIsAnnouncedOnlyWhenItChanges) {
    VirtualDock dock;
    expectSteps(&dock, {{"rtx 3", ""}, {"rtx 3", ""}, {"rtx 4", ""}, {"rtx 4", ""}});
    EXPECT_THAT(dock.clearWake(), ::testing::ElementsAre(Event::kRtx, Event::kRtx));
    expectSteps(&dock,
                {{"set rtx.supported false", ""}, {"rtx 1", "result 13"}, {"rtx 3", "result 13"}});
}

TEST(FeaturesTest, ValuesAreKeptPerQueryUpToALimit) {
    Features features;
    for (size_t i = 0; i < Features::kMaxQueries; ++i) {
        EXPECT_EQ(features.set(static_cast<int64_t>(i << 32), INT64_MIN), kOk);
    }
    EXPECT_EQ(features.set(1000, 1), kRefused);
    EXPECT_EQ(features.set(0, 2), kOk) << "a query that is held already";
    EXPECT_EQ(features.get(int64_t{1} << 32), INT64_MIN);
}

}  // namespace
}  // namespace virtual_dock::testing
