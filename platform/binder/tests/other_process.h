// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace android::host::test {

// A program started with a pipe at its standard output; killed and reaped at the end.
class OtherProcess {
  public:
    explicit OtherProcess(std::vector<std::string> words) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) return;
        mOutput.reset(ends[0]);
        android::base::unique_fd writeEnd(ends[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
        std::vector<char*> arguments;
        for (std::string& word : words) arguments.push_back(word.data());
        arguments.push_back(nullptr);
        (void)posix_spawn(&mPid, arguments[0], &actions, nullptr, arguments.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
    }
    ~OtherProcess() { kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    // The next line it prints; empty when it ended without one.
    std::string line() {
        std::string text;
        char c;
        while (read(mOutput.get(), &c, 1) == 1 && c != '\n') text += c;
        return text;
    }

    void kill() {
        if (mPid <= 0) return;
        ::kill(mPid, SIGKILL);
        (void)wait();
    }

    // Waits for its end; the wait status.
    int wait() {
        int status = -1;
        if (mPid > 0) (void)waitpid(mPid, &status, 0);
        mPid = -1;
        return status;
    }

    pid_t pid() const { return mPid; }

  private:
    pid_t mPid = -1;
    android::base::unique_fd mOutput;
};

}  // namespace android::host::test
