// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace dockctl {

// How the reply to a command is shown; kText and kRun are commands of dockctl alone.
enum class Show {
    kOutcome,
    kStatus,
    kKeys,
    kValues,
    kRecording,
    kLog,
    kFollow,
    kText,
    kRun,
    kTrace,
    kReplay,
    kCheck
};

// What one command line asks for.
struct Invocation {
    bool json = false;
    Show show = Show::kOutcome;
    std::vector<std::string> words;  // of the control protocol; kRun: the file; kTrace: its
                                     // command and files
    std::string text;                // kText: help or version
    double speed = 1;                // kReplay, kCheck
    bool strict = false;             // kReplay
    std::string service;             // kCheck: its program; "": the one beside dockctl
    bool maskFirmware = false;       // kTrace: mask
};

class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Reads arguments, without the program's name. Throws UsageError for what is wrong whatever the
// dock may be; the dock checks the rest.
Invocation parseArguments(std::vector<std::string> arguments);

}  // namespace dockctl
