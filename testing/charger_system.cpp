// SPDX-License-Identifier: Apache-2.0
#include "charger_system.h"

#include <android-base/unique_fd.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <host/binder_host.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "kernel_uevents.h"

namespace test_support {
namespace {

using android::base::unique_fd;

// Beyond this the service keeps what it should have let go. A sanitizer's bookkeeping is in there
// too: 80 MiB more after an hour under asan, while the heap stays as it is.
constexpr size_t kMemoryMarginKiB = kSanitized ? 256 * 1024 : 4 * 1024;
// Threads that serve calls are made when they are first needed, and stay.
constexpr size_t kPoolThreads = 3;

std::string readFile(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(text).str();
}

size_t entriesOf(const std::string& folder) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(folder, error);
    return error ? 0 : static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

std::string dumpOf(AIBinder* binder) {
    const unique_fd file(memfd_create("dump", MFD_CLOEXEC));
    (void)AIBinder_dump(binder, file.get(), nullptr, 0);
    return readFile("/proc/self/fd/" + std::to_string(file.get()));
}

int numberAfter(const std::string& text, const std::string& label) {
    const size_t at = text.find(label);
    return at == std::string::npos ? -1 : std::atoi(text.c_str() + at + label.size());
}

}  // namespace

std::string program(const std::string& name) {
    return std::string(PROGRAM_FOLDER) + "/" + name;
}

std::ostream& operator<<(std::ostream& out, const Subscribed& counts) {
    return out << "{rtx " << counts.rtx << ", alignment " << counts.alignment << ", fan "
               << counts.fan << "}";
}

ChargerSystem::ChargerSystem(Uevents uevents) {
    mFolder = (std::filesystem::temp_directory_path() / "charger-system.XXXXXX").string();
    if (mkdtemp(mFolder.data()) == nullptr) throw std::runtime_error("cannot make " + mFolder);
    setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    setenv("XDG_STATE_HOME", (mFolder + "/state").c_str(), 1);  // of wlc
    // The address sanitizer holds freed memory back, 256 MiB and 1 MiB for each thread unless told
    // otherwise; other options stay.
    const char* const given = std::getenv("ASAN_OPTIONS");
    const std::string options = given != nullptr ? given + std::string(":") : std::string();
    setenv("ASAN_OPTIONS",
           (options + "quarantine_size_mb=4:thread_local_quarantine_size_kb=64").c_str(), 1);
    if (uevents == Uevents::kSocket) {
        setenv("ANDROID_HOST_UEVENT_SOCKET", (mFolder + "/uevent").c_str(), 1);
    } else {
        unsetenv("ANDROID_HOST_UEVENT_SOCKET");
    }
}

ChargerSystem::~ChargerSystem() {
    killService();
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
}

std::string ChargerSystem::file(const std::string& name, const std::string& bytes) const {
    const std::string path = mFolder + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::unique_ptr<Process> ChargerSystem::launch(const Words& before) {
    Words words = before;
    words.push_back(program("vendor.zorvak.wireless_charger-service"));
    return std::make_unique<Process>(words, mFolder + "/service.log");
}

void ChargerSystem::start(const Words& before) {
    mService = launch(before);
    if (!eventually([&] { return isReady() || !isRunning(pid()); }) || !isRunning(pid())) {
        throw std::runtime_error("the service does not start: " + log());
    }
}

// Registered, and listening for uevents, which its event thread begins on its own time.
bool ChargerSystem::isReady() const {
    if (ndk::SpAIBinder(AServiceManager_checkService(kInstance)).get() == nullptr) return false;
    const char* const path = std::getenv("ANDROID_HOST_UEVENT_SOCKET");
    NetlinkSocket ignored;
    if (path == nullptr) return findUeventSocket(pid(), &ignored);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
    const unique_fd probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return ::connect(probe.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
}

std::string ChargerSystem::stopService() {
    if (mService == nullptr) return {};
    std::string found = complaint();
    mService->signal(SIGTERM);
    if (mService->wait().signal != SIGTERM) found += "the service ended by itself\n" + log();
    killService();
    return found;
}

void ChargerSystem::killService() {
    mDock.reset();
    mService.reset();
}

std::string ChargerSystem::log() const {
    return readFile(mFolder + "/service.log");
}

size_t ChargerSystem::countInLog(const std::string& text) const {
    const std::string written = log();
    size_t count = 0;
    for (size_t at = 0; (at = written.find(text, at)) != std::string::npos; at += text.size()) {
        ++count;
    }
    return count;
}

bool ChargerSystem::waitForLog(const std::string& text, size_t count) const {
    return eventually([&] { return countInLog(text) >= count; });
}

std::shared_ptr<charger::IWirelessCharger> ChargerSystem::connect() const {
    const ndk::SpAIBinder binder(android::host::connectService(socketPath()));
    auto service = charger::IWirelessCharger::fromBinder(binder);
    if (service == nullptr) throw std::runtime_error("cannot connect to the service");
    return service;
}

Json ChargerSystem::dock(const std::string& line) {
    if (mDock == nullptr) mDock = std::make_unique<virtual_dock::Connection>();
    Json reply = Json::parse(mDock->ask(line));
    if (reply["ok"] != true) throw std::runtime_error(line + ": " + reply.dump());
    return reply;
}

std::vector<Json> ChargerSystem::dockLog() {
    virtual_dock::Connection connection;
    connection.send("log");
    std::vector<Json> entries;
    for (;;) {
        Json entry = Json::parse(connection.receive());
        if (entry.contains("ok")) return entries;
        entries.push_back(std::move(entry));
    }
}

Usage ChargerSystem::usage() const {
    const std::string process = "/proc/" + std::to_string(pid());
    const int memory = numberAfter(readFile(process + "/status"), "RssAnon:");
    return {entriesOf(process + "/fd"), entriesOf(process + "/task"),
            static_cast<size_t>(std::max(memory, 0))};
}

Subscribed ChargerSystem::subscribed() const {
    const std::string text = dumpOf(connect()->asBinder().get());
    return {numberAfter(text, "    RTx: "), numberAfter(text, "    Alignment: "),
            numberAfter(text, "    Fan level: ")};
}

std::string ChargerSystem::complaint() const {
    std::string found;
    if (!isRunning(pid())) found += "the service has ended\n";
    for (const char* report : {"Sanitizer", "runtime error:"}) {
        if (countInLog(report) != 0) found += "a sanitizer report\n";
    }
    return found.empty() ? found : found + log();
}

std::string ChargerSystem::complaint(const Usage& before,
                                     const Subscribed& subscribedBefore) const {
    if (std::string found = complaint(); !found.empty()) return found;
    Usage now;
    Subscribed subscribedNow;
    const bool back = eventually([&] {
        subscribedNow = subscribed();
        return eventually(
            [&] {
                now = usage();
                return now.descriptors <= before.descriptors &&
                       now.threads <= before.threads + kPoolThreads &&
                       now.memoryKiB <= before.memoryKiB + kMemoryMarginKiB &&
                       subscribedNow == subscribedBefore;
            },
            std::chrono::seconds(1));
    });
    if (back) return complaint();
    std::ostringstream text;
    text << "the service keeps " << now.descriptors
         << " descriptors (before: " << before.descriptors << "), " << now.threads << " threads ("
         << before.threads << "), " << now.memoryKiB << " KiB (" << before.memoryKiB
         << "), subscribers " << subscribedNow << " (" << subscribedBefore << ")";
    return text.str();
}

}  // namespace test_support
