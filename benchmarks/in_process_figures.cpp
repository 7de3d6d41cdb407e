// SPDX-License-Identifier: Apache-2.0
// Methods called in the process of the service: what it adds to the library's own time.
#include <android/log.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <testing/charger_system.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "WirelessCharger.h"
#include "figures.h"
#include "heap_counter.h"
#include "process.h"
#include "protocol/chargelink.h"
#include "protocol/reverselink.h"

namespace bench {
namespace {

namespace charger = aidl::vendor::zorvak::wireless_charger;
using charger::WirelessCharger;

constexpr const char* kGroup = "in-process";

// The one object; its event thread uses it until the process ends. Nobody sends it uevents.
WirelessCharger& service() {
    static const test_support::ChargerSystem home;
    static const auto* const instance =
        new std::shared_ptr<WirelessCharger>(ndk::SharedRefBase::make<WirelessCharger>());
    return **instance;
}

// Logs from a priority on, to /dev/null, while it lives.
class LogFrom {
  public:
    explicit LogFrom(int32_t priority)
        : mFormer(__android_log_set_minimum_priority(priority)),
          mKept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
        dup2(Fd(open("/dev/null", O_WRONLY | O_CLOEXEC)).get(), STDERR_FILENO);
    }
    ~LogFrom() {
        __android_log_set_minimum_priority(mFormer);
        dup2(mKept.get(), STDERR_FILENO);
    }
    LogFrom(const LogFrom&) = delete;
    LogFrom& operator=(const LogFrom&) = delete;

  private:
    const int32_t mFormer;
    const Fd mKept;
};

template <typename Method>
void call(const char* name, Method&& method) {
    if (!method().isOk()) throw Trouble(std::string(name) + " fails");
}

// An area for the bare library calls; kept from the optimizer by being visible to the library.
uint8_t gArea[256];

size_t bidi(int32_t type, size_t requestLength) {
    size_t length = sizeof(gArea);
    sendBidiRequest(type, gArea, requestLength, gArea, &length);
    return length;
}

struct Case {
    const char* name;
    const char* library;  // what `bare` calls
    double target;
    double allocations;  // allowed for a call
    const char* allocationsNote = "";
};

// The method, which returns a status, against the library calls that it makes.
template <typename Method, typename Bare>
void measureMethod(const Run& run, const Case& one, const std::string& suffix, int loops,
                   Method method, Bare bare) {
    const auto ours = [&] { call(one.name, method); };
    const Pair pair = inTurns(
        run.pick(15, 7), [&] { return meanTime(loops, ours); },
        [&] { return meanTime(loops, bare); });
    run.add(pairFigure(Judged::kBeyond, kGroup, one.name + suffix,
                       std::string("the library alone, ") + one.library, "ns", pair, 1,
                       one.target));
    constexpr int kCount = 1000;
    const uint64_t before = heapAllocations();
    for (int i = 0; i < kCount; ++i) ours();
    Figure figure =
        valueFigure(kGroup, one.name + suffix + ": heap allocations", "",
                    static_cast<double>(heapAllocations() - before) / kCount, one.allocations);
    figure.note = one.allocationsNote;
    run.add(figure);
}

void measureRtx(const Run& run) {
    const Pair pair = inTurns(
        run.pick(15, 7),
        [] {
            return meanTime(2000, [] {
                charger::RtxStatusInfo info;
                call("getRtxInformation", [&] { return service().getRtxInformation(&info); });
            });
        },
        [] {
            return meanTime(2000, [] {
                RtxAnswer answer;
                for (const int32_t type : {2, 5, 6, 7, 8, 9, 10}) sendRtxRequest(type, &answer);
            });
        });
    run.add(pairFigure(Judged::kValue, kGroup, "getRtxInformation",
                       "the library alone, 7 calls; the target is for the whole", "ns", pair, 1,
                       1000));
}

// Sizes of the writes of one dump: each write to such a pipe is a packet.
std::vector<size_t> writesOfDump() {
    int ends[2];
    if (pipe2(ends, O_DIRECT | O_CLOEXEC | O_NONBLOCK) != 0) throw Trouble("cannot make a pipe");
    const Fd out(ends[0]);
    const Fd in(ends[1]);
    service().dump(in.get(), nullptr, 0);
    std::vector<size_t> sizes;
    char area[4096];
    for (ssize_t size; (size = read(out.get(), area, sizeof(area))) > 0;) {
        sizes.push_back(static_cast<size_t>(size));
    }
    return sizes;
}

}  // namespace

void measureInProcess(const Run& run) {
    const OnCpu here(clientCpu());
    // A log line costs system calls: without them first, then with them.
    const LogFrom quiet(ANDROID_LOG_WARN);
    constexpr int kLoops = 4000;
    constexpr const char* kLongText = "one of its texts has 24 characters";
    uint32_t number;

    charger::FanInfo fan;
    measureMethod(
        run, {"getFanInfo", "1 call", 150, 0}, "", kLoops,
        [&] { return service().getFanInfo(0, &fan); }, [] { bidi(12, 2); });
    measureMethod(
        run, {"getInformation", "1 call and 5 look-ups", 1000, 1, kLongText}, "", kLoops,
        [] {
            charger::DockInfo info;
            return service().getInformation(&info);
        },
        [] {
            const size_t length = bidi(0, 0);
            const uint8_t* value = nullptr;
            uint8_t size = 0;
            for (int32_t tag = 0; tag < 5; ++tag) getPacketTlv(gArea, length, tag, &value, &size);
        });
    measureMethod(
        run, {"getDockInformation", "1 call", 200, 1, kLongText}, "", kLoops,
        [] {
            charger::DockInfo info;
            return service().getDockInformation(&info);
        },
        [&] { getWlcInfo(1, &number); });
    measureMethod(
        run, {"getPowerInformation", "3 calls", 200, 0}, "", kLoops,
        [] {
            charger::PowerInfo info;
            return service().getPowerInformation(&info);
        },
        [&] {
            for (const int32_t selector : {2, 3, 4}) getWlcInfo(selector, &number);
        });
    const auto sendChunk = [chunk = std::vector<uint8_t>(252, 0x5A), sent = 0]() mutable {
        int32_t next = 0;
        return service().sendFwChunk(0, sent++ & 0xFFFF, 0, chunk, &next);
    };
    const auto sendBare = [] {
        size_t length = sizeof(gArea);
        gArea[0] = 0;
        sendPropRequest(26, gArea, 256, gArea, &length, 60000);
    };
    const Case chunk = {"sendFwChunk, 252 bytes", "1 call", 200, 0};
    measureMethod(run, chunk, ", log off", kLoops, sendChunk, sendBare);
    {
        const LogFrom loud(ANDROID_LOG_INFO);
        measureMethod(run, chunk, ", 2 log lines", 400, sendChunk, sendBare);
    }
    measureRtx(run);
}

void measureDump(const Run& run) {
    const OnCpu here(clientCpu());
    const LogFrom quiet(ANDROID_LOG_WARN);
    const std::vector<size_t> sizes = writesOfDump();
    if (sizes.empty()) throw Trouble("the dump writes nothing");
    const Fd null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    const std::string text(4096, 'x');
    const Pair pair = inTurns(
        run.pick(15, 7),
        [&] { return meanTime(300, [&] { service().dump(null.get(), nullptr, 0); }); },
        [&] {
            return meanTime(300, [&] {
                for (const size_t size : sizes) {
                    if (dprintf(null.get(), "%.*s", static_cast<int>(size), text.data()) < 0) {
                        throw Trouble("no /dev/null");
                    }
                }
            });
        });
    run.add(ratioFigure("dump", "without subscribers, in the process, to /dev/null",
                        fmt::format("{} bare dprintfs of the same sizes", sizes.size()), 3, pair));
}

}  // namespace bench
