// SPDX-License-Identifier: Apache-2.0
//
// Uevents that the kernel really sends, and a reader of its own to see which it sent.
#pragma once

#include <android-base/unique_fd.h>

#include <cstddef>
#include <string>

namespace charger_system {

// Has the kernel send uevents whose lines hold the given texts, by writing to sysfs. For root.
class KernelUevents {
  public:
    KernelUevents();
    // "SOURCE=RTX DRIVER=p9221": letters and digits only in the values. False when the kernel
    // refuses.
    bool send(const std::string& lines) const;

  private:
    android::base::unique_fd mFile;
};

// Counts the uevents of the whole machine that a charger's service would act on.
class UeventWatch {
  public:
    UeventWatch();
    bool ok() const { return mSocket.ok(); }
    // Those with a driver line of ours that came since the last call.
    size_t takeDriverUevents();
    // Waits for the next uevent of any kind that holds a text.
    bool waitFor(const std::string& text);

  private:
    android::base::unique_fd mSocket;
};

// The netlink socket on which a process hears uevents.
struct NetlinkSocket {
    unsigned port = 0;   // its address
    size_t waiting = 0;  // bytes that it has not read
    size_t dropped = 0;  // messages that found no room
};
bool findUeventSocket(pid_t pid, NetlinkSocket* found);

// Empty when the kernel sends a uevent for this process and delivers it; otherwise what is missing.
std::string whyNoKernelUevents();

}  // namespace charger_system
