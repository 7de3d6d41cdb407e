// SPDX-License-Identifier: Apache-2.0
// One event to many connections, until the last has it.
#include <fmt/format.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "figures.h"
#include "raw_fan.h"
#include "raw_peer.h"
#include "service.h"
#include "subscriber.h"

namespace bench {
namespace {

constexpr size_t kFew = 64;
constexpr size_t kMany = 1000;
// A line that the service tells its fan subscribers of, and nobody else.
constexpr std::string_view kFanEvent{"DRIVER=zorvak,battery\0", 22};

// One event to many connections of one process, in either way.
class Fan {
  public:
    Fan(size_t connections, Arrivals* arrivals) : mConnections(connections), mArrivals(arrivals) {}

    // From an event until the last of the connections has it.
    double once() const {
        mArrivals->expect(mConnections);
        const int64_t begin = now();
        if (send(mTrigger.get(), kFanEvent.data(), kFanEvent.size(), 0) < 0) {
            throw Trouble("cannot send an event");
        }
        return static_cast<double>(mArrivals->wait() - begin);
    }

    // CPU time of both processes for one connection and event.
    double cpuOfEach(int count) const {
        return cpuOfCall(mPid, count, [this] { (void)once(); }) / static_cast<double>(mConnections);
    }

  protected:
    void start(pid_t pid, const std::string& eventPath) {
        mPid = pid;
        mTrigger = datagramSender(eventPath);
    }

  private:
    const size_t mConnections;
    Arrivals* const mArrivals;
    pid_t mPid = 0;
    Fd mTrigger;
};

Arrivals gArrivals;  // callbacks may outlive the objects that wait for them
Arrivals gRawArrivals;

// A service, and subscribers in this process with a session each.
class ServiceFan : public Fan {
  public:
    explicit ServiceFan(size_t connections)
        : Fan(connections, &gArrivals), mService({.cpu = serverCpu()}) {
        for (size_t i = 0; i < connections; ++i) {
            mSessions.push_back(mService.connect());
            mSubscribers.push_back(ndk::SharedRefBase::make<Subscriber>(&gArrivals));
            if (!mSessions.back()->registerFanLevelChangedCallback(mSubscribers.back()).isOk()) {
                throw Trouble("cannot subscribe");
            }
        }
        start(mService.pid(), mService.ueventPath());
        for (int i = 0; i < 20; ++i) (void)once();
    }
    const std::string& folder() const { return mService.folder(); }

  private:
    Service mService;
    std::vector<std::shared_ptr<Subscriber>> mSubscribers;
    std::vector<Proxy> mSessions;
};

// The same with plain sockets.
class PlainFan : public Fan {
  public:
    PlainFan(size_t connections, const std::string& path, size_t size)
        : Fan(connections, &gRawArrivals),
          mEvents(datagramSocket(path)),
          mRaw(connections, size, &gRawArrivals, [this](const RawFan::Emit& emit) {
              char event[256];
              while (recv(mEvents.get(), event, sizeof(event), 0) >= 0 && emit()) {
              }
          }) {
        start(mRaw.pid(), path);
    }

  private:
    const Fd mEvents;
    RawFan mRaw;
};

// Whether this process, and those it starts, may have as many sockets.
bool allowSockets(size_t count) {
    rlimit limit{};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur >= count;
}

// What each of many connections costs, against each of few. In CPU time: an event to many takes so
// long that other work of the machine falls into it, one to few does not.
Pair growth(const Run& run, const Fan& many, const Fan& few) {
    return inTurns(
        run.pick(11, 5), [&] { return many.cpuOfEach(run.pick(40, 15)); },
        [&] { return few.cpuOfEach(run.pick(600, 225)); });
}

}  // namespace

void measureFanOut(const Run& run) {
    const OnCpu here(clientCpu());
    serveCallbacksWithOneThread();
    const ServiceFan few(kFew);
    const WireSizes sizes = wireSizes(50, [&] { (void)few.once(); });
    const size_t size = sizes.reply / kFew;
    const PlainFan rawFew(kFew, few.folder() + "/raw", size);
    const int count = run.pick(150, 50);
    const Pair pair = inTurns(
        run.pick(11, 5), [&] { return medianOf(count, [&] { return few.once(); }); },
        [&] { return medianOf(count, [&] { return rawFew.once(); }); });
    run.add(ratioFigure(
        "fan-out", fmt::format("one callback to {} connections, until the last has it", kFew),
        fmt::format("{} raw writes of {} bytes and one thread that reads them", kFew, size), 1.5,
        pair));

    const std::string what =
        fmt::format("CPU time of both processes for each of {} connections", kMany);
    if (!allowSockets(4 * kMany + 500)) {
        run.add(skippedFigure("fan-out", what, "too few descriptors are allowed (ulimit -n)"));
        return;
    }
    const ServiceFan many(kMany);
    const Pair growing = growth(run, many, few);
    const PlainFan rawMany(kMany, many.folder() + "/raw", size);
    const Pair raw = growth(run, rawMany, rawFew);
    Figure figure =
        ratioFigure("fan-out", what, fmt::format("each of {} connections", kFew), 1.1, growing);
    figure.note = fmt::format("raw sockets: {:.2f} x", raw.ratio);
    run.add(figure);
}

}  // namespace bench
