// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <testing/charger_system.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include "measure.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

// The first, the last processor that this program may use, as it was started.
std::pair<int, int> usableCpus() {
    static const std::pair<int, int> usable = [] {
        cpu_set_t set;
        CPU_ZERO(&set);
        sched_getaffinity(0, sizeof(set), &set);
        std::pair<int, int> found{-1, 0};
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
            if (!CPU_ISSET(static_cast<size_t>(cpu), &set)) continue;
            if (found.first < 0) found.first = cpu;
            found.second = cpu;
        }
        return found;
    }();
    return usable;
}

// The folders of a process's threads under /proc.
std::vector<fs::path> threadsOf(pid_t pid) {
    std::error_code ignored;
    const fs::directory_iterator tasks("/proc/" + std::to_string(pid) + "/task", ignored);
    return {begin(tasks), end(tasks)};
}

}  // namespace

int clientCpu() {
    return usableCpus().first;
}

int serverCpu() {
    return usableCpus().second;
}

OnCpu::OnCpu(int cpu, pid_t thread) : mThread(thread) {
    sched_getaffinity(thread, sizeof(mFormer), &mFormer);
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<size_t>(cpu), &one);
    sched_setaffinity(thread, sizeof(one), &one);
}

OnCpu::~OnCpu() {
    sched_setaffinity(mThread, sizeof(mFormer), &mFormer);
}

Fork::Fork(const std::function<void()>& body, std::optional<int> cpu) : mPid(fork()) {
    if (mPid < 0) throw Trouble("cannot start a process");
    if (mPid > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::optional<OnCpu> there;
    if (cpu) there.emplace(*cpu);
    try {
        body();
    } catch (...) {
        _exit(1);
    }
    _exit(0);
}

Fork::~Fork() {
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
}

void stopProcess(pid_t pid) {
    kill(pid, SIGSTOP);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(pid), &info, WSTOPPED | WEXITED | WNOWAIT);
    waitid(P_PID, static_cast<id_t>(pid), &info, WSTOPPED | WNOHANG);
}

bool waitUntil(const std::function<bool()>& check, int limitMillis) {
    const int64_t end = now() + int64_t{limitMillis} * 1'000'000;
    while (!check()) {
        if (now() > end) return false;
        usleep(100);
    }
    return true;
}

void pauseMillis(int millis) {
    usleep(static_cast<useconds_t>(millis) * 1000);
}

pid_t threadNamed(pid_t pid, const std::string& name) {
    for (const fs::path& thread : threadsOf(pid)) {
        std::string found;
        std::getline(std::ifstream(thread / "comm"), found);
        if (found == name) return static_cast<pid_t>(std::stol(thread.filename()));
    }
    return 0;
}

uint64_t sleepsOf(pid_t pid) {
    uint64_t sum = 0;
    for (const fs::path& thread : threadsOf(pid)) {
        std::ifstream file(thread / "status");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string name;
            uint64_t value = 0;
            if (words >> name >> value && name == "voluntary_ctxt_switches:") sum += value;
        }
    }
    return sum;
}

Memory memoryOf(pid_t pid) {
    const std::string build = fs::path(test_support::program("")).parent_path().parent_path();
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps");
    Memory memory{};
    bool own = false;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first.find('-') != std::string::npos && first.back() != ':') {
            own = line.find(build + "/") != std::string::npos;
            continue;
        }
        double kibibytes = 0;
        words >> kibibytes;
        if (first == "Pss:") memory.pss += kibibytes;
        if (first == (own ? "Rss:" : "Pss:")) memory.pssOwnInFull += kibibytes;
    }
    return memory;
}

std::string helper(const std::string& name) {
    return test_support::program("../lib/bench/" + name);
}

}  // namespace bench
