// SPDX-License-Identifier: Apache-2.0
#include "top_state.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "text.h"

namespace wlc {
namespace {

constexpr size_t kMostEntries = 200;
constexpr size_t kLongestText = 1000;

void prepend(std::deque<TopState::Entry>* entries, std::chrono::system_clock::time_point time,
             const std::string& text) {
    entries->push_front({time, printable(text).substr(0, kLongestText)});
    if (entries->size() > kMostEntries) entries->pop_back();
}

Sample sampleOf(const std::vector<StatusLine>& lines) {
    constexpr struct {
        Series series;
        const char* line;
        const char* field;
    } kPlotted[] = {{kPower, "power", "negotiatedPower"},
                    {kBoostTemperature, "temperature", "boostTemp"},
                    {kPuckTemperature, "temperature", "puckTemp"},
                    {kFanLevel, "fan", "level"},
                    {kAlignment, "alignment", "status"}};
    Sample sample = emptySample();
    for (const StatusLine& line : lines) {
        for (const auto& [series, key, field] : kPlotted) {
            if (line.failed || line.key != key || !line.json.contains(field)) continue;
            const double value = line.json[field].get<double>();
            // A power of -1 is an unknown one.
            if (series != kPower || value != -1) sample[series] = value;
        }
    }
    return sample;
}

}  // namespace

void TopState::noteOutcome(std::chrono::system_clock::time_point time, const std::string& label,
                           const std::string& failure) {
    std::string& failing = mFailing[label];
    if (failing == failure) return;
    failing = failure;
    prepend(&mOutcomes, time, label + ": " + (failure.empty() ? "answered again" : failure));
}

void TopState::take(const PollResult& result) {
    mTime = result.time;
    mTrouble = printable(result.trouble);
    noteOutcome(result.time, "connection", result.trouble);
    if (result.reconnected) {
        prepend(&mEvents, result.time, "(subscribed again: events may be missing)");
    }
    if (!result.lines.empty()) mLines = result.lines;
    for (StatusLine& line : mLines) {
        if (result.lines.empty()) {
            line.text = std::string(1, '-');
        } else {
            noteOutcome(result.time, line.label, line.failed ? line.text : "");
            line.text = printable(line.text);
        }
    }
    mLatest = sampleOf(result.lines);
    mHistory.add(result.slot, mLatest);
    if (result.lines.empty()) return;
    ++mTiming.polls;
    mTiming.lastMs = result.milliseconds;
    mTiming.sumMs += result.milliseconds;
    mTiming.longestMs = std::max(mTiming.longestMs, result.milliseconds);
    mTiming.slowest = result.slowest;
    mTiming.slowestMs = result.slowestMilliseconds;
}

void TopState::take(const EventQueue::Event& event) {
    ++mEventCount;
    prepend(&mEvents, event.time, fmt::format("{:<5}  {}", event.name, event.report.line()));
}

}  // namespace wlc
