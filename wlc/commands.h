// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include "context.h"

// One function per family of commands. Each adds its commands to the program. A command runs at the
// end of parsing, once the entire command line has been accepted, and throws Failure on error.
// `context` must outlive `app`.
namespace wlc {

// The fans of a dock are numbered from 0 to one less.
inline constexpr int8_t kFans = 8;

// Validates a duration in seconds: a number from `lowest` to one day.
CLI::Validator secondsFrom(double lowest);

void addInformationCommands(CLI::App& app, Context& context);  // version, phone, dock, info ...
void addFeatureCommands(CLI::App& app, Context& context);      // features, qi-id
void addFanCommands(CLI::App& app, Context& context);
void addRtxCommands(CLI::App& app, Context& context);
void addStatusCommand(CLI::App& app, Context& context);
void addTopCommand(CLI::App& app, Context& context);
void addWatchCommand(CLI::App& app, Context& context);
void addAuthCommands(CLI::App& app, Context& context);
void addExchangeCommands(CLI::App& app, Context& context);  // challenge, key-exchange
void addFirmwareCommands(CLI::App& app, Context& context);
void addLegacyFirmwareCommands(CLI::App& app, Context& context);
void addDiagnosticCommands(CLI::App& app, Context& context);  // dump, shell

}  // namespace wlc
