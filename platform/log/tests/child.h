// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

struct ChildResult {
    pid_t pid = -1;
    std::vector<std::string> writes;  // one for each write to standard error
    int exitStatus = -1;              // -1 when a signal ended it
    int signal = 0;

    std::string text() const {
        return std::accumulate(writes.begin(), writes.end(), std::string());
    }
};

// Runs code in a child process whose standard error is watched: what is logged first reads the
// environment, and what is fatal ends the process, so each case needs a process of its own.
// `logTags` becomes ANDROID_LOG_TAGS, or is unset when null. The body ends with exit status 0
// unless it ends the process itself.
inline ChildResult runChild(const char* logTags, const std::function<void()>& body) {
    // A packet socket keeps one write apart from the next.
    int ends[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends));
    ChildResult result;
    result.pid = fork();
    if (result.pid == 0) {
        const rlimit noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        unsetenv("ANDROID_LOG_TAGS");
        if (logTags != nullptr) setenv("ANDROID_LOG_TAGS", logTags, 1);
        body();
        _exit(0);
    }
    close(ends[1]);
    std::string packet(65536, '\0');
    for (ssize_t size; (size = read(ends[0], packet.data(), packet.size())) > 0;) {
        result.writes.push_back(packet.substr(0, static_cast<size_t>(size)));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(result.pid, waitpid(result.pid, &status, 0));
    if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}
