// SPDX-License-Identifier: Apache-2.0
// Processes that the benchmark starts, and what the kernel says of them. All die with it.
#pragma once

#include <android-base/unique_fd.h>
#include <sched.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

// What cannot be measured on this machine, or went wrong; the message is for people.
class Trouble : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

using Fd = android::base::unique_fd;

// A folder that goes away with everything in it.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

// Where processes run. Two that talk to each other stay where the scheduler once put them, on one
// processor or on two, and that decides about more time than anything in them: so both sides of a
// comparison are placed alike. With one processor the two are the same.
inline constexpr int kAnyCpu = -1;
int clientCpu();
int serverCpu();

// Keeps a thread on one processor while it lives; 0 is the calling one.
class OnCpu {
  public:
    explicit OnCpu(int cpu, pid_t thread = 0);
    ~OnCpu();
    OnCpu(const OnCpu&) = delete;
    OnCpu& operator=(const OnCpu&) = delete;

  private:
    pid_t mThread;
    cpu_set_t mFormer;
};

// A child; killed and awaited by its destructor.
class Process {
  public:
    struct Setup {
        std::map<std::string, std::string> environment = {};  // beyond, or instead of, our own
        std::vector<std::string> without = {};                // variables to take away
        std::optional<std::string> errorFile = {};            // standard error; else /dev/null
        int input = -1;                                       // standard input; else /dev/null
        int output = -1;                                      // standard output; else /dev/null
        int cpu = kAnyCpu;
    };

    // Runs a program. Throws Trouble when there can be no child; see wait() for the rest.
    static Process run(const std::vector<std::string>& arguments, const Setup& setup);
    // Runs a function in a copy of this process, which has none of its other threads: only system
    // calls and plain memory are safe in there.
    static Process fork(const std::function<void()>& body, int cpu = kAnyCpu);

    Process(Process&& other) noexcept;
    Process& operator=(Process&&) = delete;
    ~Process();

    pid_t pid() const { return mPid; }
    // When it was about to execute the program, by now().
    int64_t execTime() const { return mExecTime; }
    // Waits for its end; its exit status, 127 when the program could not be run.
    int wait();
    bool hasEnded();
    // Sends a signal; for SIGSTOP, returns when it has stopped.
    void signal(int number);

  private:
    explicit Process(pid_t pid) : mPid(pid) {}

    pid_t mPid;
    int64_t mExecTime = 0;
};

// Runs check again and again until it is true; false after the limit.
bool waitUntil(const std::function<bool()>& check, int limitMillis, int pauseMicros = 100);

void pauseMillis(int millis);

// Whether something listens at a Unix socket's path.
bool isListening(const std::string& path);

// Thread ids of a process; the one of a name, 0 when there is none.
std::vector<pid_t> threadsOf(pid_t pid);
pid_t threadNamed(pid_t pid, const std::string& name);

// How often its threads have gone to sleep so far.
uint64_t sleepsOf(pid_t pid);

struct Memory {
    double pss;           // KiB
    double pssOwnInFull;  // KiB, with files below a folder counted as if nobody shared them
};
Memory memoryOf(pid_t pid, const std::string& ownFolder);

// A file of the build by its path from the folder above this program's. Throws when missing.
std::string built(const std::string& path);
std::string buildFolder();

}  // namespace bench
