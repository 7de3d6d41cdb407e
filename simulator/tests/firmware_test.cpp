// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dock_fixture.h"

namespace virtual_dock::testing {
namespace {

// The bytes 0 to 24 in chunks of 10.
const std::string kChunk0 = "0000 00 00010203040506070809";
const std::string kChunk1 = "0100 00 0a0b0c0d0e0f10111213";
const std::string kChunk2 = "0200 00 1415161718";

constexpr const char* kBusy = "result 12";
constexpr const char* kRefusedReply = "result 9";
constexpr const char* kInvalid = "result 3";

TEST(FirmwareTest, CompressedImageHasToExpandToItsExactSize) {
    const std::string image = "prop 26 00 0000 00 789c7374240e0000d05c0a29";  // 40 times "A"
    const std::string damaged = "prop 26 00 0000 00 789c7374240e0000d05c0a28";
    VirtualDock dock;
    expectSteps(&dock, {{"prop 25 00 27000000 fc c0 02 07 0c000000", "0000fc64"},
                        {image, "0001001f1c"},
                        {"prop 28 00", "0002"},
                        {"prop 25 00 28000000 fc c0 02 07 0c000000", "0000fc64"},
                        {damaged, "0001001f1c"},
                        {"prop 28 00", "0002"},
                        {image, "0001001f1c"},
                        {"prop 28 00", "0000"}});
}

TEST(FirmwareTest, LimitsOfATransfer) {
    VirtualDock dock;
    expectSteps(&dock, {{"set firmware.0.max-size 655360", ""},
                        {"prop 25 00 00000000 0a 80 02 07", kInvalid},  // no bytes
                        {"prop 25 00 64000000 00 80 02 07", kInvalid},  // chunks of none
                        {"prop 25 00 01000a00 fc 80 02 07", kInvalid},  // more than it takes
                        {"prop 25 00 64000000 fc c0 02 07 ffffffff", kInvalid},
                        {"prop 25 00 64000000 fd 80 02 07", kInvalid},
                        {"prop 25 00 64000000 fc 80 02 07", "0000fc64"},
                        {"bidi 25 64000000 fe 80 02 07", kInvalid},
                        {"bidi 25 64000000 fd 80 02 07", "00fd64"},
                        {"prop 25 00 f7ff0900 0a 80 02 07", kInvalid},  // 65,536 chunks
                        {"prop 25 00 f6ff0900 0a 80 02 07", "00000a64"},
                        {"prop 27 00", "000000ffff"},
                        {"prop 26 00 feff 00 00010203040506070809", "0000001f1c"},
                        {"prop 26 00 ffff 00 00010203040506070809", "8000001f1c"},
                        {"prop 27 01", kRefusedReply},
                        {"prop 27 02", kInvalid}});
}

TEST(FirmwareTest, TransferTakesTheChunksOfItsImageOnly) {
    VirtualDock dock;
    expectSteps(&dock, {{"prop 26 00 0000 00 010203", kRefusedReply},
                        {kStart, "00000a64"},
                        {"prop 26 00 0000 00 000102030405060708", "8000001f1c"},
                        {"prop 26 00 0000 00 000102030405060708090a", "8000001f1c"},
                        {"prop 26 00 0200 00 00010203040506070809", "8000001f1c"},
                        {"prop 26 00 0200 00 141516171819", "8000001f1c"},
                        {"prop 26 00 0300 00 1415161718", "8000001f1c"},
                        {"prop 26 00" + kChunk2, "0000001f1c"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 25 00 19000000 0a 00 02 07", "00010a22"},
                        {"prop 28 00", "0001"},                           // not complete
                        {"prop 25 00 19000000 0a 00 02 08", "00000a64"},  // another version
                        {"prop 27 00", "0000000300"},
                        {"bidi 25 19000000 0a 80 02 07", "000a64"},
                        {"bidi 26 0000 00 000102030405060708", kInvalid},
                        {"bidi 26 " + kChunk0, "0100"}});
}

TEST(FirmwareTest, NothingElseIsDoneWhileAnImageIsBeingApplied) {
    VirtualDock dock;
    expectSteps(&dock, {{"set firmware.0.execute-ms 4000000", ""},
                        {kStart, "00000a64"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 26 00" + kChunk1, "0002001f1c"},
                        {"prop 26 00" + kChunk2, "0003001f1c"},
                        {"prop 28 00", "0000"},
                        {"prop 28 00", "0003"},
                        {kStart, kBusy},
                        {"prop 26 00" + kChunk0, kBusy},
                        {"prop 29 00", "000100"},
                        {"prop 30", ""},  // too early
                        {"prop 29 00", "000200"},
                        {"get firmware.0.major", ":1}"}});
}

TEST(FirmwareTest, TransferSurvivesALossOfPowerAndTheDockRestarts) {
    VirtualDock dock;
    expectSteps(&dock, {{"set firmware.power-off-after 2", ""},
                        {"set firmware.0.execute-ms 0", ""},
                        {"prop 25 00 0f000000 0a 80 09 08", "00000a64"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 26 00 0100 00 0a0b0c0d0e", "0002001f1c"},
                        {"prop 28 00", "result 6"},
                        {"place", ""},
                        {"prop 28 00", "0000"},
                        {"get info.major", ":1}"},
                        {"prop 30", ""},
                        {"get info.major", ":9}"},
                        {"get info.minor", ":8}"}});
    EXPECT_THAT(dock.clearWake(), ::testing::ElementsAre(Event::kWlcOff, Event::kRestart));
}

}  // namespace
}  // namespace virtual_dock::testing
