// SPDX-License-Identifier: Apache-2.0
//
// Processes that tests start, and waiting for what they do.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace test_support {

using Words = std::vector<std::string>;

// How a program ended and what it printed.
struct Outcome {
    int exitStatus = -1;  // -1: ended by a signal, or killed at the limit
    int signal = 0;
    std::string out;
    std::string err;
};

// Generous: a sanitizer build on a busy machine has to make it.
inline constexpr std::chrono::seconds kLimit(60);

// Waits until the condition holds; false when it still does not at the limit.
bool eventually(const std::function<bool()>& holds, std::chrono::seconds limit = kLimit);

// Whether the process exists and has not ended.
bool isRunning(pid_t pid);

// Whether this process has no children, zombies included.
bool hasNoChildren();

// A program in a process of its own, with an empty standard input and this process's environment.
// It is killed when the thread that made it ends, and at the latest with this object. One thread.
class Process {
  public:
    // `command` is the program's path and its arguments. Output is read while a method waits; a
    // program that must not block on unread output gets a `file` to append all of it to instead.
    explicit Process(const Words& command, const std::string& file = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return mPid; }
    void signal(int number) const;

    // Waits until standard output (standard error) contains the text. False when the program ends
    // or the limit passes first.
    bool waitForOutput(const std::string& text) { return waitFor(mOutcome.out, text); }
    bool waitForError(const std::string& text) { return waitFor(mOutcome.err, text); }

    // Waits for the end; kills the program at the limit.
    Outcome wait();

  private:
    bool waitFor(const std::string& printed, const std::string& text);
    // Waits for output and reads it. False at the end of both pipes and at the deadline.
    bool readSome(std::chrono::steady_clock::time_point deadline);

    pid_t mPid = -1;
    int mOut = -1;
    int mErr = -1;
    Outcome mOutcome;
};

// Runs a program to its end.
Outcome run(const Words& command);

}  // namespace test_support
