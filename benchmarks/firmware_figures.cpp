// SPDX-License-Identifier: Apache-2.0
// A firmware update: chunk by chunk through a proxy, and by wlc as people run it.
#include <fmt/format.h>

#include <vector>

#include "figures.h"
#include "raw_peer.h"
#include "service.h"

namespace bench {
namespace {

constexpr size_t kChunkSize = 252;

struct ChunkCall {
    const Proxy proxy;
    int32_t number = 0;
    const std::vector<uint8_t> data = std::vector<uint8_t>(kChunkSize, 0x5A);
    void operator()() {
        int32_t next = 0;
        if (!proxy->sendFwChunk(0, number++ & 0xFFFF, 0, data, &next).isOk()) {
            throw Trouble("sendFwChunk fails");
        }
    }
};

void addFigure(const Run& run, std::string what, const PingPong& raw, const Pair& pair) {
    Figure figure = ratioFigure("firmware", std::move(what), raw.describe(), 1.4, pair);
    figure.note =
        fmt::format("{:.0f} chunks a second; raw {:.0f}", 1e9 / pair.measured, 1e9 / pair.baseline);
    run.add(figure);
}

void measureThroughProxy(const Run& run, const Service& service, PingPong& raw, const char* logs) {
    ChunkCall call{service.connect()};
    const int count = run.pick(600, 200);
    const Pair pair = inTurns(
        run.pick(9, 5), [&] { return meanTime(count, call); },
        [&] { return meanTime(count, [&] { raw.call(); }); });
    addFigure(run, fmt::format("sendFwChunk, two processes, {}", logs), raw, pair);
}

// Time that `wlc firmware update` takes for an image of so many chunks.
double updateTime(const Service& service, size_t chunks) {
    const std::string image =
        service.file(fmt::format("image{}", chunks), std::string(chunks * kChunkSize, 'x'));
    const int64_t begin = now();
    const auto wlc = test_support::run({test_support::program("wlc"), "firmware", "update", image});
    if (wlc.exitStatus != 0) throw Trouble("wlc firmware update fails");
    return static_cast<double>(now() - begin);
}

void measureUpdate(const Run& run, const Service& service, PingPong& raw, const char* logs) {
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
    addFigure(run, fmt::format("wlc firmware update, a chunk, {}", logs), raw, pair);
}

}  // namespace

void measureFirmware(const Run& run) {
    const OnCpu here(clientCpu());
    for (const bool logging : {true, false}) {
        Service service({.logs = logging, .cpu = serverCpu()});
        ChunkCall call{service.connect()};
        for (int i = 0; i < 200; ++i) call();
        PingPong raw(wireSizes(100, call), serverCpu());
        const char* logs = logging ? "2 log lines" : "log off";
        measureThroughProxy(run, service, raw, logs);
        measureUpdate(run, service, raw, logs);
    }
}

}  // namespace bench
