// SPDX-License-Identifier: Apache-2.0
#include "plot.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace wlc {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr size_t kBrailleDots = 4;
constexpr size_t kAsciiDots = 3;

// The smallest round number that is not less.
double roundUp(double value) {
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double step : {1.0, 1.5, 2.0, 3.0, 4.0, 5.0, 6.0, 8.0}) {
        if (step * power >= value) return step * power;
    }
    return 10 * power;
}

// How many of `dots` a value takes, from the bottom.
size_t dotsOf(double value, const Axis& axis, size_t dots) {
    if (std::isnan(value)) return 0;
    const double part = std::clamp((value - axis.low) / (axis.high - axis.low), 0.0, 1.0);
    return 1 + static_cast<size_t>(std::lround(part * static_cast<double>(dots - 1)));
}

// Those of `dots` that are in a row of `height` dots above `below` others.
size_t dotsInRow(size_t dots, size_t below, size_t height) {
    return dots <= below ? 0 : std::min(dots - below, height);
}

// Braille patterns: U+2800 and a bit for each dot. Columns of dots filled from the bottom.
std::string braille(size_t left, size_t right) {
    constexpr unsigned kLeft[] = {0, 0x40, 0x44, 0x46, 0x47};
    constexpr unsigned kRight[] = {0, 0x80, 0xa0, 0xb0, 0xb8};
    const unsigned pattern = kLeft[left] | kRight[right];
    if (pattern == 0) return " ";
    return {'\xe2', static_cast<char>(0xa0 | pattern >> 6),
            static_cast<char>(0x80 | (pattern & 0x3f))};
}

char alignmentSign(double value) {
    if (std::isnan(value)) return ' ';
    if (value == 0) return 'x';
    if (value == 1) return '=';
    return value == 3 ? '.' : '?';
}

}  // namespace

Sample emptySample() {
    Sample sample;
    sample.fill(kNone);
    return sample;
}

void History::add(int64_t slot, const Sample& sample) {
    if (!mSamples.empty() && slot <= mLatest) {
        mSamples.back() = sample;
        return;
    }
    const int64_t passed = mSamples.empty() ? 0 : slot - mLatest - 1;
    for (int64_t i = 0; i < std::min<int64_t>(passed, kCapacity); ++i) {
        mSamples.push_back(emptySample());
    }
    mSamples.push_back(sample);
    mLatest = slot;
    while (mSamples.size() > kCapacity) mSamples.pop_front();
}

std::vector<double> History::latest(Series series, size_t count) const {
    std::vector<double> values(count, kNone);
    // With the slot that completes the last pair.
    const size_t empty = mLatest % 2 == 0 ? 1 : 0;
    for (size_t i = 0; i < mSamples.size() && i + empty < count; ++i) {
        values[count - 1 - empty - i] = mSamples[mSamples.size() - 1 - i][series];
    }
    return values;
}

Axis axisFromZero(const std::vector<double>& values) {
    double high = 0;
    for (const double value : values) high = std::fmax(high, value);
    return {0, high > 0 ? roundUp(high) : 1};
}

Axis axisAround(const std::vector<double>& values) {
    double low = kNone;
    double high = kNone;
    for (const double value : values) {
        low = std::fmin(low, value);
        high = std::fmax(high, value);
    }
    if (std::isnan(low)) return {};
    return {std::floor(low / 10) * 10, (std::floor(high / 10) + 1) * 10};
}

size_t slotsIn(size_t columns, bool unicode) {
    return unicode ? 2 * columns : columns;
}

std::vector<std::string> plotRows(const std::vector<double>& values, const Axis& axis,
                                  size_t columns, size_t rows, bool unicode) {
    const size_t height = unicode ? kBrailleDots : kAsciiDots;
    std::vector<size_t> dots(slotsIn(columns, unicode), 0);
    for (size_t i = 0; i < std::min(dots.size(), values.size()); ++i) {
        dots[dots.size() - 1 - i] = dotsOf(values[values.size() - 1 - i], axis, rows * height);
    }
    std::vector<std::string> lines(rows);
    for (size_t row = 0; row < rows; ++row) {
        const size_t below = (rows - 1 - row) * height;
        for (size_t column = 0; column < columns; ++column) {
            if (unicode) {
                lines[row] += braille(dotsInRow(dots[2 * column], below, height),
                                      dotsInRow(dots[2 * column + 1], below, height));
            } else {
                lines[row] += " .:|"[dotsInRow(dots[column], below, height)];
            }
        }
    }
    return lines;
}

std::string alignmentRow(const std::vector<double>& values, size_t columns, bool unicode) {
    const size_t slots = unicode ? 2 : 1;
    std::string row;
    for (size_t column = 0; column < columns; ++column) {
        char sign = ' ';
        for (size_t slot = slots; slot-- > 0 && sign == ' ';) {
            const size_t fromEnd = (columns - 1 - column) * slots + (slots - 1 - slot);
            if (fromEnd < values.size()) sign = alignmentSign(values[values.size() - 1 - fromEnd]);
        }
        row += sign == '=' && unicode ? "━" : std::string(1, sign);
    }
    return row;
}

}  // namespace wlc
