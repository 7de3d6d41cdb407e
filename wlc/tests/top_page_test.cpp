// SPDX-License-Identifier: Apache-2.0
#include "top_page.h"

#include <gmock/gmock.h>
#include <locale.h>

#include <algorithm>
#include <cmath>

#include "terminal_text.h"

namespace wlc {
namespace {

using testing::ElementsAre;
using testing::NanSensitiveDoubleEq;
using testing::Pointwise;

constexpr double kNone = NAN;

TEST(Fitted, TextTakesExactlyItsColumns) {
    ASSERT_NE(nullptr, setlocale(LC_CTYPE, "C.UTF-8"));
    const struct {
        const char* text;
        size_t columns;
        const char* unicode;
        const char* ascii;
    } kCases[] = {
        {"abc", 3, "abc", "abc"},
        {"abcd", 3, "ab…", "ab~"},
        {"a", 0, "", ""},
        {"31 °C", 6, "31 °C ", "31 C  "},
        {"é…x", 3, "é…x", "??x"},
        {"東京", 3, "東…", "?? "},
        {"東京", 2, " …", "??"},
        {"e\xcc\x81x", 2, "e\xcc\x81x", "e~"},
        {"\xe6\x9d", 2, "? ", "? "},
    };
    for (const auto& [text, columns, unicode, ascii] : kCases) {
        EXPECT_EQ(unicode, fitted(text, columns, true)) << text;
        EXPECT_EQ(ascii, fitted(text, columns, false)) << text;
    }
}

TEST(Plot, ValuesRiseFromTheBottomAndNoneLeavesAGap) {
    const Axis axis = {0, 8};
    EXPECT_THAT(plotRows({kNone, 0, 8, 100}, axis, 3, 1, true), ElementsAre(" ⢀⣿"));
    EXPECT_THAT(plotRows({0, 1, 2, 3, 4, 5, 6, 8}, axis, 4, 2, true), ElementsAre("  ⣀⣼", "⣠⣾⣿⣿"));
    EXPECT_THAT(plotRows({0, kNone, 4, 8}, axis, 5, 1, false), ElementsAre(" . :|"));
    EXPECT_THAT(plotRows({0, 8, 5}, axis, 2, 2, false), ElementsAre("|.", "||"));
    EXPECT_EQ("x=?. =", alignmentRow({0, 1, 2, 3, kNone, 1}, 6, false));
    EXPECT_EQ(" x━", alignmentRow({0, kNone, 0, 1}, 3, true));
}

TEST(Plot, AxesAreRoundAndHoldAllValues) {
    for (const auto& [value, high] :
         {std::pair{12000.0, 15000.0}, {15001, 20000}, {0, 1}, {-5, 1}, {2147483647, 3e9}}) {
        EXPECT_DOUBLE_EQ(high, axisFromZero({kNone, value}).high) << value;
    }
    for (const auto& [low, high, axisLow, axisHigh] :
         {std::array{28.0, 31.0, 20.0, 40.0}, {30, 30, 30, 40}, {-3, 40, -10, 50}}) {
        const Axis axis = axisAround({high, kNone, low});
        EXPECT_EQ(axisLow, axis.low);
        EXPECT_EQ(axisHigh, axis.high);
    }
    EXPECT_EQ(1, axisAround({kNone}).high);
}

TEST(HistoryOfSamples, KeepsTheLatestInTheirSlots) {
    History history;
    const auto add = [&](int64_t slot, double value) {
        Sample sample = emptySample();
        sample[kPower] = value;
        history.add(slot, sample);
    };
    const auto expectLatest = [&](const std::vector<double>& values) {
        EXPECT_THAT(history.latest(kPower, values.size()),
                    Pointwise(NanSensitiveDoubleEq(), values));
    };
    add(4, 1);
    expectLatest({kNone, kNone, 1, kNone});  // 2 to 5
    add(7, 2);
    add(7, 3);
    expectLatest({1, kNone, kNone, 3});  // 4 to 7
    add(8, 4);
    expectLatest({kNone, 3, 4, kNone});  // 6 to 9
    add(int64_t{1} << 60, 5);
    EXPECT_EQ(History::kCapacity, history.size());
    expectLatest({5, kNone});
}

PollResult answered() {
    const std::string text =
        "東京 31 °C, (vendor-defined unit) and more than fits into a narrow terminal \x1b[2J";
    PollResult result;
    result.lines = {{"presence", "presence", Json::object(), text},
                    {"power", "power", {{"negotiatedPower", 12000}}, text},
                    {"temperature", "temperature", Json::object(), text, true}};
    return result;
}

std::string textOf(const Line& line) {
    std::string text;
    for (const Span& span : line) text += span.text;
    return text;
}

TEST(TopPage, NothingIsWiderOrLongerThanAnyScreen) {
    ASSERT_NE(nullptr, setlocale(LC_CTYPE, "C.UTF-8"));
    TopState state(1);
    for (int i = 0; i < 300; ++i) state.take({"align", Report().field("status", i), {}});
    PollResult lost;
    lost.trouble = "service is not running \x1b[2J";
    for (const PollResult& result : {PollResult(), answered(), lost}) {
        state.take(result);
        for (const bool unicode : {true, false}) {
            for (const size_t rows : {0, 1, 2, 5, 11, 18, 24, 25, 50, 70}) {
                for (size_t columns = 0; columns <= 220; columns += columns < 60 ? 1 : 9) {
                    const auto lines = topPage(state, {rows, columns, unicode});
                    ASSERT_LE(lines.size(), rows);
                    for (const Line& line : lines) {
                        const std::string text = textOf(line);
                        ASSERT_LE(columnsOf(text, unicode), columns) << text;
                        ASSERT_EQ(std::string::npos, text.find('\x1b'));
                        ASSERT_TRUE(unicode || std::all_of(text.begin(), text.end(), isprint));
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace wlc
