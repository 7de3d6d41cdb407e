// SPDX-License-Identifier: Apache-2.0
// A firmware update: chunk by chunk through a proxy, and by wlc as people run it.
#include <fmt/format.h>

#include <fstream>
#include <vector>

#include "figures.h"
#include "raw_peer.h"
#include "service_process.h"

namespace bench {
namespace {

constexpr const char* kGroup = "firmware";
constexpr size_t kChunkSize = 252;
constexpr double kTarget = 1.4;

class ChunkCall {
  public:
    explicit ChunkCall(Proxy proxy) : mProxy(std::move(proxy)) {}
    void operator()() {
        int32_t next = 0;
        if (!mProxy->sendFwChunk(0, mNumber++ & 0xFFFF, 0, mData, &next).isOk()) {
            throw Trouble("sendFwChunk fails");
        }
    }

  private:
    Proxy mProxy;
    int32_t mNumber = 0;
    std::vector<uint8_t> mData = std::vector<uint8_t>(kChunkSize, 0x5A);
};

std::string perSecond(const Pair& pair) {
    return fmt::format("{:.0f} chunks a second; raw {:.0f}", 1e9 / pair.measured,
                       1e9 / pair.baseline);
}

void measureThroughProxy(const Run& run, const ServiceProcess& service, PingPong& raw,
                         const char* logs) {
    ChunkCall call(service.connect());
    const int count = run.pick(600, 200);
    const Pair pair = inTurns(
        run.pick(9, 5), [&] { return meanTime(count, call); },
        [&] { return meanTime(count, [&] { raw.call(); }); });
    Figure figure =
        pairFigure(Judged::kRatio, kGroup, fmt::format("sendFwChunk, two processes, {}", logs),
                   raw.describe(), "us", pair, 1000, kTarget);
    figure.note = perSecond(pair);
    run.add(figure);
}

// Time that `wlc firmware update` takes for an image of so many chunks.
double updateTime(const ServiceProcess& service, size_t chunks) {
    const std::string image = fmt::format("{}/image{}", service.folder(), chunks);
    std::ofstream(image) << std::string(chunks * kChunkSize, 'x');
    const int64_t begin = now();
    Process wlc =
        Process::run({built("bin/wlc"), "firmware", "update", image},
                     {.environment = {{"ANDROID_HOST_DIR", service.folder()}}, .cpu = clientCpu()});
    if (wlc.wait() != 0) throw Trouble("wlc firmware update fails");
    return static_cast<double>(now() - begin);
}

void measureUpdate(const Run& run, const ServiceProcess& service, PingPong& raw, const char* logs) {
    // The difference of two updates is free of what starting the program and its pauses cost. The
    // short one goes first: a processor is faster after a pause, and both sides are to have one.
    const size_t few = 100;
    const size_t more = static_cast<size_t>(run.pick(2000, 1000));
    const Pair pair = inTurns(
        run.pick(5, 3),
        [&] {
            const double start = updateTime(service, few);
            return (updateTime(service, few + more) - start) / static_cast<double>(more);
        },
        [&] {
            updateTime(service, few);
            return meanTime(static_cast<int>(more), [&] { raw.call(); });
        });
    Figure figure =
        pairFigure(Judged::kRatio, kGroup, fmt::format("wlc firmware update, a chunk, {}", logs),
                   raw.describe(), "us", pair, 1000, kTarget);
    figure.note = perSecond(pair);
    run.add(figure);
}

}  // namespace

void measureFirmware(const Run& run) {
    const OnCpu here(clientCpu());
    for (const bool logging : {true, false}) {
        ServiceProcess service({.logs = logging, .cpu = serverCpu()});
        ChunkCall call(service.connect());
        for (int i = 0; i < 200; ++i) call();
        PingPong raw(wireSizes(100, call), serverCpu());
        const char* logs = logging ? "2 log lines" : "log off";
        measureThroughProxy(run, service, raw, logs);
        measureUpdate(run, service, raw, logs);
    }
}

}  // namespace bench
