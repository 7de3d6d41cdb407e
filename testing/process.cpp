// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace test_support {
namespace {

using Clock = std::chrono::steady_clock;

// Appends what can be read; closes the descriptor at its end.
void drain(int* descriptor, std::string* text) {
    char piece[65536];
    const ssize_t got = read(*descriptor, piece, sizeof(piece));
    if (got > 0) {
        text->append(piece, static_cast<size_t>(got));
    } else {
        close(*descriptor);
        *descriptor = -1;
    }
}

}  // namespace

bool eventually(const std::function<bool()>& holds, std::chrono::seconds limit) {
    const auto end = Clock::now() + limit;
    while (!holds()) {
        if (Clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

bool isRunning(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    const std::string stat(std::istreambuf_iterator<char>(in), {});
    const size_t name = stat.rfind(')');
    return name != std::string::npos && name + 2 < stat.size() && stat[name + 2] != 'Z';
}

bool hasNoChildren() {
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

Process::Process(const Words& command, const std::string& file) {
    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) std::abort();
    std::vector<char*> argv;
    for (const std::string& word : command) argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    mPid = fork();
    if (mPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::signal(SIGPIPE, SIG_DFL);  // as init leaves it
        dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
        const int log = file.empty() ? -1 : open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
        dup2(log >= 0 ? log : out[1], STDOUT_FILENO);
        dup2(log >= 0 ? log : err[1], STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(out[1]);
    close(err[1]);
    mOut = out[0];
    mErr = err[0];
}

Process::~Process() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    if (mOut >= 0) close(mOut);
    if (mErr >= 0) close(mErr);
}

void Process::signal(int number) const {
    kill(mPid, number);
}

bool Process::readSome(Clock::time_point deadline) {
    if (mOut < 0 && mErr < 0) return false;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd waits[] = {{mOut, POLLIN, 0}, {mErr, POLLIN, 0}};
    if (left.count() <= 0 || poll(waits, 2, static_cast<int>(left.count())) <= 0) return false;
    if (waits[0].revents != 0) drain(&mOut, &mOutcome.out);
    if (waits[1].revents != 0) drain(&mErr, &mOutcome.err);
    return true;
}

bool Process::waitFor(const std::string& printed, const std::string& text) {
    const auto deadline = Clock::now() + kLimit;
    while (printed.find(text) == std::string::npos) {
        if (!readSome(deadline)) return false;
    }
    return true;
}

Outcome Process::wait() {
    const auto deadline = Clock::now() + kLimit;
    while (readSome(deadline)) {
    }
    if (mOut >= 0 || mErr >= 0) kill(mPid, SIGKILL);
    int status = 0;
    waitpid(mPid, &status, 0);
    mPid = -1;
    if (WIFEXITED(status)) mOutcome.exitStatus = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) mOutcome.signal = WTERMSIG(status);
    return mOutcome;
}

Outcome run(const Words& command) {
    return Process(command).wait();
}

}  // namespace test_support
