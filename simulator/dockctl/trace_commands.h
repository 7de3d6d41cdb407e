// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "print.h"
#include "trace/trace_matcher.h"

namespace dockctl {

// `dockctl trace ...`: Show::kTrace. Returns the exit code; throws TraceError for a file that
// cannot be read or written.
int runTrace(const Invocation& invocation);

// `dockctl replay`: Show::kReplay; until SIGINT or SIGTERM. The same.
int runReplay(const Invocation& invocation);

// `dockctl trace check`: Show::kCheck. The same; starts processes, and leaves none behind.
int runCheck(const Invocation& invocation);

class TraceError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// An entry of a trace as the members of its line, in their order.
Json traceJson(const virtual_dock::TraceEntry& entry);

// One line, for people or as JSON.
void printDifference(const virtual_dock::TraceDifference& difference, bool json);

}  // namespace dockctl
