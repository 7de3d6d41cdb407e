// SPDX-License-Identifier: Apache-2.0
// One event to many connections, until the last has it.
#include <fmt/format.h>
#include <sys/epoll.h>
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

constexpr size_t kConnections = 64;
// A line that the service tells its fan subscribers of, and nobody else.
constexpr std::string_view kFanEvent{"DRIVER=zorvak,battery\0", 22};

void trigger(int fd) {
    if (send(fd, kFanEvent.data(), kFanEvent.size(), 0) < 0) throw Trouble("cannot send an event");
}

/** From the event until the last subscriber was told. */
double fanOut(int fd, Arrivals& arrivals) {
    arrivals.expect(kConnections);
    const int64_t begin = now();
    trigger(fd);
    return static_cast<double>(arrivals.wait() - begin);
}

double medianFanOut(int count, int fd, Arrivals& arrivals) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i) times.push_back(fanOut(fd, arrivals));
    return median(std::move(times));
}

/** The same with plain sockets: a process that reads the event and writes, a thread that reads. */
class RawFanOut {
  public:
    RawFanOut(const std::string& path, size_t size) : mSockets(kConnections) {
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

    int triggerFd() const { return mTrigger.get(); }
    Arrivals& arrivals() { return mArrivals; }

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
        epoll_event ready[kConnections];
        for (;;) {
            const int count = epoll_wait(epoll.get(), ready, kConnections, -1);
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

}  // namespace

void measureFanOut(const Run& run) {
    const OnCpu here(clientCpu());
    serveCallbacksWithOneThread();
    static Arrivals arrivals;  // callbacks may outlive this function
    ServiceProcess service({.cpu = serverCpu()});
    std::vector<std::shared_ptr<Subscriber>> subscribers;
    std::vector<Proxy> sessions;
    for (size_t i = 0; i < kConnections; ++i) {
        sessions.push_back(service.connect());
        subscribers.push_back(ndk::SharedRefBase::make<Subscriber>(&arrivals));
        if (!sessions.back()->registerFanLevelChangedCallback(subscribers.back()).isOk()) {
            throw Trouble("cannot subscribe");
        }
    }
    const Fd events = datagramSender(service.ueventPath());
    for (int i = 0; i < 20; ++i) fanOut(events.get(), arrivals);
    const WireSizes sizes = wireSizes(50, [&] { fanOut(events.get(), arrivals); });
    const size_t size = sizes.reply / kConnections;

    RawFanOut raw(service.folder() + "/raw", size);
    const int count = run.pick(150, 50);
    const Pair pair = inTurns(
        run.pick(11, 5), [&] { return medianFanOut(count, events.get(), arrivals); },
        [&] { return medianFanOut(count, raw.triggerFd(), raw.arrivals()); });
    run.add(
        ratioFigure("fan-out", "one callback to 64 connections, until the last has it",
                    fmt::format("64 raw writes of {} bytes and one thread that reads them", size),
                    "us", pair, 1000, 1.5));
}

}  // namespace bench
