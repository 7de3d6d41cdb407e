// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "command_line.h"

namespace dockctl {

enum ExitCode : int { kDone = 0, kRefused = 1, kUsage = 2, kNoDock = 3 };

// Carries invocations out at the dock of this run-time folder and shows what comes of them.
class Session {
  public:
    explicit Session(bool json) : mJson(json) {}

    // Put in front of messages: where the command stands.
    void setPlace(const std::string& place) { mPlace = place; }

    // The exit code. Not for Show::kRun.
    int carryOut(const Invocation& invocation);

    // Tells of an error; returns the code.
    int report(const std::string& kind, const std::string& message, int code) const;

  private:
    int ask(const Invocation& invocation);
    int showLog(const Invocation& invocation);

    const bool mJson;
    std::string mPlace;
};

}  // namespace dockctl
