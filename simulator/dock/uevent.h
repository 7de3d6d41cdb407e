// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace virtual_dock {

// What a change is announced as.
enum class Event : uint8_t {
    kNone,
    kRtx,      // SOURCE=RTX
    kWlc,      // SOURCE=WLC
    kWlcOff,   // SOURCE=WLC_OFF
    kFan,      // SOURCE=FAN
    kRestart,  // SOURCE=WLC_OFF, then SOURCE=WLC: two uevents
    kAll,      // a driver line without a source: everything may have changed
};

// How a uevent went out.
struct UeventOutcome {
    bool sent = false;
    std::string detail;  // "kernel", "socket", or why it was not sent and what would help
};

// Sends the uevent or uevents of an event: lines SOURCE=... (but for kAll) and DRIVER=p9221.
UeventOutcome sendUevent(Event event);

// Sends a uevent with these NAME=VALUE lines to all who listen.
//
// The services of a dock process listen where addUeventListener says; without any, and in a
// service, ueventSocketOfProcess does. A path is a Unix datagram socket. "" is the kernel, which
// needs root: a synthetic event of /sys/class/mem/null, where names and values can hold letters and
// digits only. A SOURCE=WLC_OFF line goes out there as the name of a network interface made for
// that one event
// (/dev/net/tun), because that is how a kernel message can come to contain it.
//
// Waits up to a second in all for room in sockets; else does not block. One thread at a time.
UeventOutcome sendUeventLines(const std::vector<std::string>& lines);

// $ANDROID_HOST_UEVENT_SOCKET, where this process's own service listens instead of to the kernel.
std::string ueventSocketOfProcess();

// Counted: each call of add is ended by one of remove. Any thread.
void addUeventListener(const std::string& path);
void removeUeventListener(const std::string& path);

}  // namespace virtual_dock
