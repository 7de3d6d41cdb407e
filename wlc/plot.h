// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

// Plots of the last minutes in characters. Pure functions and values.
namespace wlc {

// What is plotted, in the order of the page.
enum Series { kPower, kBoostTemperature, kPuckTemperature, kFanLevel, kAlignment, kSeriesCount };

// One value per series, NaN where there is none.
using Sample = std::array<double, kSeriesCount>;
Sample emptySample();

// The latest samples, one for each slot of time, however many slots have passed. Bounded.
class History {
  public:
    // Slots are counted from any point on and never decrease; a sample of the same slot replaces
    // the one before. Slots without a sample stay empty.
    void add(int64_t slot, const Sample& sample);

    // The values of a series in the latest `count` slots, oldest first; NaN where there is none.
    // The first of them is at an even slot, so that a plot of two slots a column keeps its columns.
    std::vector<double> latest(Series series, size_t count) const;

    size_t size() const { return mSamples.size(); }
    static constexpr size_t kCapacity = 1024;

  private:
    int64_t mLatest = 0;
    std::deque<Sample> mSamples;
};

// Limits of an axis: round numbers that hold all values.
struct Axis {
    double low = 0;
    double high = 1;
};

// From 0, and for temperatures from the next lower ten degrees. For no values the axis is 0 to 1.
Axis axisFromZero(const std::vector<double>& values);
Axis axisAround(const std::vector<double>& values);

// Two slots a column in braille, or one in ASCII; the number of values that `columns` hold.
size_t slotsIn(size_t columns, bool unicode);

// The rows of a plot, top first, each `columns` wide, aligned right. A value takes at least the
// lowest dot; none takes no dot.
std::vector<std::string> plotRows(const std::vector<double>& values, const Axis& axis,
                                  size_t columns, size_t rows, bool unicode);

// A row with one character a column: = or ━ aligned (1), x misaligned (0), ? not known yet,
// . not charging (3). Of two slots in a column, the later one that has a value shows.
std::string alignmentRow(const std::vector<double>& values, size_t columns, bool unicode);

}  // namespace wlc
