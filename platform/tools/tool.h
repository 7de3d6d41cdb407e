// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace android::tools {

// Answers --help, -h and --version as the only argument, on standard output. False for all else.
bool answersForItself(int argc, char** argv, const char* usage);

// Flushes standard output. The status to exit with: `status`, or 1 with a message when something
// was not written. A reader that has gone is no failure; what was asked for has been done.
int exitStatus(const char* tool, int status);

// The same for output that was written in another way: `error` is an errno, 0 for none.
int exitStatus(const char* tool, int status, int error);

}  // namespace android::tools
