// SPDX-License-Identifier: Apache-2.0
#include "dock/fans.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace virtual_dock {
namespace {

using ::testing::ElementsAre;

constexpr int64_t kSecond = 1'000'000'000;

std::vector<uint8_t> ask(Fans* fans, const std::vector<uint8_t>& request, int64_t nowNs = 0) {
    AnswerBuffer answer;
    EXPECT_EQ(fans->answer(request, &answer, nowNs), kOk);
    return {answer.bytes().begin(), answer.bytes().end()};
}

TEST(FansTest, FramesOfTheProtocolAreAnswered) {
    Fans fans;
    EXPECT_THAT(ask(&fans, {0x0F, 0xFA}),
                ElementsAre(0x0F, 0, 0xB0, 0x04, 0xB0, 0x04, 200, 0, 50, 0));
    EXPECT_THAT(ask(&fans, {0x0F, 0x0B, 0x50, 0x01}), ElementsAre(0x0F, 0, 0x50, 0x01));
    EXPECT_TRUE(fans.fan(3).isManual());
    EXPECT_THAT(ask(&fans, {0x0F, 0x03}), ElementsAre(0x0F, 0, 0xB0, 0x04));
    EXPECT_FALSE(fans.fan(3).isManual());
}

TEST(FansTest, FramesThatMakeNoSenseAreInvalidAndChangeNothing) {
    Fans fans;
    fans.count = 2;
    for (const std::vector<uint8_t>& frame :
         std::vector<std::vector<uint8_t>>{{0x0F, 0x0A, 1, 1},           // a fan that is not there
                                           {0x0F, 0x09},                 // manual without a level
                                           {0x0F, 0x09, 1},              // half a level
                                           {0x0F, 0xF9, 0x00, 0x00},     // a question with a level
                                           {0x0F, 0x11},                 // an unknown command
                                           {0x0F, 0x09, 1, 1, 0x00}}) {  // too long
        EXPECT_EQ(ask(&fans, frame)[1], 1) << ::testing::PrintToString(frame);
    }
    EXPECT_FALSE(fans.fan(1).isManual());
    AnswerBuffer answer;
    EXPECT_EQ(fans.answer({}, &answer, 0), kUnsupported);
    EXPECT_EQ(fans.answer(std::vector<uint8_t>{0x0F}, &answer, 0), kUnsupported);
    EXPECT_EQ(fans.answer(std::vector<uint8_t>{0x10, 0xF8}, &answer, 0), kUnsupported);
}

TEST(FansTest, ReadingsMoveToTheLevelAndStayThere) {
    Fans fans;
    Fan& fan = fans.fan(0);
    fan.setManual(5200, 10 * kSecond);
    EXPECT_EQ(fan.read(10 * kSecond).speed, 1200);
    EXPECT_EQ(fan.read(11 * kSecond).speed, 3200);
    EXPECT_EQ(fan.read(12 * kSecond).speed, 5200);
    EXPECT_EQ(fan.read(1'000'000 * kSecond).speed, 5200);
    EXPECT_EQ(fan.read(9 * kSecond).speed, 1200) << "a clock that goes back";

    fan.setManual(0, 11 * kSecond);  // turned round half-way
    EXPECT_EQ(fan.read(12 * kSecond).speed, 1200);
    const FanReading still = fan.read(20 * kSecond);
    EXPECT_EQ(still.speed, 0);
    EXPECT_EQ(still.current, 0);
    fan.setManual(0xFFFF, 20 * kSecond);
    EXPECT_EQ(fan.read(60 * kSecond).speed, 0xFFFF);
    EXPECT_EQ(fan.read(60 * kSecond).drive, 1000);
}

TEST(FansTest, FanLevelMovesAutomaticFansOnly) {
    Fans fans;
    fans.fan(1).setManual(777, 0);
    fans.setFanLevel(5, 0);
    EXPECT_EQ(fans.fan(0).read(0).level, 2000);
    EXPECT_EQ(fans.fan(1).read(0).level, 777);
    fans.setFanLevel(0xFFFFFFFF, 0);
    EXPECT_EQ(fans.fan(0).read(0).level, Fan::kFullSpeed);
}

}  // namespace
}  // namespace virtual_dock
