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

// Sends a uevent with these NAME=VALUE lines.
//
// When $ANDROID_HOST_UEVENT_SOCKET names a path, as a datagram to the Unix socket there, because
// the service then listens nowhere else. Otherwise through the kernel, which needs root: as a
// synthetic event of /sys/class/mem/null, where names and values can hold letters and digits only.
// A SOURCE=WLC_OFF line goes out as the name of a network interface made for that one event
// (/dev/net/tun), because that is how a kernel message can come to contain it.
//
// Waits up to a second for room in the datagram socket; else does not block. One thread at a time.
UeventOutcome sendUeventLines(const std::vector<std::string>& lines);

}  // namespace virtual_dock
