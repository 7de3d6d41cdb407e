// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include "context.h"

// One function a family of commands. Each adds its commands to the program; the commands run while
// the command line is parsed, when all of it has been found right, and end early with a Failure.
// `context` outlives `app`.
namespace wlc {

// Checks an option for a time: a number of at least `lowest` and at most a day.
CLI::Validator secondsFrom(double lowest);

void addInformationCommands(CLI::App& app, Context& context);  // version, phone, dock, info ...
void addFeatureCommands(CLI::App& app, Context& context);      // features, qi-id
void addFanCommands(CLI::App& app, Context& context);
void addRtxCommands(CLI::App& app, Context& context);
void addWatchCommand(CLI::App& app, Context& context);
void addAuthCommands(CLI::App& app, Context& context);
void addExchangeCommands(CLI::App& app, Context& context);  // challenge, key-exchange
void addFirmwareCommands(CLI::App& app, Context& context);
void addLegacyFirmwareCommands(CLI::App& app, Context& context);
void addDiagnosticCommands(CLI::App& app, Context& context);  // dump, shell

}  // namespace wlc
