// SPDX-License-Identifier: Apache-2.0
//
// The threads of a process that serve calls from other processes.
//
// One pool serves all sessions. A process that only calls others needs none of this, unless it also
// gives them objects to be called on outside its own calls, such as callbacks.
//
// Stands in for the header of the same name in Android's NDK, written for Linux. Where it differs:
// the runtime starts threads beyond the number below for dumps and shell commands, and in the place
// of threads that wait for the answer of another process; they end when they are no longer needed.

#pragma once

#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// How many threads the runtime may start on its own when all others are busy, beyond the one of
// ABinderProcess_startThreadPool and those that join; 0 is allowed. Without this call 15. False
// when the number cannot be taken. To be called before the pool starts.
bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads);

// Starts the pool with its first thread. Returns at once; calling it again does nothing.
void ABinderProcess_startThreadPool(void);

// Makes the calling thread one of the pool. Not expected to return while the process lives.
void ABinderProcess_joinThreadPool(void);

__END_DECLS
