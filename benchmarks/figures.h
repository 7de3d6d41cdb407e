// SPDX-License-Identifier: Apache-2.0
// The groups of figures. Each function measures one group; throws Trouble when it cannot.
#pragma once

#include <functional>

#include "report.h"

namespace bench {

struct Run {
    bool quick = false;
    // Takes a figure as soon as it is there.
    std::function<void(Figure)> add;

    int pick(int full, int whenQuick) const { return quick ? whenQuick : full; }
};

void measureCalls(const Run& run);        // getFanInfo between two processes
void measureSystemCalls(const Run& run);  // the same under strace
void measureFanOut(const Run& run);       // one callback to 64 connections
void measureStart(const Run& run);        // starting and idling
void measureEvents(const Run& run);       // the event thread
void measureKernelUevent(const Run& run);
void measureCertificate(const Run& run);
void measureInProcess(const Run& run);
void measureFirmware(const Run& run);
void measureDump(const Run& run);
void measureRecorder(const Run& run);
void measureDock(const Run& run);

// The hidden role under strace: so many calls of the service behind a socket, or so many raw round
// trips when there is none.
int runUnderStrace(int count, const char* socketPath);

}  // namespace bench
