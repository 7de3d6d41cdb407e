// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// Runs code in a child process whose standard error is watched: what is logged first reads the
// environment, and what is fatal ends the process, so each case needs a process of its own.

struct ChildResult {
    pid_t pid = -1;
    std::vector<std::string> writes;  // one for each write to standard error
    int exitStatus = -1;              // -1 when a signal ended it
    int signal = 0;

    std::string text() const;
};

// `logTags` becomes ANDROID_LOG_TAGS, or is unset when null. The body ends with exit status 0
// unless it ends the process itself.
ChildResult runChild(const char* logTags, const std::function<void()>& body);
