// SPDX-License-Identifier: Apache-2.0
// Uevents: what a foreign one costs the event thread, and how soon one of ours is told.
#include <fcntl.h>
#include <fmt/format.h>
#include <linux/netlink.h>
#include <linux/sockios.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "figures.h"
#include "raw_fan.h"
#include "raw_peer.h"
#include "service_process.h"
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
    ServiceProcess service({});
    const pid_t thread = threadNamed(service.pid(), "UeventThread");
    if (thread == 0) throw Trouble("the service has no event thread");
    const std::string path = service.folder() + "/raw";
    const Fd rawSocket = datagramSocket(path);
    Process peer = Process::fork([&] {
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
    run.add(pairFigure(Judged::kRatio, kGroup, "CPU time for a foreign message of 240 bytes",
                       "a bare epoll_wait and recvmsg with credentials", "us", pair, 1000, 1.3));
}

void measureForeignAllocations(const Run& run) {
    ServiceProcess service({.countsHeap = true});
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
constexpr const char* kUeventFile = "/sys/class/mem/null/uevent";
constexpr std::string_view kUevent =
    "change 6d6f636b-646f-636b-0000-00000000beef SOURCE=FAN DRIVER=p9221";
constexpr std::string_view kMark = "00000000beef";

bool isOurs(const char* message, ssize_t size) {
    return size > 0 && std::string_view(message, static_cast<size_t>(size)).find(kMark) !=
                           std::string_view::npos;
}

void writeUevent(int fd) {
    if (pwrite(fd, kUevent.data(), kUevent.size(), 0) < 0)
        throw Trouble("the kernel takes no uevent");
}

// Whether a process has a netlink socket for uevents; the kernel names it after the process.
bool hearsKernelUevents(pid_t pid) {
    std::ifstream file("/proc/net/netlink");
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string address;
        int protocol = 0;
        pid_t port = 0;
        if (words >> address >> protocol >> port && protocol == NETLINK_KOBJECT_UEVENT &&
            port == pid) {
            return true;
        }
    }
    return false;
}

// Whether this machine lets us make the kernel send one, and lets us hear it.
std::string whyNoKernelUevents(int file) {
    if (file < 0) return "only root can make the kernel send one";
    const Fd socket = kernelUeventSocket();
    fcntl(socket.get(), F_SETFL, O_NONBLOCK);
    writeUevent(file);
    char area[kMessageArea];
    auto heard = [&] { return isOurs(area, recv(socket.get(), area, sizeof(area), 0)); };
    return waitUntil(heard, 1000) ? "" : "the kernel's uevents do not arrive here";
}

}  // namespace

void measureEvents(const Run& run) {
    measureForeign(run);
    measureForeignAllocations(run);
}

void measureKernelUevent(const Run& run) {
    const Fd file(open(kUeventFile, O_WRONLY | O_CLOEXEC));
    if (const std::string why = whyNoKernelUevents(file.get()); !why.empty()) {
        run.add(skippedFigure("kernel-uevent", kKernelWhat, why));
        return;
    }
    const OnCpu here(clientCpu());
    serveCallbacksWithOneThread();
    static Arrivals arrivals;  // callbacks may outlive this function
    ServiceProcess service({.kernelUevents = true, .cpu = serverCpu()});
    auto listening = [&] { return hearsKernelUevents(service.pid()); };
    if (!waitUntil(listening, 5000)) throw Trouble("the service does not hear the kernel");
    const Proxy proxy = service.connect();
    const auto subscriber = ndk::SharedRefBase::make<Subscriber>(&arrivals);
    if (!proxy->registerFanLevelChangedCallback(subscriber).isOk())
        throw Trouble("cannot subscribe");
    auto one = [&file](Arrivals& by) {
        by.expect(1);
        const int64_t begin = now();
        writeUevent(file.get());
        return static_cast<double>(by.wait() - begin);
    };
    for (int i = 0; i < 10; ++i) one(arrivals);
    const WireSizes sizes = wireSizes(20, [&] { one(arrivals); });
    Arrivals rawArrivals;
    const Fd uevents = kernelUeventSocket();
    RawFan raw(1, sizes.reply, &rawArrivals, [&uevents](const RawFan::Emit& emit) {
        BareReader reader(uevents.get());
        char area[kMessageArea];
        for (;;) {
            if (isOurs(area, reader.next(area, sizeof(area))) && !emit()) return;
        }
    });

    // Both hear every uevent, so one of them is stopped while the other is measured, and then takes
    // in what it missed.
    const int count = run.pick(20, 10);
    auto measure = [&](Process& stopped, Arrivals& measured, Arrivals& missed) {
        stopped.signal(SIGSTOP);
        missed.expect(static_cast<uint64_t>(count));
        std::vector<double> times;
        for (int i = 0; i < count; ++i) times.push_back(one(measured));
        stopped.signal(SIGCONT);
        missed.wait();
        return median(std::move(times));
    };
    const Pair pair = inTurns(
        run.pick(15, 7), [&] { return measure(raw.process(), arrivals, rawArrivals); },
        [&] { return measure(service.process(), rawArrivals, arrivals); });
    run.add(pairFigure(
        Judged::kRatio, "kernel-uevent", kKernelWhat,
        fmt::format("a bare netlink reader and one raw message of {} bytes", sizes.reply), "us",
        pair, 1000, 1.5));
}

}  // namespace bench
