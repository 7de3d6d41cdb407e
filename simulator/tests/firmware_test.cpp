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
constexpr const char* kDigest =
    "\"executedSize\":25,\"executedDigest\":"
    "\"b729ce724d9a48d3884dbfcbee1d3793d922b29fa9d639e7290af4978263772b\"";

constexpr const char* kBusy = "result 12";
constexpr const char* kRefusedReply = "result 9";
constexpr const char* kInvalid = "result 3";

TEST(FirmwareTest, ImageArrivesOutOfOrderAndTwiceAndRunsAfterARestart) {
    for (const std::string target : {"00", "01", ""}) {  // "": the older updater
        const bool legacy = target.empty();
        const auto ask = [&](const char* type, const std::string& fields = {}) {
            return (legacy ? "bidi " : "prop ") + std::string(type) + " " + target + fields;
        };
        const std::string keys = legacy ? "legacy" : "firmware." + target.substr(1);
        const std::string temperatures = legacy ? "" : "1ffe";
        VirtualDock dock;
        expectSteps(&dock, {{"set " + keys + ".execute-ms 0", ""},
                            {"temperature 31 -2", ""},
                            {ask("25", "19000000 0a 80 02 07"), target + "000a64"},
                            {ask("28"), target + "01"},
                            {ask("26", kChunk2), target + "0000" + temperatures},
                            {ask("26", kChunk0), target + "0100" + temperatures},
                            {ask("26", kChunk0), target + "0100" + temperatures},
                            {ask("27"), target + "01000100"},
                            {ask("26", kChunk1), target + "0300" + temperatures},
                            {ask("29"), target + "0000"},
                            {ask("28"), target + "00"},
                            {ask("29"), target + "0064"},
                            {"status", kDigest},
                            {"get " + keys + ".major", ":1}"},
                            {ask("30"), ""},
                            {"get " + keys + ".major", ":2}"},
                            {"get " + keys + ".minor", ":7}"},
                            {ask("27"), kRefusedReply}});
    }
}

TEST(FirmwareTest, CompressedImageIsExpandedToItsExactSize) {
    const std::string image = "789c7374240e0000d05c0a29";  // 40 times "A"
    VirtualDock dock;
    const auto install = [&](const std::string& size, const std::string& bytes) {
        expectSteps(&dock, {{"prop 25 00" + size + "0000 fc c0 02 07 0c000000", "0000fc64"},
                            {"prop 26 00 0000 00" + bytes, "0001001f1c"}});
        return perform(&dock, "prop 28 00");
    };
    EXPECT_EQ(install("2700", image), "0002") << "another size than announced";
    EXPECT_EQ(install("2800", "789c7374240e0000d05c0a28"), "0002") << "damaged";
    EXPECT_EQ(install("2800", image), "0000");
    expectSteps(&dock, {{"status", "\"executedDigest\":\"f0a2fb80ac0699075fb6c7b0ee2bcc20"}});
}

TEST(FirmwareTest, ResumeContinuesTheSameImageOnly) {
    VirtualDock dock;
    expectSteps(&dock, {{"prop 25 00 19000000 0a 80 02 07", "00000a64"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 25 00 19000000 0a 00 02 07", "00010a43"},
                        {"prop 27 00", "0001000200"},
                        {"prop 25 00 19000000 0a 00 02 08", "00000a64"},  // another version
                        {"prop 27 00", "0000000300"},
                        {"prop 27 01", kRefusedReply}});
}

TEST(FirmwareTest, LimitsOfATransfer) {
    VirtualDock dock;
    expectSteps(&dock, {{"set firmware.0.max-size 655360", ""},
                        {"prop 25 00 00000000 0a 80 02 07", kInvalid},  // no bytes
                        {"prop 25 00 64000000 00 80 02 07", kInvalid},  // chunks of none
                        {"prop 25 00 01000a00 fc 80 02 07", kInvalid},  // more than it takes
                        {"prop 25 00 ffffffff fc 80 02 07", kInvalid},
                        {"prop 25 00 64000000 fc c0 02 07 ffffffff", kInvalid},
                        {"prop 25 00 64000000 fd 80 02 07", kInvalid},
                        {"prop 25 00 64000000 fc 80 02 07", "0000fc64"},
                        {"bidi 25 64000000 fe 80 02 07", kInvalid},
                        {"bidi 25 64000000 fd 80 02 07", "00fd64"},
                        {"prop 25 00 f7ff0900 0a 80 02 07", kInvalid},  // 65,536 chunks
                        {"prop 25 00 f6ff0900 0a 80 02 07", "00000a64"},
                        {"prop 27 00", "000000ffff"},
                        {"prop 26 00 feff 00 00010203040506070809", "0000001f1c"},
                        {"prop 26 00 ffff 00 00010203040506070809", "8000001f1c"}});
    for (int type = 24; type <= 29; ++type) {
        EXPECT_EQ(perform(&dock, "prop " + std::to_string(type) + " 02"), kInvalid);
    }
}

TEST(FirmwareTest, ChunksWithoutAPlaceAreUnexpected) {
    VirtualDock dock;
    expectSteps(&dock, {{"prop 26 00 0000 00 010203", kRefusedReply},
                        {"prop 25 00 19000000 0a 80 02 07", "00000a64"},
                        {"prop 26 00 0000 00 000102030405060708", "8000001f1c"},
                        {"prop 26 00 0000 00 000102030405060708090a", "8000001f1c"},
                        {"prop 26 00 0000 00", "8000001f1c"},
                        {"prop 26 00 0200 00 00010203040506070809", "8000001f1c"},
                        {"prop 26 00 0200 00 141516171819", "8000001f1c"},
                        {"prop 26 00 0300 00 1415161718", "8000001f1c"},
                        {"prop 26 00" + kChunk2, "0000001f1c"},
                        {"bidi 25 19000000 0a 80 02 07", "000a64"},
                        {"bidi 26 0000 00 000102030405060708", kInvalid},
                        {"bidi 26 " + kChunk0, "0100"}});
}

TEST(FirmwareTest, FaultyDocksForgetFailAndRefuse) {
    VirtualDock dock;
    expectSteps(&dock, {{"set firmware.0.forget-every 2", ""},
                        {"prop 25 00 19000000 0a 80 02 07", "00000a64"},
                        {"prop 26 00" + kChunk0, "0001001f1c"},
                        {"prop 26 00" + kChunk1, "0001001f1c"},
                        {"set firmware.0.forget-every 0", ""},
                        {"prop 26 00" + kChunk1, "0002001f1c"},
                        {"prop 26 00" + kChunk2, "0003001f1c"},
                        {"set firmware.0.reject true", ""},
                        {"prop 28 00", "0002"},
                        {"set firmware.0.reject false", ""},
                        {"set firmware.0.execute-ms 4000000", ""},
                        {"prop 28 00", "0000"},
                        {"prop 28 00", "0003"},  // while it is being applied
                        {"prop 25 00 19000000 0a 80 02 07", kBusy},
                        {"prop 26 00" + kChunk0, kBusy},
                        {"prop 30", ""},  // too early
                        {"prop 29 00", "000200"},
                        {"get firmware.0.major", ":1}"}});
    FirmwareSlot slot =
        dock.withModel([](DockModel& model, int64_t) { return model.firmware.targets[0]; });
    slot.executeMs = 1000;
    slot.failAt = 40;
    EXPECT_EQ(slot.execute(kSecond), FirmwareSlot::Verdict::kAccepted);
    EXPECT_EQ(slot.progress(kSecond * 5 / 4).state, FirmwareSlot::State::kApplying);
    EXPECT_EQ(slot.progress(kSecond * 5 / 4).percent, 25);
    EXPECT_EQ(slot.progress(2 * kSecond).state, FirmwareSlot::State::kFailed);
    EXPECT_EQ(slot.progress(2 * kSecond).percent, 40);
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
                        {"prop 30", ""},
                        {"get info.major", ":9}"},
                        {"get info.minor", ":8}"}});
    EXPECT_THAT(dock.clearWake(), ::testing::ElementsAre(Event::kWlcOff, Event::kRestart));
}

TEST(FirmwareTest, RequestsCutAtEveryLengthAreHarmless) {
    VirtualDock dock;
    const std::string longest = "00640000000ac001023200000001";
    for (int type = 23; type <= 31; ++type) {
        for (size_t length = 0; length <= longest.size(); length += 2) {
            const std::string step = std::to_string(type) + " " + longest.substr(0, length);
            perform(&dock, "prop " + step);
            perform(&dock, "bidi " + step);
        }
    }
    expectSteps(&dock,
                {{"prop 25 00 64000000 0a 80 02 07", "00000a64"}, {"prop 27 00", "0000000a00"}});
}

}  // namespace
}  // namespace virtual_dock::testing
