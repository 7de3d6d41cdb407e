// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <gtest/gtest.h>

#include "failure.h"

namespace wlc {
namespace {

TEST(Hex, PairsAreReadAndAnythingElseIsRefused) {
    EXPECT_EQ((std::vector<uint8_t>{0x00, 0xfF, 0x1a}), fromHex("00fF1A", "x"));
    EXPECT_EQ((std::vector<uint8_t>{1, 2}), fromHex("01:02", "x"));
    EXPECT_EQ((std::vector<uint8_t>{1, 2}), fromHex(" 01 02 ", "x"));
    EXPECT_TRUE(fromHex("", "x").empty());
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
    }
    for (const char* text : {"", "-", "256", "-129", "1 ", " 1", "1x", "0x", "+1", "--1",
                             "99999999999999999999", "1.0", "abc"}) {
        EXPECT_THROW(toNumber(text, "x", -128, 255), Failure) << text;
    }
    EXPECT_EQ(INT64_MIN, toNumber("-9223372036854775808", "x", INT64_MIN, INT64_MAX));
    EXPECT_THROW(toNumber("9223372036854775808", "x", INT64_MIN, INT64_MAX), Failure);
}

TEST(Nearest, OneSlipIsForgivenAndAnotherWordIsNot) {
    const std::vector<std::string> words = {"fan", "firmware", "features", "phone"};
    for (const auto& [typed, meant] : {std::pair{"fna", "fan"},
                                       {"fam", "fan"},
                                       {"fans", "fan"},
                                       {"frimware", "firmware"},
                                       {"feature", "features"},
                                       {"phnoe", "phone"},
                                       {"zzz", ""},
                                       {"", ""},
                                       {"nothing", ""}}) {
        EXPECT_EQ(meant, nearest(typed, words)) << typed;
    }
}

}  // namespace
}  // namespace wlc
