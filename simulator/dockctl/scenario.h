// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "session.h"

namespace dockctl {

// Carries out the scenario in a file ("-": standard input), as `dockctl run --help` describes it.
// Nothing is done when a line of it is wrong. Returns the exit code.
int runScenario(const std::string& file, Session* session);

}  // namespace dockctl
