// SPDX-License-Identifier: Apache-2.0
// The service as people run it, in a process of its own, on libraries that answer at once.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>

#include <memory>
#include <string>

#include "process.h"

namespace bench {

namespace charger = aidl::vendor::zorvak::wireless_charger;
using Proxy = std::shared_ptr<charger::IWirelessCharger>;

// A session of its own with the service that listens at a path. Throws Trouble.
Proxy connectTo(const std::string& socketPath);

class ServiceProcess {
  public:
    struct Options {
        bool logs = true;            // as by default, to /dev/null; false: warnings and above only
        bool kernelUevents = false;  // else from ueventPath()
        bool countsHeap = false;
        int cpu = kAnyCpu;
    };

    // Starts it and waits until it is registered. Throws Trouble.
    explicit ServiceProcess(const Options& options);
    ~ServiceProcess();

    Process& process() { return *mProcess; }
    pid_t pid() const { return mProcess->pid(); }
    // From executing the program until its socket accepted a connection, in nanoseconds.
    int64_t startTime() const { return mStartTime; }
    std::string socketPath() const;
    std::string ueventPath() const { return mFolder.path() + "/uevent"; }
    const std::string& folder() const { return mFolder.path(); }
    Proxy connect() const { return connectTo(socketPath()); }
    // Of all its threads so far; with countsHeap.
    uint64_t heapAllocations() const;

  private:
    TempFolder mFolder;
    std::unique_ptr<Process> mProcess;
    int64_t mStartTime = 0;
    void* mHeapCount = nullptr;
};

}  // namespace bench
