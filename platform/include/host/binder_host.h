// SPDX-License-Identifier: Apache-2.0
//
// Not part of Android: what tools and tests on Linux need of the binder runtime beyond the NDK.
#pragma once

#include <android/binder_ibinder.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace android::host {

// Names of all services whose process is alive, sorted. Empty when there are none or when the
// run-time folder is refused (the log says why). Connects to none of them.
std::vector<std::string> listServices();

// The process that serves one of listServices(), as the kernel knows it; 0 when it has ended, or
// when its number means nothing here (another PID namespace). Does not wait for the process.
pid_t serverOf(const std::string& name);

// Connects to the socket at `path` and returns its root object with a strong reference, or null
// (the log says why). Always a session of its own, unlike AServiceManager_checkService. Blocks
// until the server answers.
AIBinder* connectService(const std::string& path);

// The name of an object's interface, by a call to it; empty when it does not answer one. Blocks
// until the answer comes.
std::string interfaceDescriptor(AIBinder* binder);

// Runs the object's shell command with the three descriptors, which stay the caller's. Blocks until
// the object has run it. Sets *result to what the command reported: STATUS_OK for success. Returns
// other than STATUS_OK when the call itself failed. Starts the process's thread pool, to which the
// result comes.
binder_status_t shellCommand(AIBinder* binder, int in, int out, int err,
                             const std::vector<std::string>& args, binder_status_t* result);

}  // namespace android::host
