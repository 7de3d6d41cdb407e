// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <gtest/gtest.h>

#include "failure.h"
#include "progress_line.h"

namespace wlc {
namespace {

TEST(Hex, PairsAreReadAndAnythingElseIsRefused) {
    EXPECT_EQ((std::vector<uint8_t>{0x00, 0xfF, 0x1a}), fromHex(" 00fF:1A ", "x"));
    for (const char* text : {"0", "000", "0x01", "0 1", "g0", "-1"}) {
        EXPECT_THROW(fromHex(text, "x"), Failure) << text;
    }
    EXPECT_EQ("00ff1a", toHex(std::vector<uint8_t>{0x00, 0xff, 0x1a}));
}

TEST(Number, OnlyWholeNumbersWithinBoundsAreTaken) {
    for (const auto& [text, value] : {std::pair{"0", 0},
                                      {"255", 255},
                                      {"-128", -128},
                                      {"0xfF", 255},
                                      {"-0x80", -128},
                                      {"010", 10}}) {
        EXPECT_EQ(value, toNumber(text, "x", -128, 255)) << text;
        EXPECT_EQ(value, toBits64(text, "x")) << text;
    }
    for (const char* text : {"", "-", "256", "-129", "1 ", " 1", "1x", "0x", "+1", "--1",
                             "99999999999999999999", "1.0", "abc"}) {
        EXPECT_THROW(toNumber(text, "x", -128, 255), Failure) << text;
    }
    EXPECT_THROW(toNumber("9223372036854775808", "x", INT64_MIN, INT64_MAX), Failure);
    EXPECT_EQ(INT64_MIN, toBits64("-9223372036854775808", "x"));
    EXPECT_EQ(INT64_MIN, toBits64("9223372036854775808", "x"));
    EXPECT_EQ(-1, toBits64("0xffffffffffffffff", "x"));
    for (const char* text : {"", "0x", "18446744073709551616", "-9223372036854775809", "1x"}) {
        EXPECT_THROW(toBits64(text, "x"), Failure) << text;
    }
}

TEST(ProgressLine, FitsTheTerminalAndDropsWhatMattersLeast) {
    ProgressState state = {"transfer", 42, 123456, 98, 0};
    for (const auto& [columns, line] :
         {std::pair{200, "[############..................] transfer  42 %  120.6 KiB/s, 98 s left"},
          {56, "[#####.........] transfer  42 %  120.6 KiB/s, 98 s left"},
          {40, "[####.......] transfer  42 %  98 s left"},
          {17, "[###......] 42 %"},
          {3, "42"}}) {
        EXPECT_EQ(line, progressLine(state, columns)) << columns;
    }
    state.waitingSeconds = 100;
    EXPECT_EQ("[#######............] transfer  42 %  no answer for 100 s", progressLine(state, 58));
    for (int columns = 1; columns < 120; ++columns) {
        EXPECT_LT(progressLine(state, columns).size(), static_cast<size_t>(columns));
    }
}

}  // namespace
}  // namespace wlc
