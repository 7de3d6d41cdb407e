// SPDX-License-Identifier: Apache-2.0
// Methods called in the process of the service: what it adds to the library's own time.
#include <android/log.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

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

// The one object; its event thread uses it until the process ends.
WirelessCharger& service() {
    static const auto* const instance =
        new std::shared_ptr<WirelessCharger>(ndk::SharedRefBase::make<WirelessCharger>());
    return **instance;
}

// Keeps log lines that are no warnings back while it lives.
class QuietLog {
  public:
    QuietLog() : mFormer(__android_log_set_minimum_priority(ANDROID_LOG_WARN)) {}
    ~QuietLog() { __android_log_set_minimum_priority(mFormer); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

  private:
    const int32_t mFormer;
};

// Lets log lines through while it lives, to /dev/null.
class LogToNowhere {
  public:
    LogToNowhere() : mKept(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
        const Fd null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        dup2(null.get(), STDERR_FILENO);
        mFormer = __android_log_set_minimum_priority(ANDROID_LOG_INFO);
    }
    ~LogToNowhere() {
        __android_log_set_minimum_priority(mFormer);
        dup2(mKept.get(), STDERR_FILENO);
    }
    LogToNowhere(const LogToNowhere&) = delete;
    LogToNowhere& operator=(const LogToNowhere&) = delete;

  private:
    int32_t mFormer = 0;
    const Fd mKept;
};

void check(const ndk::ScopedAStatus& status, const char* method) {
    if (!status.isOk()) throw Trouble(std::string(method) + " fails");
}

template <typename Call>
double allocationsOf(int count, Call call) {
    call();
    const uint64_t before = heapAllocations();
    for (int i = 0; i < count; ++i) call();
    return static_cast<double>(heapAllocations() - before) / count;
}

// Areas for the bare library calls; kept from the optimizer by being visible to the library.
struct Area {
    uint8_t bytes[256] = {};
    size_t length = 0;
};

uint32_t bidi(Area& area, int32_t type, size_t requestLength) {
    area.length = sizeof(area.bytes);
    return sendBidiRequest(type, area.bytes, requestLength, area.bytes, &area.length);
}

struct Case {
    const char* name;
    double target;
    const char* library;
    std::function<void()> method;
    std::function<void()> bare;
    double allocations;  // allowed for a call; below 0: not looked at
    const char* allocationsNote;
    bool logs = false;
};

std::vector<Case> cases() {
    static Area area;
    static charger::FanInfo fan;
    static const std::vector<uint8_t> chunk(252, 0x5A);
    std::vector<Case> list;
    list.push_back({"getFanInfo", 150, "1 call",
                    [] { check(service().getFanInfo(0, &fan), "getFanInfo"); },
                    [] { bidi(area, 12, 2); }, 0, ""});
    list.push_back({"getInformation", 1000, "1 call and 5 look-ups",
                    [] {
                        charger::DockInfo info;
                        check(service().getInformation(&info), "getInformation");
                    },
                    [] {
                        bidi(area, 0, 0);
                        const uint8_t* value = nullptr;
                        uint8_t length = 0;
                        for (int32_t tag = 0; tag < 5; ++tag) {
                            getPacketTlv(area.bytes, area.length, tag, &value, &length);
                        }
                    },
                    1, "one of its texts has 24 characters"});
    list.push_back({"getDockInformation", 200, "1 call",
                    [] {
                        charger::DockInfo info;
                        check(service().getDockInformation(&info), "getDockInformation");
                    },
                    [] {
                        uint32_t value;
                        getWlcInfo(1, &value);
                    },
                    1, "one of its texts has 24 characters"});
    list.push_back({"getPowerInformation", 200, "3 calls",
                    [] {
                        charger::PowerInfo info;
                        check(service().getPowerInformation(&info), "getPowerInformation");
                    },
                    [] {
                        uint32_t value;
                        for (int32_t selector = 2; selector < 5; ++selector) {
                            getWlcInfo(selector, &value);
                        }
                    },
                    0, ""});
    list.push_back({"sendFwChunk, 252 bytes", 200, "1 call",
                    [] {
                        static int32_t number = 0;
                        int32_t next = 0;
                        check(service().sendFwChunk(0, number++ & 0xFFFF, 0, chunk, &next),
                              "sendFwChunk");
                    },
                    [] {
                        area.length = sizeof(area.bytes);
                        area.bytes[0] = 0;
                        sendPropRequest(26, area.bytes, 256, area.bytes, &area.length, 60000);
                    },
                    0, "", true});
    return list;
}

void measureCase(const Run& run, const Case& one, const std::string& suffix, int loops) {
    const Pair pair = inTurns(
        run.pick(15, 7), [&] { return meanTime(loops, one.method); },
        [&] { return meanTime(loops, one.bare); });
    run.add(pairFigure(Judged::kBeyond, kGroup, one.name + suffix,
                       std::string("the library alone, ") + one.library, "ns", pair, 1,
                       one.target));
    const double allocations = allocationsOf(1000, one.method);
    Figure figure = valueFigure(kGroup, one.name + suffix + ": heap allocations", "", allocations,
                                one.allocations);
    figure.note = one.allocationsNote;
    run.add(figure);
}

void measureRtx(const Run& run) {
    const Pair pair = inTurns(
        run.pick(15, 7),
        [&] {
            return meanTime(2000, [] {
                charger::RtxStatusInfo info;
                check(service().getRtxInformation(&info), "getRtxInformation");
            });
        },
        [&] {
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
    const QuietLog quiet;
    for (const Case& one : cases()) {
        measureCase(run, one, one.logs ? ", log off" : "", 4000);
        if (!one.logs) continue;
        const LogToNowhere loud;
        measureCase(run, one, ", 2 log lines", 400);
    }
    measureRtx(run);
}

void measureDump(const Run& run) {
    const OnCpu here(clientCpu());
    const QuietLog quiet;
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
    run.add(pairFigure(Judged::kRatio, "dump", "without subscribers, in the process, to /dev/null",
                       fmt::format("{} bare dprintfs of the same sizes", sizes.size()), "us", pair,
                       1000, 3));
}

}  // namespace bench
