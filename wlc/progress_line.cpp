// SPDX-License-Identifier: Apache-2.0
#include "progress_line.h"

#include <fmt/format.h>

#include <algorithm>

namespace wlc {
namespace {

constexpr size_t kLongestBar = 30;
constexpr size_t kShortestBar = 8;
// Around the bar: brackets and a space.
constexpr size_t kBarFrame = 3;

std::string headOf(const ProgressState& state) {
    return fmt::format("{:<8} {:3} %", state.phase, state.percent);
}

std::string leftOf(const ProgressState& state) {
    return state.bytesPerSecond > 0 ? fmt::format("{:.0f} s left", state.secondsLeft) : "";
}

std::string waitingOf(const ProgressState& state) {
    return state.waitingSeconds > 0 ? fmt::format("no answer for {} s", state.waitingSeconds) : "";
}

std::string rateOf(const ProgressState& state) {
    return state.bytesPerSecond > 0 ? fmt::format("{:.1f} KiB/s", state.bytesPerSecond / 1024) : "";
}

}  // namespace

std::string progressText(const ProgressState& state) {
    std::string text = headOf(state);
    if (state.bytesPerSecond > 0) text += "  " + rateOf(state) + ", " + leftOf(state);
    if (state.waitingSeconds > 0) text += "  " + waitingOf(state);
    return text;
}

std::string progressLine(const ProgressState& state, int columns) {
    const size_t room = columns > 1 ? static_cast<size_t>(columns - 1) : 0;
    std::string text = progressText(state);
    for (const std::string& shorter :
         {headOf(state) + "  " + (state.waitingSeconds > 0 ? waitingOf(state) : leftOf(state)),
          headOf(state), fmt::format("{} %", state.percent)}) {
        if (text.size() + kBarFrame + kShortestBar <= room) break;
        text = shorter;
    }
    text.erase(text.find_last_not_of(' ') + 1);
    if (text.size() + kBarFrame + kShortestBar > room) return text.substr(0, room);
    const size_t bar = std::min(kLongestBar, room - text.size() - kBarFrame);
    const size_t full = bar * static_cast<size_t>(std::clamp(state.percent, 0, 100)) / 100;
    return fmt::format("[{}{}] {}", std::string(full, '#'), std::string(bar - full, '.'), text);
}

}  // namespace wlc
