// SPDX-License-Identifier: Apache-2.0
// System calls of a call, as strace counts them in both processes.
#include <fmt/format.h>
#include <host/binder_host.h>
#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

#include "figures.h"
#include "raw_peer.h"
#include "service.h"

namespace bench {
namespace {

constexpr const char* kGroup = "system-calls";
constexpr const char* kStrace = "/usr/bin/strace";
constexpr int kFew = 200;

// The "calls" of the line that ends in "total".
double totalOf(const std::string& table) {
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        if (!line.ends_with(" total")) continue;
        std::istringstream words(line);
        std::string percent;
        std::string seconds;
        std::string perCall;
        double calls = 0;
        if (words >> percent >> seconds >> perCall >> calls) return calls;
    }
    throw Trouble("strace printed no total");
}

// System calls of this program in its hidden role, and of another process unless that is 0.
double systemCallsOf(pid_t other, int count, const std::string& socketPath) {
    test_support::Words words = {kStrace, "-f", "-c"};
    if (other != 0) words.insert(words.end(), {"-p", std::to_string(other)});
    words.insert(words.end(), {test_support::program("bench"), "--under-strace",
                               std::to_string(count), socketPath});
    test_support::Process strace(words);
    if (!strace.waitForOutput("done")) {
        throw Trouble("strace cannot be used here: " + strace.wait().err);
    }
    strace.signal(SIGINT);
    return totalOf(strace.wait().err);
}

// One call's: of many less those of few, which include all that is done once.
double systemCallsOfOne(pid_t other, int count, const std::string& socketPath = {}) {
    return (systemCallsOf(other, kFew + count, socketPath) -
            systemCallsOf(other, kFew, socketPath)) /
           count;
}

}  // namespace

int runUnderStrace(int count, const char* socketPath) {
    if (socketPath[0] == '\0') {
        PingPong raw({160, 100});
        for (int i = 0; i < count; ++i) raw.call();
    } else {
        const Proxy proxy = charger::IWirelessCharger::fromBinder(
            ndk::SpAIBinder(android::host::connectService(socketPath)));
        charger::FanInfo info;
        for (int i = 0; i < count; ++i) {
            if (!proxy->getFanInfo(0, &info).isOk()) throw Trouble("getFanInfo fails");
        }
    }
    fmt::print("done\n");
    std::fflush(stdout);
    return 0;
}

void measureSystemCalls(const Run& run) {
    const char* what = "of both processes a getFanInfo, warm";
    if (access(kStrace, X_OK) != 0) {
        run.add(skippedFigure(kGroup, what, "strace is not installed"));
        return;
    }
    const int count = run.pick(2000, 500);

    const Service service({});
    const double ours = systemCallsOfOne(service.pid(), count, service.socketPath());
    const double baseline = systemCallsOfOne(0, count);

    Figure figure = valueFigure(kGroup, what, "", ours, 5);
    figure.baseline = baseline;
    figure.baselineWhat = "a raw socket round trip; strace -f -c over many calls";
    // A thread that strace finds asleep begins its system call again, which counts once more.
    figure.result = std::floor(figure.measured * 10 + 0.5) / 10;
    run.add(figure);
}

}  // namespace bench
