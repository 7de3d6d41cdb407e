// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace wlc {

// What a progress line shows.
struct ProgressState {
    std::string phase;
    int percent = 0;
    double bytesPerSecond = 0;  // 0: unknown
    double secondsLeft = 0;
    int waitingSeconds = 0;  // since the last sign of progress; 0: not worth mentioning
};

// "transfer  42 %  12.3 KiB/s, 8 s left", for output that is not a terminal.
std::string progressText(const ProgressState& state);

// The same with a bar in front, in fewer than `columns` characters so that a terminal does not wrap
// the line: the rate goes first, then the
// time left, the phase and at last the bar.
std::string progressLine(const ProgressState& state, int columns);

}  // namespace wlc
