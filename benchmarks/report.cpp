// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>

namespace bench {
namespace {

bool met(const Figure& figure) {
    return figure.result <= figure.target;
}

std::string number(double value) {
    if (value != 0 && value < 10 && value > -10) return fmt::format("{:.2f}", value);
    return fmt::format("{:.{}f}", value, value < 100 && value > -100 ? 1 : 0);
}

std::string withUnit(double value, const std::string& unit) {
    return unit.empty() ? number(value) : number(value) + " " + unit;
}

// By Judged.
constexpr const char* kJudgedNames[] = {"ratio", "beyond baseline", "value"};

std::string inUnits(const Figure& figure, double value) {
    return figure.judged == Judged::kRatio ? fmt::format("{:.2f} x", value)
                                           : withUnit(value, figure.unit);
}

constexpr const char* kLine = "{:<68} {:>10} {:>10} {:>10} {:>10}  {}\n";

}  // namespace

Figure pairFigure(Judged judged, const char* group, std::string what, std::string baselineWhat,
                  const char* unit, const Pair& pair, double scale, double target) {
    Figure figure = valueFigure(group, std::move(what), unit, pair.measured / scale, target);
    figure.baselineWhat = std::move(baselineWhat);
    figure.baseline = pair.baseline / scale;
    figure.judged = judged;
    if (judged == Judged::kRatio) figure.result = pair.ratio;
    if (judged == Judged::kBeyond) figure.result = pair.beyond / scale;
    return figure;
}

Figure ratioFigure(const char* group, std::string what, std::string baselineWhat, double target,
                   const Pair& pair) {
    return pairFigure(Judged::kRatio, group, std::move(what), std::move(baselineWhat), "us", pair,
                      1000, target);
}

Figure valueFigure(const char* group, std::string what, const char* unit, double value,
                   double target) {
    Figure figure{.group = group, .what = std::move(what), .unit = unit};
    figure.target = target;
    figure.measured = figure.result = value;
    return figure;
}

Figure skippedFigure(const char* group, std::string what, std::string why) {
    Figure figure{.group = group, .what = std::move(what), .unit = ""};
    figure.skipped = std::move(why);
    return figure;
}

void printHead() {
    fmt::print(kLine, "figure", "measured", "baseline", "result", "at most", "verdict");
    std::fflush(stdout);
}

void printFigure(const Figure& figure) {
    const std::string what = figure.group + ": " + figure.what;
    if (!figure.skipped.empty()) {
        fmt::print(kLine, what, "-", "-", "-", "-", "not measured: " + figure.skipped);
    } else {
        fmt::print(kLine, what, withUnit(figure.measured, figure.unit),
                   figure.baseline ? withUnit(*figure.baseline, figure.unit) : "-",
                   inUnits(figure, figure.result), inUnits(figure, figure.target),
                   met(figure) ? "met" : "MISSED");
    }
    if (!figure.baselineWhat.empty()) fmt::print("    against {}\n", figure.baselineWhat);
    if (!figure.note.empty()) fmt::print("    {}\n", figure.note);
    std::fflush(stdout);
}

void printJson(const Figures& figures) {
    nlohmann::json list = nlohmann::json::array();
    for (const Figure& figure : figures) {
        nlohmann::json entry = {{"group", figure.group}, {"what", figure.what}};
        if (!figure.note.empty()) entry["note"] = figure.note;
        if (!figure.skipped.empty()) {
            entry["verdict"] = "not measured";
            entry["reason"] = figure.skipped;
        } else {
            entry["unit"] = figure.unit;
            entry["measured"] = figure.measured;
            entry["baseline"] = nullptr;
            if (figure.baseline) entry["baseline"] = *figure.baseline;
            if (!figure.baselineWhat.empty()) entry["against"] = figure.baselineWhat;
            entry["judged"] = kJudgedNames[static_cast<size_t>(figure.judged)];
            entry["result"] = figure.result;
            entry["atMost"] = figure.target;
            entry["verdict"] = met(figure) ? "met" : "missed";
        }
        list.push_back(std::move(entry));
    }
    const nlohmann::json all = {{"cpus", sysconf(_SC_NPROCESSORS_ONLN)}, {"figures", list}};
    fmt::print("{}\n", all.dump(2));
}

}  // namespace bench
