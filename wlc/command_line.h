// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace wlc {

// Runs one command line and reports the outcome, as text or as JSON. Returns the exit status, one
// of ExitCode.
int run(int argc, const char* const* argv);

}  // namespace wlc
