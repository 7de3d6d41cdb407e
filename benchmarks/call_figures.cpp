// SPDX-License-Identifier: Apache-2.0
// Calls between two processes: getFanInfo, and the certificate chain.
#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "figures.h"
#include "heap_counter.h"
#include "protocol/chargelink.h"
#include "raw_peer.h"
#include "service.h"

namespace bench {
namespace {

constexpr const char* kFan = "fan-call";
constexpr int kWarmUp = 300;
constexpr int kHeapBatches = 5;

struct FanCall {
    const Proxy proxy;
    charger::FanInfo info;
    void operator()() {
        if (!proxy->getFanInfo(0, &info).isOk() || !info.valid) throw Trouble("getFanInfo fails");
    }
};

void measureFan(const Run& run, int cpu, const char* where) {
    const OnCpu here(clientCpu());
    Service service({.cpu = cpu});
    FanCall call{service.connect(), {}};
    for (int i = 0; i < kWarmUp; ++i) call();
    PingPong raw(wireSizes(1000, call), cpu);
    for (int i = 0; i < kWarmUp; ++i) raw.call();
    const int count = run.pick(2000, 400);
    const int rounds = run.pick(15, 7);
    const auto rawCall = [&] { raw.call(); };
    const Pair time = inTurns(
        rounds, [&] { return medianTime(count, call); },
        [&] { return medianTime(count, rawCall); });
    run.add(ratioFigure(kFan, fmt::format("getFanInfo, two processes on {}, median", where),
                        raw.describe(), 1.25, time));
    const Pair cpuTime = inTurns(
        rounds, [&] { return cpuOfCall(service.pid(), count, call); },
        [&] { return cpuOfCall(raw.pid(), count, rawCall); });
    run.add(ratioFigure(kFan, fmt::format("CPU time of both processes on {}, a call", where),
                        raw.describe(), 1.4, cpuTime));
}

void measureFanAllocations(const Run& run) {
    Service service({.countsHeap = true});
    FanCall call{service.connect(), {}};
    for (int i = 0; i < kWarmUp; ++i) call();
    // In batches: the service may start a further thread during one.
    const int count = run.pick(1000, 300);
    uint64_t all = 0;
    std::vector<double> batches;
    for (int batch = 0; batch < kHeapBatches; ++batch) {
        const uint64_t theirs = service.heapAllocations();
        const uint64_t ours = heapAllocations();
        for (int i = 0; i < count; ++i) call();
        const uint64_t sum = heapAllocations() - ours + service.heapAllocations() - theirs;
        batches.push_back(static_cast<double>(sum) / count);
        all += sum;
    }
    Figure figure =
        valueFigure(kFan, "heap allocations a call, both processes, warm", "", median(batches), 0);
    figure.note = fmt::format("median of {} batches; {} in all {} calls", kHeapBatches, all,
                              kHeapBatches * count);
    run.add(figure);
}

// The chain as the service reads it: pieces of 127 bytes.
void readChainFromLibrary() {
    uint8_t area[2044];
    for (size_t offset = 0; offset < 1058;) {
        const size_t piece = std::min<size_t>(127, 1058 - offset);
        const uint8_t request[] = {
            0x1A, static_cast<uint8_t>((offset >> 3 & 0xE0) | (piece >> 6 & 0x1C)),
            static_cast<uint8_t>(offset & 0xFF), static_cast<uint8_t>(piece)};
        size_t length = sizeof(area);
        if (sendWpcAuthRequest(0x1A, request, sizeof(request), area, &length, 0) != 0) {
            throw Trouble("the instant library refuses a certificate request");
        }
        offset += length - 1;
    }
}

void measureCertificate(const Run& run, bool logs) {
    const OnCpu here(clientCpu());
    Service service({.logs = logs, .cpu = serverCpu()});
    const Proxy proxy = service.connect();
    std::vector<uint8_t> chain;
    auto call = [&] {
        if (!proxy->getWpcAuthCertificate(0, 0, 0, &chain).isOk() || chain.size() != 1058) {
            throw Trouble("getWpcAuthCertificate fails");
        }
    };
    for (int i = 0; i < kWarmUp; ++i) call();
    PingPong raw(wireSizes(100, call), serverCpu());
    const int count = run.pick(400, 100);
    const Pair pair = inTurns(
        run.pick(9, 5), [&] { return medianTime(count, call); },
        [&] {
            return medianTime(count, [&] {
                readChainFromLibrary();
                raw.call();
            });
        });
    run.add(ratioFigure("certificate",
                        logs ? "1,058-byte chain, with 18 log lines" : "1,058-byte chain, log off",
                        "9 calls of the library and " + raw.describe(), 1.3, pair));
}

}  // namespace

void measureCalls(const Run& run) {
    measureFan(run, serverCpu(), "two CPUs");
    if (serverCpu() != clientCpu()) measureFan(run, clientCpu(), "one CPU");
    measureFanAllocations(run);
}

void measureCertificate(const Run& run) {
    measureCertificate(run, true);
    measureCertificate(run, false);
}

}  // namespace bench
