// SPDX-License-Identifier: Apache-2.0
// Where processes run, copies of this one, and what the kernel says of a process.
#pragma once

#include <android-base/unique_fd.h>
#include <sched.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>

namespace bench {

// What cannot be measured on this machine, or went wrong; the message is for people.
using Trouble = std::runtime_error;

using Fd = android::base::unique_fd;

// Where processes run. Two that talk to each other stay where the scheduler once put them, on one
// processor or on two, and that decides about more time than anything in them: so both sides of a
// comparison are placed alike. With one processor the two are the same.
int clientCpu();
int serverCpu();

// Keeps a thread, and what it starts meanwhile, on one processor while it lives; 0 is the calling
// one.
class OnCpu {
  public:
    explicit OnCpu(int cpu, pid_t thread = 0);
    ~OnCpu();
    OnCpu(const OnCpu&) = delete;
    OnCpu& operator=(const OnCpu&) = delete;

  private:
    const pid_t mThread;
    cpu_set_t mFormer;
};

// Runs a function in a copy of this process, which has none of its other threads: only system calls
// and plain memory are safe in there. On one processor, or where this thread may. Killed by the
// destructor, and with this process.
class Fork {
  public:
    explicit Fork(const std::function<void()>& body, std::optional<int> cpu = {});
    ~Fork();
    Fork(const Fork&) = delete;
    Fork& operator=(const Fork&) = delete;
    pid_t pid() const { return mPid; }

  private:
    pid_t mPid;
};

// Stops a child; returns when it has stopped.
void stopProcess(pid_t pid);

// Runs check every 0.1 ms until it is true; false after the limit.
bool waitUntil(const std::function<bool()>& check, int limitMillis);

void pauseMillis(int millis);

// The id of the thread of a name; 0 when there is none.
pid_t threadNamed(pid_t pid, const std::string& name);

// How often its threads have gone to sleep so far.
uint64_t sleepsOf(pid_t pid);

struct Memory {
    double pss;           // KiB
    double pssOwnInFull;  // KiB, with files of this build counted as if nobody shared them
};
Memory memoryOf(pid_t pid);

// Where the build keeps what only the benchmark uses.
std::string helper(const std::string& name);

}  // namespace bench
