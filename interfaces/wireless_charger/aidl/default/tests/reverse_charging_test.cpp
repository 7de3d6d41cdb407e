// SPDX-License-Identifier: Apache-2.0
// Reverse transmit: what becomes of the library's texts, however they look.
#include "reverse_charging.h"

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

class ReverseChargingTest : public ChargerTest {
  protected:
    void script(int32_t type, std::string text) { protocol().rtx[type] = {0, std::move(text)}; }
    RtxStatusInfo read(int32_t prmc = 0) {
        RtxStatusInfo info;
        info.prmc = prmc;
        getRtxInfoInternal(info);
        return info;
    }
    bool modeOn() {
        bool on = true;
        EXPECT_EQ(errorOf(charger->isRtxModeOn(&on)), 0);
        return on;
    }
};

TEST_F(ReverseChargingTest, ModeIsThePrefixOfItsText) {
    const auto expectMode = [this](int mode, const std::vector<const char*>& texts) {
        for (const char* text : texts) {
            script(2, text);
            EXPECT_EQ(read().mode, mode) << text;
            EXPECT_EQ(modeOn(), mode == 1) << text;
        }
    };
    expectMode(1, {"active", "active\n", "activeX", "active and 20 bytes!"});
    expectMode(2, {"available", "available now"});
    expectMode(0, {"inactive", "activ", "Active", " active", "availabl", "off", ""});
}

TEST_F(ReverseChargingTest, ConnectedIsThePrefixOfItsText) {
    for (const char* text : {"connected", "connected\n", "connectedXXXXXXXXXXX"}) {
        script(5, text);
        EXPECT_TRUE(read().connected) << text;
    }
    for (const char* text : {"disconnected", "connecte", "", "not connected"}) {
        script(5, text);
        EXPECT_FALSE(read().connected) << text;
    }
}

TEST_F(ReverseChargingTest, NumbersAreReadAsTheyBegin) {
    const struct {
        const char* text;
        int number;
    } kCases[] = {{"4999", 4999},
                  {"-4999", -4999},
                  {" \t+12\n", 12},
                  {"12abc", 12},
                  {"abc", 0},
                  {"", 0},
                  {"-", 0},
                  {"0x10", 0},
                  // 20 digits without a terminator: read inside the area, no crash.
                  {"00000000000000000012", 1}};
    for (const auto& [text, number] : kCases) {
        for (int32_t type : {6, 7, 9}) script(type, text);
        const RtxStatusInfo info = read();
        EXPECT_EQ(info.readingA, number / 1000) << text;
        EXPECT_EQ(info.readingB, number / 1000) << text;
        EXPECT_EQ(info.deviceLevel, number) << text;
    }
}

TEST_F(ReverseChargingTest, ManufacturerIsHexadecimalAndKeptWhenThereIsNone) {
    const struct {
        const char* text;
        int prmc;
    } kCases[] = {{"1a2B", 6699},
                  {"0x72", 0x72},
                  {" 72zz", 0x72},
                  {"zz", 99},
                  {"", 99},
                  {"FFFFFFFF", -1},
                  {"11111111111111111111", -1}};
    for (const auto& [text, prmc] : kCases) {
        script(8, text);
        EXPECT_EQ(read(99).prmc, prmc) << text;
    }
}

TEST_F(ReverseChargingTest, ErrorTypeIsReduced) {
    const struct {
        const char* text;
        int type;
    } kCases[] = {{"0", 0},   {"3", 3},   {"5", 5},   {"6", 15}, {"255", 15},
                  {"256", 0}, {"261", 5}, {"-1", 15}, {"", 0},   {"none", 0}};
    for (const auto& [text, type] : kCases) {
        script(10, text);
        EXPECT_EQ(read().errorType, type) << text;
    }
}

TEST_F(ReverseChargingTest, EachFailureSetsItsFieldOnlyAndStopsNothing) {
    const auto scriptAll = [&] {
        protocol().rtx = {{2, {0, "active"}}, {5, {0, "connected"}}, {6, {0, "1000"}},
                          {7, {0, "2000"}},   {8, {0, "3"}},         {9, {0, "4"}},
                          {10, {0, "5"}}};
    };
    const auto values = [](const RtxStatusInfo& info) {
        return std::vector<int>{info.mode, info.connected,   info.readingA, info.readingB,
                                info.prmc, info.deviceLevel, info.errorType};
    };
    const int32_t kTypes[] = {2, 5, 6, 7, 8, 9, 10};
    for (size_t failing = 0; failing < std::size(kTypes); failing++) {
        scriptAll();
        protocol().rtx[kTypes[failing]].result = 1;
        protocol().rtxTypes.clear();
        std::vector<int> expected{1, 1, 1, 2, 3, 4, 5};
        expected[failing] = 0;
        EXPECT_EQ(values(read(99)), expected);
        EXPECT_THAT(protocol().rtxTypes, testing::ElementsAreArray(kTypes));
    }
}

TEST_F(ReverseChargingTest, SwitchingAndAskingReportTheResult) {
    bool supported = false;
    EXPECT_EQ(errorOf(charger->isRtxSupported(&supported)), 0);
    EXPECT_TRUE(supported);
    EXPECT_EQ(errorOf(charger->setRtxMode(true)), 0);
    EXPECT_EQ(errorOf(charger->setRtxMode(false)), 0);
    EXPECT_THAT(protocol().rtxTypes, ElementsAre(1, 3, 4));

    for (int32_t type : {1, 2, 3, 4}) protocol().rtx[type] = {3, "active"};
    EXPECT_EQ(errorOf(charger->isRtxSupported(&supported)), 0);
    EXPECT_FALSE(supported);
    EXPECT_EQ(errorOf(charger->setRtxMode(true)), 7);
    EXPECT_EQ(errorOf(charger->setRtxMode(false)), 7);
    EXPECT_FALSE(modeOn());
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
