// SPDX-License-Identifier: Apache-2.0
#include "uevent.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

#include "virtual_dock.h"

// Of the recorder's libraries, when they are in this process.
extern "C" [[gnu::weak]] void dockRecorderUevent(const virtual_dock::TraceMoment* sent,
                                                 const char* message, size_t size);

namespace virtual_dock {
namespace {

using android::base::unique_fd;

constexpr const char* kSocketVariable = "ANDROID_HOST_UEVENT_SOCKET";
constexpr const char* kDriverLine = "DRIVER=p9221";
constexpr const char* kOffLine = "SOURCE=WLC_OFF";
constexpr const char* kMemUevent = "/sys/class/mem/null/uevent";
constexpr const char* kAnyUuid = "6d6f636b-646f-636b-0000-000000000001";
constexpr std::chrono::seconds kSendLimit(1);

using Clock = std::chrono::steady_clock;

std::mutex gListenersLock;
std::map<std::string, int>& listeners() {
    static auto* const paths = new std::map<std::string, int>();
    return *paths;
}

UeventOutcome notSent(const std::string& what, int error) {
    return {false, what + ": " + std::strerror(error)};
}

// Recorders hear the kernel's uevents themselves, and need to know only when they were sent; of the
// others only the sender knows.
void tellRecorders(const TraceMoment& sent, std::string_view message) {
    processDock().recorder().recordUevent(sent, message);
    if (dockRecorderUevent != nullptr) dockRecorderUevent(&sent, message.data(), message.size());
}

UeventOutcome sendToSocket(const std::string& path, const std::vector<std::string>& lines,
                           Clock::time_point end) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        return {false, std::string(kSocketVariable) + " is too long for a socket path"};
    }
    std::memcpy(address.sun_path, path.data(), path.size());

    static uint64_t sequence = 0;
    std::string message = "change@/devices/virtual/power_supply/wireless";
    message += '\0';
    for (const char* line : {"ACTION=change", "DEVPATH=/devices/virtual/power_supply/wireless",
                             "SUBSYSTEM=power_supply"}) {
        message += line;
        message += '\0';
    }
    for (const std::string& line : lines) {
        message += line;
        message += '\0';
    }
    message += "SEQNUM=" + std::to_string(++sequence);
    message += '\0';

    const unique_fd socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket < 0) return notSent("cannot make a socket", errno);
    if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        return notSent("no process listens at " + path + "; restart the service with $" +
                           kSocketVariable + " naming a path in a folder that exists",
                       errno);
    }
    for (;;) {
        // Before the service can do anything about it.
        const TraceMoment sent = TraceMoment::now();
        if (send(socket.get(), message.data(), message.size(), MSG_NOSIGNAL) >= 0) {
            tellRecorders(sent, message);
            return {true, "socket"};
        }
        if (errno == EINTR) continue;
        if (errno != EAGAIN) return notSent("cannot send to " + path, errno);
        pollfd writable{socket.get(), POLLOUT, 0};
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (poll(&writable, 1, static_cast<int>(std::max<int64_t>(0, rest.count()))) == 0) {
            return {false, "the listener at " + path + " does not read its uevents"};
        }
    }
}

UeventOutcome writeUevent(const std::string& path, const std::string& text) {
    const unique_fd file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (file < 0 && (errno == EACCES || errno == EPERM || errno == EROFS)) {
        return {false, std::string("sending uevents requires root; start the service with $") +
                           kSocketVariable + " naming a socket path instead"};
    }
    if (file < 0) return notSent("cannot open " + path, errno);
    tellRecorders(TraceMoment::now(), {});
    if (write(file.get(), text.data(), text.size()) < 0) {
        return notSent("the kernel does not take '" + text + "'", errno);
    }
    return {true, "kernel"};
}

UeventOutcome sendAsInterface(const std::string& name, const std::string& text) {
    const unique_fd tun(open("/dev/net/tun", O_RDWR | O_CLOEXEC));
    if (tun < 0) {
        return notSent("sending " + name + " requires root and /dev/net/tun", errno);
    }
    ifreq request{};
    std::memcpy(request.ifr_name, name.data(), std::min<size_t>(name.size(), IFNAMSIZ - 1));
    request.ifr_flags = IFF_TUN | IFF_NO_PI;
    if (ioctl(tun.get(), TUNSETIFF, &request) != 0) {
        return notSent("cannot make the interface " + name, errno);
    }
    // Closing the descriptor removes the interface.
    return writeUevent("/sys/class/net/" + name + "/uevent", text);
}

bool kernelTakes(const std::string& line) {
    const size_t equals = line.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == line.size()) return false;
    const auto plain = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    const std::string name = line.substr(0, equals);
    const std::string value = line.substr(equals + 1);
    return std::all_of(name.begin(), name.end(), plain) &&
           std::all_of(value.begin(), value.end(), plain);
}

UeventOutcome sendThroughKernel(const std::vector<std::string>& lines) {
    std::string text = std::string("change ") + kAnyUuid;
    bool off = false;
    for (const std::string& line : lines) {
        if (line == kOffLine) {
            off = true;
        } else if (kernelTakes(line)) {
            text += " " + line;
        } else {
            return {false, "the kernel takes letters and digits only, not '" + line +
                               "'; for others start the service with $" + kSocketVariable +
                               " naming a socket path"};
        }
    }
    return off ? sendAsInterface(kOffLine, text) : writeUevent(kMemUevent, text);
}

}  // namespace

std::string ueventSocketOfProcess() {
    const char* const path = std::getenv(kSocketVariable);
    return path != nullptr ? path : "";
}

void addUeventListener(const std::string& path) {
    std::lock_guard lock(gListenersLock);
    ++listeners()[path];
}

void removeUeventListener(const std::string& path) {
    std::lock_guard lock(gListenersLock);
    const auto found = listeners().find(path);
    if (found != listeners().end() && --found->second == 0) listeners().erase(found);
}

UeventOutcome sendUeventLines(const std::vector<std::string>& lines) {
    std::vector<std::string> paths;
    {
        std::lock_guard lock(gListenersLock);
        for (const auto& [path, count] : listeners()) paths.push_back(path);
    }
    if (paths.empty()) paths.push_back(ueventSocketOfProcess());
    const Clock::time_point end = Clock::now() + kSendLimit;
    UeventOutcome outcome = {true, ""};
    for (const std::string& path : paths) {
        const UeventOutcome one =
            path.empty() ? sendThroughKernel(lines) : sendToSocket(path, lines, end);
        if (outcome.sent) outcome = one;
    }
    return outcome;
}

UeventOutcome sendUevent(Event event) {
    switch (event) {
        case Event::kNone:
            return {};
        case Event::kRtx:
            return sendUeventLines({"SOURCE=RTX", kDriverLine});
        case Event::kWlc:
            return sendUeventLines({"SOURCE=WLC", kDriverLine});
        case Event::kWlcOff:
            return sendUeventLines({kOffLine, kDriverLine});
        case Event::kRestart: {
            const UeventOutcome off = sendUevent(Event::kWlcOff);
            const UeventOutcome on = sendUevent(Event::kWlc);
            return off.sent ? on : off;
        }
        case Event::kFan:
            return sendUeventLines({"SOURCE=FAN", kDriverLine});
        case Event::kAll:
            return sendUeventLines({kDriverLine});
    }
    return {};
}

}  // namespace virtual_dock
