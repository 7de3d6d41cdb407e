// SPDX-License-Identifier: Apache-2.0
#include "child.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

std::string ChildResult::text() const {
    std::string all;
    for (const std::string& part : writes) all += part;
    return all;
}

ChildResult runChild(const char* logTags, const std::function<void()>& body) {
    ChildResult result;
    // A packet socket keeps one write apart from the next.
    int ends[2];
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends));
    const pid_t pid = fork();
    if (pid == 0) {
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
    result.pid = pid;
    std::string packet(65536, '\0');
    ssize_t size;
    while ((size = read(ends[0], packet.data(), packet.size())) > 0) {
        result.writes.push_back(packet.substr(0, static_cast<size_t>(size)));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(pid, waitpid(pid, &status, 0));
    if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}
