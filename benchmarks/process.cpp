// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <utility>

#include "measure.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

void setCpu(pid_t thread, int cpu) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<size_t>(cpu), &one);
    sched_setaffinity(thread, sizeof(one), &one);
}

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

// In a new child.
void settle(pid_t parent, int cpu, const cpu_set_t& all) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    sched_setaffinity(0, sizeof(all), &all);
    if (cpu != kAnyCpu) setCpu(0, cpu);
}

// Every processor from the first usable one to the last.
cpu_set_t allCpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    const auto [first, last] = usableCpus();
    for (int cpu = first; cpu <= last; ++cpu) CPU_SET(static_cast<size_t>(cpu), &set);
    return set;
}

}  // namespace

TempFolder::TempFolder() {
    std::string name = fs::temp_directory_path() / "wlc-bench-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw Trouble("cannot make a folder like " + name);
    mPath = name;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    fs::remove_all(mPath, ignored);
}

Process Process::run(const std::vector<std::string>& arguments, const Setup& setup) {
    std::vector<char*> argv;
    for (const std::string& text : arguments) argv.push_back(const_cast<char*>(text.c_str()));
    argv.push_back(nullptr);
    const std::string errors = setup.errorFile.value_or("/dev/null");
    auto* execTime = static_cast<int64_t*>(
        mmap(nullptr, sizeof(int64_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    if (execTime == MAP_FAILED) throw Trouble("no memory");
    const cpu_set_t everywhere = allCpus();
    const pid_t parent = getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        settle(parent, setup.cpu, everywhere);
        const int null = open("/dev/null", O_RDWR);
        dup2(setup.input >= 0 ? setup.input : null, STDIN_FILENO);
        dup2(setup.output >= 0 ? setup.output : null, STDOUT_FILENO);
        dup2(open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDERR_FILENO);
        for (const std::string& name : setup.without) unsetenv(name.c_str());
        for (const auto& [name, value] : setup.environment) {
            setenv(name.c_str(), value.c_str(), 1);
        }
        *execTime = now();
        execv(argv[0], argv.data());
        _exit(127);
    }
    if (pid < 0) throw Trouble("cannot start a process");
    Process process(pid);
    waitUntil([&] { return *static_cast<volatile int64_t*>(execTime) != 0; }, 5000, 20);
    process.mExecTime = *execTime;
    munmap(execTime, sizeof(int64_t));
    return process;
}

Process Process::fork(const std::function<void()>& body, int cpu) {
    const cpu_set_t everywhere = allCpus();
    const pid_t parent = getpid();
    const pid_t pid = ::fork();
    if (pid == 0) {
        settle(parent, cpu, everywhere);
        try {
            body();
        } catch (...) {
            _exit(1);
        }
        _exit(0);
    }
    if (pid < 0) throw Trouble("cannot start a process");
    return Process(pid);
}

Process::Process(Process&& other) noexcept
    : mPid(std::exchange(other.mPid, -1)), mExecTime(other.mExecTime) {}

Process::~Process() {
    if (mPid <= 0) return;
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
}

int Process::wait() {
    int status = 0;
    while (waitpid(mPid, &status, 0) < 0 && errno == EINTR) {
    }
    mPid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Process::hasEnded() {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(mPid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == mPid;
}

void Process::signal(int number) {
    kill(mPid, number);
    if (number != SIGSTOP) return;
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(mPid), &info, WSTOPPED | WEXITED | WNOWAIT);
    waitid(P_PID, static_cast<id_t>(mPid), &info, WSTOPPED | WNOHANG);
}

int clientCpu() {
    return usableCpus().first;
}

int serverCpu() {
    return usableCpus().second;
}

OnCpu::OnCpu(int cpu, pid_t thread) : mThread(thread) {
    sched_getaffinity(thread, sizeof(mFormer), &mFormer);
    setCpu(thread, cpu);
}

OnCpu::~OnCpu() {
    sched_setaffinity(mThread, sizeof(mFormer), &mFormer);
}

bool waitUntil(const std::function<bool()>& check, int limitMillis, int pauseMicros) {
    const int64_t end = now() + int64_t{limitMillis} * 1'000'000;
    while (!check()) {
        if (now() > end) return false;
        usleep(static_cast<useconds_t>(pauseMicros));
    }
    return true;
}

void pauseMillis(int millis) {
    usleep(static_cast<useconds_t>(millis) * 1000);
}

bool isListening(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return false;
    memcpy(address.sun_path, path.data(), path.size());
    const Fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

std::vector<pid_t> threadsOf(pid_t pid) {
    std::vector<pid_t> threads;
    std::error_code ignored;
    for (const auto& entry :
         fs::directory_iterator("/proc/" + std::to_string(pid) + "/task", ignored)) {
        threads.push_back(static_cast<pid_t>(std::stol(entry.path().filename())));
    }
    return threads;
}

pid_t threadNamed(pid_t pid, const std::string& name) {
    for (const pid_t thread : threadsOf(pid)) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + std::to_string(thread) +
                           "/comm");
        std::string found;
        if (std::getline(file, found) && found == name) return thread;
    }
    return 0;
}

uint64_t sleepsOf(pid_t pid) {
    uint64_t sum = 0;
    for (const pid_t thread : threadsOf(pid)) {
        std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + std::to_string(thread) +
                           "/status");
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string name;
            uint64_t value = 0;
            if (words >> name >> value && name == "voluntary_ctxt_switches:") sum += value;
        }
    }
    return sum;
}

Memory memoryOf(pid_t pid, const std::string& ownFolder) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps");
    Memory memory{};
    bool own = false;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (first.find('-') != std::string::npos && first.back() != ':') {
            own = line.find(ownFolder + "/") != std::string::npos;
            continue;
        }
        double kibibytes = 0;
        words >> kibibytes;
        if (first == "Pss:") memory.pss += kibibytes;
        if (first == (own ? "Rss:" : "Pss:")) memory.pssOwnInFull += kibibytes;
    }
    return memory;
}

std::string buildFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path();
}

std::string built(const std::string& path) {
    const std::string full = buildFolder() + "/" + path;
    if (!fs::exists(full)) throw Trouble(full + " is missing; build everything first");
    return full;
}

}  // namespace bench
