// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace wlc {

// How a program ended and what it said.
struct Outcome {
    int exitStatus = -1;  // -1: by a signal, or killed because its time was up
    int signal = 0;
    std::string out;
    std::string err;
};

// Generous: a sanitizer build on a busy machine has to make it.
inline constexpr std::chrono::seconds kLimit(60);

// A program in another process, with standard input from nowhere and this process's environment. It
// dies with the thread that made it, and at the latest with this object.
class Process {
  public:
    // What it says is read while something waits for it. A program that says much meanwhile, and
    // would stop when nobody reads, gets a file for all of it instead.
    explicit Process(const std::vector<std::string>& command, const std::string& file = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return mPid; }
    void signal(int number) const;

    // Waits until standard output (or standard error) holds a text. False when the program ends or
    // the limit passes first.
    bool waitForOutput(const std::string& text) { return waitFor(&mOutcome.out, text); }
    bool waitForError(const std::string& text) { return waitFor(&mOutcome.err, text); }

    // Waits for the end; kills what does not end within the limit.
    Outcome wait();

  private:
    bool waitFor(const std::string* where, const std::string& text);
    // Reads what has come, waiting for some until the deadline. False at the end of both pipes.
    bool readSome(std::chrono::steady_clock::time_point deadline);

    pid_t mPid = -1;
    int mOut = -1;
    int mErr = -1;
    Outcome mOutcome;
};

// Runs a program to its end.
Outcome run(const std::vector<std::string>& command);

}  // namespace wlc
