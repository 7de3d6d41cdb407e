// SPDX-License-Identifier: Apache-2.0
// The service as people run it, in a process of its own, on libraries that answer at once.
#pragma once

#include <testing/charger_system.h>

#include <memory>
#include <optional>
#include <string>

namespace bench {

namespace charger = aidl::vendor::zorvak::wireless_charger;
using Proxy = std::shared_ptr<charger::IWirelessCharger>;

class Service : public test_support::ChargerSystem {
  public:
    struct Options {
        bool logs = true;            // as by default, to /dev/null; false: warnings and above only
        bool kernelUevents = false;  // else from ueventPath()
        bool countsHeap = false;
        std::optional<int> cpu = {};  // where it runs; else where this thread may
    };

    // Starts it and waits until it is registered and hears uevents. Throws Trouble.
    explicit Service(const Options& options);
    ~Service();

    std::string ueventPath() const { return folder() + "/uevent"; }
    // Of all its threads so far; with countsHeap.
    uint64_t heapAllocations() const;

  private:
    void* mHeapCount = nullptr;
};

}  // namespace bench
