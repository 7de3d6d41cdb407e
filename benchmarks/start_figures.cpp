// SPDX-License-Identifier: Apache-2.0
// Starting and idling.
#include <stdio.h>
#include <stdlib.h>
#include <testing/charger_system.h>
#include <unistd.h>

#include <string>

#include "figures.h"
#include "raw_peer.h"

namespace bench {
namespace {

constexpr const char* kGroup = "start";
constexpr double kMilli = 1e6;
constexpr int kSettleMillis = 300;

// A program that listens on a socket.
class Server {
  public:
    Server(const std::string& program, const std::string& socketPath)
        : mProcess([&] {
              setenv("LD_LIBRARY_PATH", helper("").c_str(), 1);
              freopen("/dev/null", "a", stderr);
              const int64_t begin = now();
              writeAll(mPipe.theirs.get(), &begin, sizeof(begin));
              execl(program.c_str(), program.c_str(), socketPath.c_str(), nullptr);
          }) {
        int64_t begin = 0;
        if (!readAll(mPipe.ours.get(), &begin, sizeof(begin)) ||
            !waitUntil([&] { return isListening(socketPath); }, 10000)) {
            throw Trouble(program + " does not start");
        }
        mStartTime = static_cast<double>(now() - begin);
    }
    pid_t pid() const { return mProcess.pid(); }
    // From executing the program until its socket accepted a connection, in nanoseconds.
    double startTime() const { return mStartTime; }

  private:
    const SocketPair mPipe;
    const Fork mProcess;
    double mStartTime = 0;
};

// Each in a new folder, which goes with it.
struct StartedService {
    const test_support::ChargerSystem home;
    // The service ignores its argument.
    const Server server{test_support::program("vendor.zorvak.wireless_charger-service"),
                        home.socketPath()};
};
struct StartedRawServer {
    const test_support::ChargerSystem home;
    const Server server{helper("raw_server"), home.folder() + "/raw"};
};

Figure compared(const char* what, const char* unit, double value, double baseline, double target) {
    Figure figure = valueFigure(kGroup, what, unit, value, target);
    figure.baseline = baseline;
    figure.baselineWhat = "a program of the same language that listens on a socket";
    return figure;
}

}  // namespace

void measureStart(const Run& run) {
    const Pair time = inTurns(
        run.pick(15, 5), [] { return StartedService().server.startTime(); },
        [] { return StartedRawServer().server.startTime(); });
    run.add(
        compared("exec to registered", "ms", time.measured / kMilli, time.baseline / kMilli, 10));

    const StartedService service;
    const StartedRawServer raw;
    const pid_t ours = service.server.pid();
    const pid_t bare = raw.server.pid();
    pauseMillis(kSettleMillis);
    const Memory memory = memoryOf(ours);
    const Memory rawMemory = memoryOf(bare);
    const double limit = 4 * 1024;
    run.add(compared("idle memory, PSS", "KiB", memory.pss, rawMemory.pss, limit));
    run.add(compared("the same, its own files counted as unshared", "KiB", memory.pssOwnInFull,
                     rawMemory.pssOwnInFull, limit));

    const uint64_t sleeps = sleepsOf(ours);
    const uint64_t rawSleeps = sleepsOf(bare);
    pauseMillis(run.pick(4000, 1500));
    run.add(compared("wake-ups while idle", "", static_cast<double>(sleepsOf(ours) - sleeps),
                     static_cast<double>(sleepsOf(bare) - rawSleeps), 0));
}

}  // namespace bench
