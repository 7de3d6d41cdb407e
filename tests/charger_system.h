// SPDX-License-Identifier: Apache-2.0
//
// A whole system for tests: the service's process on the virtual dock, in a run-time folder of its
// own, with ways to steer the dock, to call the service and to see what its process holds.
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "dockctl/connection.h"
#include "process.h"

namespace charger_system {

namespace charger = ::aidl::vendor::zorvak::wireless_charger;

using Json = nlohmann::json;
using Words = std::vector<std::string>;
using wlc::kLimit;
using wlc::Outcome;
using wlc::Process;
using wlc::run;

inline constexpr char kInstance[] = "vendor.zorvak.wireless_charger.IWirelessCharger/default";

// In a program that a sanitizer watches, memory says little about leaks and everything is slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

// Waits until the condition holds; false when it still does not when the limit has passed.
bool eventually(const std::function<bool()>& holds, std::chrono::seconds limit = kLimit);

// The path of one of the programs of this build.
std::string program(const std::string& name);

// What a process holds. Memory is its own anonymous memory, what a leak would make grow.
struct Usage {
    size_t descriptors = 0;
    size_t threads = 0;
    size_t memoryKiB = 0;
};
Usage usageOf(pid_t pid);

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
    // Where the service's socket stands while it is registered.
    std::string socketPath() const { return mFolder + "/binder/" + kInstance; }

    // A service process whose output goes to the log file, `before` in front of its command line.
    // Ends with the object.
    std::unique_ptr<Process> launch(const Words& before = {});
    // Launches it and waits until it has registered and listens for uevents.
    void start(const Words& before = {});
    // Ends it as init does; what was wrong with it, as complaint() tells.
    std::string stopService();
    void killService();
    pid_t pid() const { return mService->pid(); }

    // All that the services launched so far have written.
    std::string log() const;
    size_t countInLog(const std::string& text) const;
    bool waitForLog(const std::string& text, size_t count = 1) const;

    // A client with a session of its own.
    std::shared_ptr<charger::IWirelessCharger> connect() const;

    // One line of the dock's control protocol; its reply.
    Json dock(const std::string& line);

    Usage usage() const { return usageOf(pid()); }
    // By a dump, which also calls the subscribers.
    Subscribed subscribed() const;

    // What is wrong with the state of the service after all that was done to it: nothing when it
    // runs, no sanitizer has spoken and it holds what it held. Waits for the last of it to go.
    std::string complaint(const Usage& before, const Subscribed& subscribedBefore) const;
    // The part of it that holds at any time.
    std::string complaint() const;

  private:
    bool hearsUevents() const;

    std::string mFolder;
    std::unique_ptr<Process> mService;
    std::unique_ptr<dockctl::Connection> mDock;
};

// Whether this process has become the parent of nobody.
bool hasNoChildren();

// Whether the process is there and has not ended.
bool isRunning(pid_t pid);

}  // namespace charger_system
