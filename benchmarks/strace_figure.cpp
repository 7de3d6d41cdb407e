// SPDX-License-Identifier: Apache-2.0
// System calls of a call, as strace counts them in both processes.
#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "figures.h"
#include "raw_peer.h"
#include "service_process.h"

namespace bench {
namespace {

constexpr const char* kGroup = "system-calls";
constexpr const char* kStrace = "/usr/bin/strace";

std::string contents(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

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

// System calls of two running processes while `work` runs.
template <typename Work>
double systemCallsDuring(pid_t one, pid_t other, Work work) {
    const TempFolder folder;
    const std::string table = folder.path() + "/table";
    const std::string errors = folder.path() + "/errors";
    Process strace = Process::run(
        {kStrace, "-f", "-c", "-o", table, "-p", std::to_string(one), "-p", std::to_string(other)},
        {.errorFile = errors});
    auto attached = [&](pid_t pid) {
        return contents(errors).find(fmt::format("Process {} attached", pid)) != std::string::npos;
    };
    if (!waitUntil([&] { return attached(one) && attached(other); }, 5000, 5000)) {
        throw Trouble("strace may not attach here");
    }
    work();
    strace.signal(SIGINT);
    strace.wait();
    return totalOf(contents(table));
}

// A client in a process of its own that makes as many calls as it is told.
struct Client {
    SocketPair sockets;
    std::unique_ptr<Process> process;

    void call(int32_t count) {
        char done = 0;
        if (!writeAll(sockets.ours.get(), &count, sizeof(count)) ||
            !readAll(sockets.ours.get(), &done, 1)) {
            throw Trouble("the client under strace has gone");
        }
    }
};

// Serves Client::call.
template <typename Call>
void obey(int fd, Call call) {
    for (int32_t count; readAll(fd, &count, sizeof(count));) {
        for (int32_t i = 0; i < count; ++i) call();
        if (!writeAll(fd, "", 1)) return;
    }
}

// A call's, in the client and another process: of many calls less those of none.
double systemCallsOf(Client& client, pid_t other, int count) {
    const pid_t pid = client.process->pid();
    const double none = systemCallsDuring(other, pid, [&] { client.call(0); });
    return (systemCallsDuring(other, pid, [&] { client.call(count); }) - none) / count;
}

}  // namespace

int runFanClient(const char* socketPath) {
    const Proxy proxy = connectTo(socketPath);
    charger::FanInfo info;
    obey(STDIN_FILENO, [&] {
        if (!proxy->getFanInfo(0, &info).isOk()) throw Trouble("getFanInfo fails");
    });
    return 0;
}

void measureSystemCalls(const Run& run) {
    const char* what = "of both processes a getFanInfo, warm";
    if (access(kStrace, X_OK) != 0) {
        run.add(skippedFigure(kGroup, what, "strace is not installed"));
        return;
    }
    const int count = run.pick(2000, 500);

    ServiceProcess service({});
    Client client;
    client.process = std::make_unique<Process>(
        Process::run({built("bin/bench"), "--serve-fan-client", service.socketPath()},
                     {.input = client.sockets.theirs.get()}));
    client.sockets.theirs.reset();
    client.call(200);
    const double ours = systemCallsOf(client, service.pid(), count);

    PingPong raw({160, 100}, kAnyCpu);
    Client rawClient;
    const int fd = rawClient.sockets.theirs.get();
    const int other = rawClient.sockets.ours.get();
    rawClient.process = std::make_unique<Process>(Process::fork([&, fd, other] {
        close(other);
        obey(fd, [&] { raw.call(); });
    }));
    rawClient.sockets.theirs.reset();
    rawClient.call(200);
    const double baseline = systemCallsOf(rawClient, raw.pid(), count);

    Figure figure = valueFigure(kGroup, what, "", ours, 5);
    figure.baseline = baseline;
    figure.baselineWhat = "a raw socket round trip; strace -f -c over many calls";
    // A thread that strace finds asleep begins its system call again, which counts once more.
    figure.result = std::floor(figure.measured * 10 + 0.5) / 10;
    run.add(figure);
}

}  // namespace bench
