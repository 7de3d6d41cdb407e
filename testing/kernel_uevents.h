// SPDX-License-Identifier: Apache-2.0
//
// Uevents that the kernel sends. They reach every process of the machine, so at any time one test
// at most has some sent, and a reader of its own tells it of those that came from elsewhere.
#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <cstddef>
#include <string>

namespace test_support {

// Has the kernel send uevents by writing to sysfs; needs root. While an object of this class exists
// no other test on this machine, in this run or another, has one: the constructor waits for it.
class KernelUevents {
  public:
    KernelUevents();
    // Lines like "SOURCE=RTX DRIVER=p9221": letters and digits only. False when the kernel refuses.
    bool send(const std::string& lines) const;

  private:
    android::base::unique_fd mFile;
};

// Hears all uevents of the machine from its construction on.
class UeventWatch {
  public:
    UeventWatch();
    bool ok() const { return mSocket.ok(); }
    // What has come since the last call: from the kernel with a driver line that the service acts
    // on, and from processes, which the service refuses.
    struct Heard {
        size_t driver = 0;
        size_t forged = 0;
    };
    Heard take();
    // Waits a few seconds for one that contains the text.
    bool waitFor(const std::string& text);

  private:
    android::base::unique_fd mSocket;
};

// The netlink socket on which a process hears uevents.
struct NetlinkSocket {
    unsigned port = 0;   // its address
    size_t waiting = 0;  // bytes not yet read
    size_t dropped = 0;  // messages for which there was no room
};
// False when the process has none.
bool findUeventSocket(pid_t pid, NetlinkSocket* found);

// Why kernel uevents cannot be triggered here; empty when they can.
std::string whyNoKernelUevents();

}  // namespace test_support
