// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "../trace/trace_line.h"

// What libdock_recorder.so gives to the recorder's libchargelink.so and libreverselink.so: one
// recorder for both, in front of the real libraries. Nothing else of it is visible, since the
// libraries of the desk bring functions of the same names into the process.
namespace virtual_dock {

// The function of this name in the libraries after the caller's own; null when there is none.
using FindNext = void* (*)(const char* name);

extern "C" {

// Loads the real library, starts to record when $CHARGELINK_TRACE names a file, and initialises the
// library; returns what that returned. 1, with a line in the log, when it cannot be loaded.
[[gnu::visibility("default")]] int dockRecorderStart(Library library, FindNext findNext);

// Loads and records as above; where nothing could be loaded every exchange is an internal error.
[[gnu::visibility("default")]] Endpoint* dockRecorderEndpoint(Library library, FindNext findNext);

// For a virtual dock in the same process: records a uevent that it sends around the kernel.
[[gnu::visibility("default")]] void dockRecorderUevent(const TraceMoment* sent, const char* message,
                                                       size_t size);
}

}  // namespace virtual_dock
