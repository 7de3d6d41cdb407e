// SPDX-License-Identifier: Apache-2.0
// What was measured, against what, and whether that is good enough.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "measure.h"

namespace bench {

// How a figure is judged.
enum class Judged {
    kRatio,   // measured / baseline is at most the target
    kBeyond,  // measured - baseline is at most the target
    kValue,   // measured is at most the target; a baseline is there for comparison
};

struct Figure {
    std::string group;
    std::string what;
    std::string baselineWhat = {};
    std::string unit;  // "ns", "us", "ms", "KiB" or "" for counts
    Judged judged = Judged::kValue;
    double target = 0;
    double measured = 0;
    std::optional<double> baseline = {};
    double result = 0;         // what is held against the target
    std::string skipped = {};  // why it was not measured
    std::string note = {};
};

// From a measurement in turns, its times divided by `scale`.
Figure pairFigure(Judged judged, const char* group, std::string what, std::string baselineWhat,
                  const char* unit, const Pair& pair, double scale, double target);
// A ratio of times, shown in microseconds.
Figure ratioFigure(const char* group, std::string what, std::string baselineWhat, double target,
                   const Pair& pair);
Figure valueFigure(const char* group, std::string what, const char* unit, double value,
                   double target);
Figure skippedFigure(const char* group, std::string what, std::string why);

using Figures = std::vector<Figure>;

// A table for people, one line a figure as soon as it is there.
void printHead();
void printFigure(const Figure& figure);
// One JSON object with everything.
void printJson(const Figures& figures);

}  // namespace bench
