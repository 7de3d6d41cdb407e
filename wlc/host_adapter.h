// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_ibinder.h>

#include <string>
#include <string_view>
#include <vector>

// All that this program needs beyond the NDK and the standard library. To build it against another
// NDK, provide these functions there; nothing else includes a host/ header.
namespace wlc {

// The text with control characters, characters that break lines or reverse the direction of
// writing, and bytes that are not UTF-8 written as \xNN. Tabs stay.
std::string escaped(std::string_view text, bool keepLineFeeds);

// Dumps the object to the descriptor, escaped, with line feeds kept. Blocks until the object has
// finished. Returns what the call returned; the process has to ignore SIGPIPE.
binder_status_t dumpEscaped(AIBinder* binder, const std::vector<std::string>& args, int to);

// Runs the object's shell command with this process's standard input; what it writes goes to
// standard output and standard error, escaped, with line feeds kept. Blocks until the object has
// run it. *result is what the command reported; the return value is other than STATUS_OK when the
// call itself failed. The process has to ignore SIGPIPE.
binder_status_t shellEscaped(AIBinder* binder, const std::vector<std::string>& args,
                             binder_status_t* result);

}  // namespace wlc
