// SPDX-License-Identifier: Apache-2.0
//
// A whole system for tests: the service's process on the virtual dock, in a run-time folder of its
// own, with ways to steer the dock, to call the service and to see what its process holds.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <sys/types.h>
#include <virtual_dock/client.h>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "process.h"

namespace test_support {

namespace charger = ::aidl::vendor::zorvak::wireless_charger;

using Json = nlohmann::json;

inline constexpr char kInstance[] = "vendor.zorvak.wireless_charger.IWirelessCharger/default";

// In a program that a sanitizer watches, memory says little about leaks and everything is slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// The path of one of the programs of this build.
std::string program(const std::string& name);

// What a process holds. Memory is its own anonymous memory, what a leak would make grow.
struct Usage {
    size_t descriptors = 0;
    size_t threads = 0;
    size_t memoryKiB = 0;
};

// The counts in the service's state report.
struct Subscribed {
    int rtx = -1;
    int alignment = -1;
    int fan = -1;
    bool operator==(const Subscribed&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Subscribed& counts);

// Harness failures (the service does not start, the dock refuses) are thrown as runtime_error.
class ChargerSystem {
  public:
    // Uevents reach the service through a datagram socket, or through the kernel's netlink socket
    // as on a phone. Points this process's environment at the system, one at a time.
    enum class Uevents { kSocket, kKernel };
    explicit ChargerSystem(Uevents uevents = Uevents::kSocket);
    // Ends the service and removes the folder.
    ~ChargerSystem();
    ChargerSystem(const ChargerSystem&) = delete;
    ChargerSystem& operator=(const ChargerSystem&) = delete;

    const std::string& folder() const { return mFolder; }
    // Where the service's socket is while it is registered.
    std::string socketPath() const { return mFolder + "/binder/" + kInstance; }
    // Writes a file of this name into the folder; returns its path.
    std::string file(const std::string& name, const std::string& bytes) const;

    // A service process whose output goes to the log file, with `before` in front of its command
    // line. Ends with the object.
    std::unique_ptr<Process> launch(const Words& before = {});
    // Launches it and waits until it has registered and listens for uevents.
    void start(const Words& before = {});
    // Ends the service, if it was started, as init does; what was wrong, as complaint() tells.
    std::string stopService();
    void killService();
    pid_t pid() const { return mService->pid(); }

    // All that the services launched so far have written.
    std::string log() const;
    size_t countInLog(const std::string& text) const;
    bool waitForLog(const std::string& text, size_t count = 1) const;

    // A client with a session of its own.
    std::shared_ptr<charger::IWirelessCharger> connect() const;

    // Sends one line of the dock's control protocol; its reply. One thread.
    Json dock(const std::string& line);
    // The latest requests that the dock got, oldest first.
    std::vector<Json> dockLog();

    Usage usage() const;
    // By a dump, which also calls the subscribers.
    Subscribed subscribed() const;

    // What is wrong with the service: empty when it runs and no sanitizer has reported anything.
    std::string complaint() const;
    // Also when it holds more than before. Waits until the last of it has gone.
    std::string complaint(const Usage& before, const Subscribed& subscribedBefore) const;

  private:
    bool isReady() const;

    std::string mFolder;
    std::unique_ptr<Process> mService;
    std::unique_ptr<virtual_dock::Connection> mDock;
};

}  // namespace test_support
