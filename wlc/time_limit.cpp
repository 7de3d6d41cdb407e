// SPDX-License-Identifier: Apache-2.0
#include "time_limit.h"

#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <string>

#include "failure.h"

namespace wlc {
namespace {

using Clock = std::chrono::steady_clock;

// Setting the timer is a system call, too expensive for each chunk of an update.
constexpr std::chrono::milliseconds kGrain(50);

double gSeconds = 0;
Clock::time_point gBegan;
std::atomic<Clock::rep> gAnswered{0};
// What the signal handler writes, and to which descriptor.
std::string gText;
int gOutput = STDERR_FILENO;

void onTimeUp(int) {
    pollfd ready = {gOutput, POLLOUT, 0};
    if (poll(&ready, 1, 0) == 1) {
        [[maybe_unused]] const ssize_t written = write(gOutput, gText.data(), gText.size());
    }
    _exit(kNoService);
}

void setTimer(double seconds) {
    itimerval timer = {};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    timer.it_value.tv_usec = static_cast<suseconds_t>((seconds - std::floor(seconds)) * 1e6);
    setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

void limitAnswerTime(double seconds, bool json) {
    unlimitAnswerTime();
    const std::string message = fmt::format(
        "no answer from the service within {:g} s; use --timeout SECONDS to wait longer", seconds);
    const Json error = {{"error", {{"code", 0}, {"name", "NO_ANSWER"}, {"message", message}}}};
    gText = (json ? toText(error) : "wlc: " + message) + "\n";
    gOutput = json ? STDOUT_FILENO : STDERR_FILENO;
    gSeconds = seconds;
    gBegan = Clock::now();
    struct sigaction action = {};
    action.sa_handler = onTimeUp;
    sigaction(SIGALRM, &action, nullptr);
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGALRM);
    sigprocmask(SIG_UNBLOCK, &set, nullptr);
    setTimer(seconds);
}

void noteAnswer() {
    const auto now = Clock::now();
    gAnswered = now.time_since_epoch().count();
    if (gSeconds == 0) return;
    if (now - gBegan < kGrain) return;
    gBegan = now;
    setTimer(gSeconds);
}

Clock::time_point latestAnswer() {
    return Clock::time_point(Clock::duration(gAnswered));
}

void unlimitAnswerTime() {
    gSeconds = 0;
    setTimer(0);
}

}  // namespace wlc
