// SPDX-License-Identifier: Apache-2.0
// dockctl trace check: a service on a replayed dock, and whether it asks what is in the trace.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "replay_dock.h"
#include "session.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kService = "vendor.zorvak.wireless_charger-service";
constexpr const char* kSocket = "/binder/vendor.zorvak.wireless_charger.IWirelessCharger/default";
constexpr std::chrono::seconds kStartLimit(30);
// What the command set off may go on for a moment.
constexpr std::chrono::seconds kQuiet(2);

// Blocked everywhere; passTime takes them.
sigset_t endSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

class Interrupted {};

// Passes some time. Throws Interrupted when the process is to end.
void passTime() {
    const sigset_t signals = endSignals();
    const timespec time = {.tv_sec = 0, .tv_nsec = 10'000'000};
    if (sigtimedwait(&signals, nullptr, &time) > 0) throw Interrupted();
}

class TemporaryFolder {
  public:
    TemporaryFolder() {
        mPath = (std::filesystem::temp_directory_path() / "trace-check.XXXXXX").string();
        if (mkdtemp(mPath.data()) == nullptr) throw TraceError("cannot make " + mPath);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

// A program with an empty standard input, in a process group of its own. The group is killed with
// this object, the program also with the process.
class Child {
  public:
    // With an `output` file for what it prints; without one it has ours.
    explicit Child(const std::vector<std::string>& command, const std::string& output = {}) {
        std::vector<char*> words;
        for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
        words.push_back(nullptr);
        const pid_t parent = getpid();
        mPid = fork();
        if (mPid < 0) throw TraceError("cannot start " + command[0]);
        if (mPid > 0) {
            setpgid(mPid, mPid);  // whoever comes first
            return;
        }
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        setpgid(0, 0);
        const int empty = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (empty < 0 || dup2(empty, 0) < 0) _exit(127);
        if (getppid() != parent) _exit(127);
        if (!output.empty()) {
            const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
            if (file < 0 || dup2(file, 1) < 0 || dup2(file, 2) < 0) _exit(127);
        }
        execvp(words[0], words.data());
        _exit(127);
    }
    ~Child() {
        if (mPid < 0) return;
        kill(-mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // Whether it has ended; then with which status, as a shell tells it.
    bool hasEnded(int* status) {
        int how = 0;
        if (mPid < 0 || waitpid(mPid, &how, WNOHANG) != mPid) return false;
        mPid = -1;
        *status = WIFEXITED(how) ? WEXITSTATUS(how) : 128 + WTERMSIG(how);
        return true;
    }

  private:
    pid_t mPid = -1;
};

bool accepts(const std::string& path) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (path.size() >= sizeof(address.sun_path)) throw TraceError(path + " is too long");
    path.copy(address.sun_path, path.size());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    close(fd);
    return connected;
}

std::string serviceProgram(const std::string& given) {
    if (!given.empty()) return given;
    std::error_code ignored;
    const auto beside =
        std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path() / kService;
    return std::filesystem::exists(beside, ignored) ? beside.string() : kService;
}

[[noreturn]] void throwWithLog(const std::string& problem, const std::string& folder) {
    std::ifstream log(folder + "/service.log");
    for (std::string line; std::getline(log, line);) {
        say(stderr, "    {}\n", line);
    }
    throw TraceError(problem + "; its log stands above");
}

void throwIfEnded(Child* service, const std::string& folder) {
    int status = 0;
    if (!service->hasEnded(&status)) return;
    throwWithLog("the service ended with " + std::to_string(status), folder);
}

void waitUntilRegistered(Child* service, const std::string& folder) {
    const Clock::time_point end = Clock::now() + kStartLimit;
    while (!accepts(folder + kSocket)) {
        throwIfEnded(service, folder);
        if (Clock::now() > end) throwWithLog("the service does not register", folder);
        passTime();
    }
}

// Until all is replayed or nothing happens any more.
void waitUntilQuiet(const ReplayDock& dock) {
    auto before = dock.progress();
    Clock::time_point end = Clock::now() + kQuiet;
    while (Clock::now() < end) {
        const auto now = dock.progress();
        if (now.missing == 0 && now.sent == now.uevents) return;
        if (now.missing != before.missing || now.sent != before.sent) end = Clock::now() + kQuiet;
        before = now;
        passTime();
    }
}

int runCommand(const std::vector<std::string>& words) {
    Child command(words);
    int status = 0;
    while (!command.hasEnded(&status)) passTime();
    if (status == 127) {
        say(stderr, "dockctl: {} ended with 127: not found, or it did not find a program\n",
            words[0]);
    } else if (status != 0) {
        say(stderr, "dockctl: {} ended with {}\n", words[0], status);
    }
    return status;
}

}  // namespace

int runCheck(const Invocation& invocation) {
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);  // in the threads too
    const TemporaryFolder folder;
    setenv("ANDROID_HOST_DIR", folder.path().c_str(), 1);
    setenv("ANDROID_HOST_UEVENT_SOCKET", (folder.path() + "/uevent").c_str(), 1);
    unsetenv("VIRTUAL_DOCK");

    ReplayDock dock(invocation, true);
    std::thread server([&] { dock.serve(); });
    int status = 0;
    std::string problem;
    try {
        Child service({serviceProgram(invocation.service)}, folder.path() + "/service.log");
        waitUntilRegistered(&service, folder.path());
        status = runCommand({invocation.words.begin() + 1, invocation.words.end()});
        waitUntilQuiet(dock);
        throwIfEnded(&service, folder.path());
    } catch (const TraceError& error) {
        problem = error.what();
    } catch (const Interrupted&) {
        problem = "interrupted";
    }
    dock.stop();
    server.join();
    if (!problem.empty()) throw TraceError(problem);
    const bool differs = dock.conclude();
    return differs || status != 0 ? kRefused : kDone;
}

}  // namespace dockctl
