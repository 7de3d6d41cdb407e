// SPDX-License-Identifier: Apache-2.0
//
// Completion for shells, from the parser that reads the command line.
#pragma once

#include <CLI/App.hpp>
#include <string>

namespace cli {

// Adds --completion SHELL, which is not in the help: the parse then ends with CLI::CallForVersion,
// whose text is the script for "bash" or "zsh". Add it when all commands are there.
void addCompletion(CLI::App& app);

}  // namespace cli
