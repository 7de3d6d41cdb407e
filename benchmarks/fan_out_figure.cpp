// SPDX-License-Identifier: Apache-2.0
// One event to many connections, until the last has it.
#include <fmt/format.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "figures.h"
#include "raw_peer.h"
#include "service_process.h"
#include "subscriber.h"

namespace bench {
namespace {

constexpr size_t kFew = 64;
constexpr size_t kMany = 1000;
// A line that the service tells its fan subscribers of, and nobody else.
constexpr std::string_view kFanEvent{"DRIVER=zorvak,battery\0", 22};

void trigger(int fd) {
    if (send(fd, kFanEvent.data(), kFanEvent.size(), 0) < 0) throw Trouble("cannot send an event");
}

/** From an event until the last of the connections has it. */
double fanOut(int fd, Arrivals& arrivals, size_t connections) {
    arrivals.expect(connections);
    const int64_t begin = now();
    trigger(fd);
    return static_cast<double>(arrivals.wait() - begin);
}

/** Either kind of fan-out. */
template <typename Fan>
double medianTimeOf(int count, Fan& fan) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) times.push_back(fan.once());
    return median(std::move(times));
}

/** CPU time of both processes for one connection and event. */
template <typename Fan>
double cpuOfEach(int count, Fan& fan) {
    const int64_t begin = processCpu(0) + processCpu(fan.pid());
    for (int i = 0; i < count; ++i) (void)fan.once();
    return static_cast<double>(processCpu(0) + processCpu(fan.pid()) - begin) / count /
           static_cast<double>(fan.connections());
}

/** A service, and subscribers in this process with a session each. */
class ServiceFanOut {
  public:
    explicit ServiceFanOut(size_t connections) : mService({.cpu = serverCpu()}) {
        for (size_t i = 0; i < connections; ++i) {
            mSessions.push_back(mService.connect());
            mSubscribers.push_back(ndk::SharedRefBase::make<Subscriber>(&sArrivals));
            if (!mSessions.back()->registerFanLevelChangedCallback(mSubscribers.back()).isOk()) {
                throw Trouble("cannot subscribe");
            }
        }
        mTrigger = datagramSender(mService.ueventPath());
        for (int i = 0; i < 20; ++i) (void)once();
    }

    double once() const { return fanOut(mTrigger.get(), sArrivals, mSessions.size()); }
    size_t connections() const { return mSessions.size(); }
    pid_t pid() const { return mService.pid(); }
    const std::string& folder() const { return mService.folder(); }

  private:
    inline static Arrivals sArrivals;  // callbacks may outlive this object

    ServiceProcess mService;
    std::vector<std::shared_ptr<Subscriber>> mSubscribers;
    std::vector<Proxy> mSessions;
    Fd mTrigger;
};

/** The same with plain sockets: a process that reads the event and writes, a thread that reads. */
class RawFanOut {
  public:
    RawFanOut(size_t connections, const std::string& path, size_t size) : mSockets(connections) {
        Fd events = datagramSocket(path);
        const int eventFd = events.get();
        std::string message(size, 'x');
        mPeer = std::make_unique<Process>(Process::fork(
            [&] {
                char event[256];
                for (;;) {
                    if (recv(eventFd, event, sizeof(event), 0) < 0) return;
                    for (const SocketPair& pair : mSockets) {
                        if (!writeAll(pair.theirs.get(), message.data(), size)) return;
                    }
                }
            },
            serverCpu()));
        mTrigger = datagramSender(path);
        mReader = std::thread([this, size] { readThem(size); });
    }

    ~RawFanOut() {
        for (const SocketPair& pair : mSockets) shutdown(pair.ours.get(), SHUT_RDWR);
        mReader.join();
    }

    double once() { return fanOut(mTrigger.get(), mArrivals, mSockets.size()); }
    size_t connections() const { return mSockets.size(); }
    pid_t pid() const { return mPeer->pid(); }

  private:
    void readThem(size_t size) {
        const Fd epoll(epoll_create1(EPOLL_CLOEXEC));
        for (const SocketPair& pair : mSockets) {
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.fd = pair.ours.get();
            epoll_ctl(epoll.get(), EPOLL_CTL_ADD, pair.ours.get(), &event);
        }
        std::string area(size, '\0');
        std::vector<epoll_event> ready(mSockets.size());
        for (;;) {
            const int count =
                epoll_wait(epoll.get(), ready.data(), static_cast<int>(ready.size()), -1);
            for (int i = 0; i < count; ++i) {
                if (!readAll(ready[i].data.fd, area.data(), size)) return;
                mArrivals.arrived();
            }
        }
    }

    std::vector<SocketPair> mSockets;
    std::unique_ptr<Process> mPeer;
    Fd mTrigger;
    Arrivals mArrivals;
    std::thread mReader;
};

/** Whether this process, and those it starts, may have as many sockets. */
bool allowSockets(size_t count) {
    rlimit limit{};
    (void)getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
    return limit.rlim_cur >= count;
}

/**
 * What each of many connections costs, against each of few. In CPU time: an event to many takes so
 * long that other work of the machine falls into it, one to few does not.
 */
template <typename Fan>
Pair growth(const Run& run, Fan& many, Fan& few) {
    return inTurns(
        run.pick(11, 5), [&] { return cpuOfEach(run.pick(40, 15), many); },
        [&] { return cpuOfEach(run.pick(600, 225), few); });
}

}  // namespace

void measureFanOut(const Run& run) {
    const OnCpu here(clientCpu());
    serveCallbacksWithOneThread();
    const ServiceFanOut few(kFew);
    const WireSizes sizes = wireSizes(50, [&] { (void)few.once(); });
    const size_t size = sizes.reply / kFew;
    RawFanOut rawFew(kFew, few.folder() + "/raw", size);
    const int count = run.pick(150, 50);
    const Pair pair = inTurns(
        run.pick(11, 5), [&] { return medianTimeOf(count, few); },
        [&] { return medianTimeOf(count, rawFew); });
    run.add(ratioFigure(
        "fan-out", fmt::format("one callback to {} connections, until the last has it", kFew),
        fmt::format("{} raw writes of {} bytes and one thread that reads them", kFew, size), "us",
        pair, 1000, 1.5));

    const std::string what =
        fmt::format("CPU time of both processes for each of {} connections", kMany);
    if (!allowSockets(4 * kMany + 500)) {
        run.add(skippedFigure("fan-out", what, "too few descriptors are allowed (ulimit -n)"));
        return;
    }
    const ServiceFanOut many(kMany);
    const Pair growing = growth(run, many, few);
    RawFanOut rawMany(kMany, many.folder() + "/raw", size);
    const Pair raw = growth(run, rawMany, rawFew);
    Figure figure = ratioFigure("fan-out", what, fmt::format("each of {} connections", kFew), "us",
                                growing, 1000, 1.1);
    figure.note = fmt::format("raw sockets: {:.2f} x", raw.ratio);
    run.add(figure);
}

}  // namespace bench
