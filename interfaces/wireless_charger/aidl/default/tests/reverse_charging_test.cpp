// SPDX-License-Identifier: Apache-2.0
// Reverse transmit: what becomes of the library's texts, however they look.
#include "reverse_charging.h"

#include "charger_test.h"

namespace aidl::vendor::zorvak::wireless_charger {
namespace {

class ReverseChargingTest : public ChargerTest {
  protected:
    /** The fields in the order of their requests, prmc being 99 before. */
    std::vector<int> read() {
        RtxStatusInfo info;
        info.prmc = 99;
        getRtxInfoInternal(info);
        return {info.mode, info.connected,   info.readingA, info.readingB,
                info.prmc, info.deviceLevel, info.errorType};
    }
};

constexpr int32_t kTypes[] = {2, 5, 6, 7, 8, 9, 10};

TEST_F(ReverseChargingTest, TextsAreReadAsTheyBegin) {
    enum { MODE, CONNECTED, READING_A, READING_B, PRMC, LEVEL, ERROR };
    const auto expect = [this](size_t field, int value, const std::vector<const char*>& texts) {
        for (const char* text : texts) {
            protocol().rtx[kTypes[field]] = {0, text};
            EXPECT_EQ(read()[field], value) << field << ": " << text;
            EXPECT_EQ(ask(&W::isRtxModeOn), read()[MODE] == 1);
        }
    };
    expect(MODE, 1, {"active", "active\n", "activeX", "active and 20 bytes!"});
    expect(MODE, 2, {"available", "available now"});
    expect(MODE, 0, {"inactive", "activ", "Active", " active", "availabl", "off", ""});
    expect(CONNECTED, 1, {"connected", "connected\n", "connectedXXXXXXXXXXX"});
    expect(CONNECTED, 0, {"disconnected", "connecte", "", "not connected"});
    for (const auto field : {READING_A, READING_B}) {
        expect(field, 4, {"4999", " \t+4000\n", "4000abc"});
        expect(field, -4, {"-4999"});
        expect(field, 0, {"999", "abc", "", "0x1000"});
    }
    expect(PRMC, 0x72, {"72", "0x72", " 72zz"});
    expect(PRMC, 0x1A2B, {"1a2B"});
    expect(PRMC, -1, {"FFFFFFFF", "11111111111111111111"});
    expect(PRMC, 99, {"zz", ""});  // as before
    expect(LEVEL, 12, {"12", "12abc"});
    expect(LEVEL, 0, {"-", "", "0x10"});
    expect(LEVEL, 1, {"00000000000000000012"});  // no terminator: read inside the area
    expect(ERROR, 0, {"0", "256", "", "none"});
    expect(ERROR, 5, {"5", "261"});
    expect(ERROR, 15, {"6", "255", "-1"});
}

TEST_F(ReverseChargingTest, EachFailureSetsItsFieldOnlyAndStopsNothing) {
    for (size_t failing = 0; failing < std::size(kTypes); failing++) {
        protocol().rtx = {{2, {0, "active"}}, {5, {0, "connected"}}, {6, {0, "1000"}},
                          {7, {0, "2000"}},   {8, {0, "3"}},         {9, {0, "4"}},
                          {10, {0, "5"}}};
        protocol().rtx[kTypes[failing]].result = 1;
        std::vector<int> expected{1, 1, 1, 2, 3, 4, 5};
        expected[failing] = 0;
        EXPECT_EQ(read(), expected);
    }
}

TEST_F(ReverseChargingTest, FailedRequestsAreReported) {
    for (int32_t type : {1, 2, 3, 4}) protocol().rtx[type] = {3, "active"};
    EXPECT_FALSE(ask(&W::isRtxSupported));
    EXPECT_EQ(errorOf(charger->setRtxMode(true)), 7);
    EXPECT_EQ(errorOf(charger->setRtxMode(false)), 7);
    EXPECT_FALSE(ask(&W::isRtxModeOn));
}

}  // namespace
}  // namespace aidl::vendor::zorvak::wireless_charger
