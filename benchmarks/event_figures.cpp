// SPDX-License-Identifier: Apache-2.0
// Uevents: what a foreign one costs the event thread, and how soon one of ours is told.
#include <cutils/uevent.h>
#include <fmt/format.h>
#include <linux/sockios.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <testing/kernel_uevents.h>

#include <algorithm>
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

constexpr const char* kGroup = "event-thread";
constexpr size_t kForeignSize = 240;
constexpr size_t kMessageArea = 2048;

std::string foreignMessage() {
    std::string message = "change@/devices/platform/soc/some-bus/block/sda/sda1";
    for (const char* line :
         {"ACTION=change", "DEVPATH=/devices/platform/soc/some-bus/block/sda/sda1",
          "SUBSYSTEM=block", "MAJOR=8", "MINOR=1", "DEVNAME=sda1", "DEVTYPE=partition", "DISKSEQ=9",
          "SEQNUM=123456"}) {
        message += '\0';
        message += line;
    }
    message += '\0';
    message += "PADDING=";
    message.resize(kForeignSize - 1, 'x');
    message += '\0';
    return message;
}

void sendAll(int fd, const std::string& message, int count) {
    const auto drained = [fd] {
        int unread = 1;
        return ioctl(fd, SIOCOUTQ, &unread) == 0 && unread == 0;
    };
    for (int i = 0; i < count; ++i) {
        if (send(fd, message.data(), message.size(), 0) < 0) throw Trouble("nobody reads events");
        // Not before the reader sleeps again: how many it finds at once is the scheduler's whim.
        for (int tries = 0; tries < 1000 && !drained(); ++tries) sched_yield();
    }
    if (!waitUntil(drained, 10000)) throw Trouble("events are not read");
    pauseMillis(2);  // for the reader to go to sleep: only then its time is up to date
}

double cpuOfMessage(pid_t pid, pid_t thread, int fd, const std::string& message, int count) {
    const int64_t before = threadCpu(pid, thread);
    sendAll(fd, message, count);
    return static_cast<double>(threadCpu(pid, thread) - before) / count;
}

void measureForeign(const Run& run) {
    Service service({});
    const pid_t thread = threadNamed(service.pid(), "UeventThread");
    if (thread == 0) throw Trouble("the service has no event thread");
    const std::string path = service.folder() + "/raw";
    const Fd rawSocket = datagramSocket(path);
    const Fork peer([&] {
        BareReader reader(rawSocket.get());
        char area[kMessageArea];
        while (reader.next(area, sizeof(area)) > 0) {
        }
    });
    // Sender and reader share a processor and the readers a priority, so that each message finds
    // its reader asleep and both readers are woken alike.
    setpriority(PRIO_PROCESS, static_cast<id_t>(peer.pid()),
                getpriority(PRIO_PROCESS, static_cast<id_t>(thread)));
    const OnCpu sender(clientCpu());
    const OnCpu eventThread(clientCpu(), thread);
    const OnCpu rawReader(clientCpu(), peer.pid());

    const Fd events = datagramSender(service.ueventPath());
    const Fd rawEvents = datagramSender(path);
    const std::string message = foreignMessage();
    const int count = run.pick(5000, 1500);
    const Pair pair = inTurns(
        run.pick(11, 5),
        [&] { return cpuOfMessage(service.pid(), thread, events.get(), message, count); },
        [&] { return cpuOfMessage(peer.pid(), peer.pid(), rawEvents.get(), message, count); });
    run.add(ratioFigure(kGroup, "CPU time for a foreign message of 240 bytes",
                        "a bare epoll_wait and recvmsg with credentials", 1.3, pair));
}

void measureForeignAllocations(const Run& run) {
    Service service({.countsHeap = true});
    const Fd events = datagramSender(service.ueventPath());
    const std::string message = foreignMessage();
    sendAll(events.get(), message, 100);
    const int count = run.pick(5000, 1000);
    const uint64_t before = service.heapAllocations();
    sendAll(events.get(), message, count);
    const uint64_t sum = service.heapAllocations() - before;
    Figure figure = valueFigure(kGroup, "heap allocations for a foreign message", "",
                                static_cast<double>(sum) / count, 0);
    figure.note = fmt::format("{} in the whole process during {} messages", sum, count);
    run.add(figure);
}

constexpr const char* kKernelWhat = "write() of a kernel uevent until the callback, median";

}  // namespace

void measureEvents(const Run& run) {
    measureForeign(run);
    measureForeignAllocations(run);
}

void measureKernelUevent(const Run& run) {
    if (const std::string why = test_support::whyNoKernelUevents(); !why.empty()) {
        run.add(skippedFigure("kernel-uevent", kKernelWhat, why));
        return;
    }
    const OnCpu here(clientCpu());
    serveCallbacksWithOneThread();
    static Arrivals arrivals;  // callbacks may outlive this function
    Service service({.kernelUevents = true, .cpu = serverCpu()});
    const Proxy proxy = service.connect();
    const auto subscriber = ndk::SharedRefBase::make<Subscriber>(&arrivals);
    if (!proxy->registerFanLevelChangedCallback(subscriber).isOk())
        throw Trouble("cannot subscribe");
    const test_support::KernelUevents kernel;
    auto one = [&kernel](Arrivals& by) {
        by.expect(1);
        const int64_t begin = now();
        if (!kernel.send("SOURCE=FAN DRIVER=p9221")) throw Trouble("the kernel takes no uevent");
        return static_cast<double>(by.wait() - begin);
    };
    for (int i = 0; i < 10; ++i) one(arrivals);
    const WireSizes sizes = wireSizes(20, [&] { one(arrivals); });
    Arrivals rawArrivals;
    const Fd uevents(uevent_open_socket(1 << 16, /*passcred=*/true));
    RawFan raw(1, sizes.reply, &rawArrivals, [&uevents](const RawFan::Emit& emit) {
        BareReader reader(uevents.get());
        char area[kMessageArea];
        for (;;) {
            const ssize_t size = reader.next(area, sizeof(area));
            const std::string_view message(area, static_cast<size_t>(std::max<ssize_t>(size, 0)));
            if (message.find("DRIVER=p9221") != message.npos && !emit()) return;
        }
    });

    // Both hear every uevent, so one of them is stopped while the other is measured, and then takes
    // in what it missed.
    const int count = run.pick(20, 10);
    auto measure = [&](pid_t stopped, Arrivals& measured, Arrivals& missed) {
        stopProcess(stopped);
        missed.expect(static_cast<uint64_t>(count));
        const double time = medianOf(count, [&] { return one(measured); });
        kill(stopped, SIGCONT);
        missed.wait();
        return time;
    };
    const Pair pair = inTurns(
        run.pick(15, 7), [&] { return measure(raw.pid(), arrivals, rawArrivals); },
        [&] { return measure(service.pid(), rawArrivals, arrivals); });
    run.add(ratioFigure(
        "kernel-uevent", kKernelWhat,
        fmt::format("a bare netlink reader and one raw message of {} bytes", sizes.reply), 1.5,
        pair));
}

}  // namespace bench
