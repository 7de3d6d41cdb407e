// SPDX-License-Identifier: Apache-2.0
// Starting and idling.
#include <unistd.h>

#include <filesystem>

#include "figures.h"
#include "service_process.h"

namespace bench {
namespace {

constexpr const char* kGroup = "start";
constexpr double kMilli = 1e6;
constexpr int kSettleMillis = 300;

class RawServer {
  public:
    RawServer() : mProcess(Process::run({built("lib/bench/raw_server"), path()}, {})) {
        if (!waitUntil([&] { return isListening(path()); }, 10000)) {
            throw Trouble("the raw server does not start");
        }
        mStartTime = now() - mProcess.execTime();
    }
    pid_t pid() const { return mProcess.pid(); }
    int64_t startTime() const { return mStartTime; }

  private:
    std::string path() const { return mFolder.path() + "/raw"; }

    TempFolder mFolder;
    Process mProcess;
    int64_t mStartTime = 0;
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
        run.pick(15, 5), [] { return static_cast<double>(ServiceProcess({}).startTime()); },
        [] { return static_cast<double>(RawServer().startTime()); });
    run.add(
        compared("exec to registered", "ms", time.measured / kMilli, time.baseline / kMilli, 10));

    ServiceProcess service({});
    const RawServer raw;
    pauseMillis(kSettleMillis);
    const std::string own = buildFolder();
    const Memory memory = memoryOf(service.pid(), own);
    const Memory rawMemory = memoryOf(raw.pid(), own);
    const double limit = 4 * 1024;
    run.add(compared("idle memory, PSS", "KiB", memory.pss, rawMemory.pss, limit));
    run.add(compared("the same, its own files counted as unshared", "KiB", memory.pssOwnInFull,
                     rawMemory.pssOwnInFull, limit));

    const uint64_t sleeps = sleepsOf(service.pid());
    const uint64_t rawSleeps = sleepsOf(raw.pid());
    pauseMillis(run.pick(4000, 1500));
    run.add(compared("wake-ups while idle", "",
                     static_cast<double>(sleepsOf(service.pid()) - sleeps),
                     static_cast<double>(sleepsOf(raw.pid()) - rawSleeps), 0));
}

}  // namespace bench
