// SPDX-License-Identifier: Apache-2.0
#include "charger_system.h"

#include <android-base/unique_fd.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <host/binder_host.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "kernel_uevents.h"

namespace charger_system {
namespace {

using android::base::unique_fd;

// Beyond this the service keeps what it should have let go. Under a sanitizer its bookkeeping and
// the freed memory that it holds back are in there too.
constexpr size_t kMemoryMarginKiB = kSanitized ? 64 * 1024 : 4 * 1024;

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

size_t entriesOf(const std::string& folder) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(folder, error);
    return error ? 0 : static_cast<size_t>(std::distance(begin(entries), end(entries)));
}

std::string dumpOf(AIBinder* binder) {
    std::string text;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return text;
    unique_fd readEnd(ends[0]);
    unique_fd writeEnd(ends[1]);
    std::thread reader([&] {
        char piece[4096];
        ssize_t count;
        while ((count = read(readEnd.get(), piece, sizeof(piece))) > 0) {
            text.append(piece, static_cast<size_t>(count));
        }
    });
    (void)AIBinder_dump(binder, writeEnd.get(), nullptr, 0);
    writeEnd.reset();
    reader.join();
    return text;
}

int numberAfter(const std::string& text, const std::string& label) {
    const size_t at = text.find(label);
    return at == std::string::npos ? -1 : std::atoi(text.c_str() + at + label.size());
}

}  // namespace

bool eventually(const std::function<bool()>& holds, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!holds()) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

std::string program(const std::string& name) {
    return std::string(PROGRAM_FOLDER) + "/" + name;
}

Usage usageOf(pid_t pid) {
    const std::string folder = "/proc/" + std::to_string(pid);
    Usage usage;
    usage.descriptors = entriesOf(folder + "/fd");
    usage.threads = entriesOf(folder + "/task");
    const int memory = numberAfter(readFile(folder + "/status"), "RssAnon:");
    usage.memoryKiB = static_cast<size_t>(std::max(memory, 0));
    return usage;
}

std::ostream& operator<<(std::ostream& out, const Subscribed& counts) {
    return out << "{rtx " << counts.rtx << ", alignment " << counts.alignment << ", fan "
               << counts.fan << "}";
}

bool hasNoChildren() {
    return waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
}

bool isRunning(pid_t pid) {
    const std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
    const size_t name = stat.rfind(')');
    return name != std::string::npos && name + 2 < stat.size() && stat[name + 2] != 'Z';
}

ChargerSystem::ChargerSystem(Uevents uevents) {
    mFolder = (std::filesystem::temp_directory_path() / "charger-system.XXXXXX").string();
    if (mkdtemp(mFolder.data()) == nullptr) throw std::runtime_error("cannot make " + mFolder);
    setenv("ANDROID_HOST_DIR", mFolder.c_str(), 1);
    // The address sanitizer holds freed memory back, 256 MiB and 1 MiB for each thread unless told
    // otherwise; what was asked for besides stays.
    const char* options = std::getenv("ASAN_OPTIONS");
    setenv("ASAN_OPTIONS",
           ((options != nullptr ? options + std::string(":") : std::string()) +
            "quarantine_size_mb=4:thread_local_quarantine_size_kb=64")
               .c_str(),
           1);
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

std::unique_ptr<Process> ChargerSystem::launch(const Words& before) {
    Words words = before;
    words.push_back(program("vendor.zorvak.wireless_charger-service"));
    return std::make_unique<Process>(words, mFolder + "/service.log");
}

void ChargerSystem::start(const Words& before) {
    mService = launch(before);
    const bool registered = eventually([&] {
        const ndk::SpAIBinder binder(AServiceManager_checkService(kInstance));
        return binder.get() != nullptr || !isRunning(mService->pid());
    });
    if (!registered || !isRunning(mService->pid())) {
        throw std::runtime_error("the service does not start: " + log());
    }
    // Its event thread opens the socket on its own time.
    if (!eventually([&] { return hearsUevents(); })) {
        throw std::runtime_error("the service does not listen for uevents: " + log());
    }
}

bool ChargerSystem::hearsUevents() const {
    const char* path = std::getenv("ANDROID_HOST_UEVENT_SOCKET");
    NetlinkSocket ignored;
    if (path == nullptr) return findUeventSocket(mService->pid(), &ignored);
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
    const ndk::SpAIBinder binder(host::binder::connectService(socketPath()));
    auto service = charger::IWirelessCharger::fromBinder(binder);
    if (service == nullptr) throw std::runtime_error("cannot connect to the service");
    return service;
}

Json ChargerSystem::dock(const std::string& line) {
    if (mDock == nullptr) mDock = std::make_unique<dockctl::Connection>();
    mDock->send(line);
    Json reply = Json::parse(mDock->receive());
    if (reply["ok"] != true) throw std::runtime_error(line + ": " + reply.dump());
    return reply;
}

Subscribed ChargerSystem::subscribed() const {
    const std::string text = dumpOf(connect()->asBinder().get());
    return {numberAfter(text, "    RTx: "), numberAfter(text, "    Alignment: "),
            numberAfter(text, "    Fan level: ")};
}

std::string ChargerSystem::complaint() const {
    std::string found;
    if (!isRunning(pid())) found += "the service has ended\n";
    const std::string written = log();
    for (const char* report : {"Sanitizer", "runtime error:"}) {
        if (written.find(report) != std::string::npos) found += "a sanitizer report\n";
    }
    if (!found.empty()) found += written;
    return found;
}

std::string ChargerSystem::complaint(const Usage& before,
                                     const Subscribed& subscribedBefore) const {
    std::string found = complaint();
    if (!found.empty()) return found;
    Usage now;
    Subscribed subscribedNow;
    const bool back = eventually([&] {
        subscribedNow = subscribed();
        return eventually(
            [&] {
                now = usage();
                return now.descriptors <= before.descriptors && now.threads <= before.threads &&
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

}  // namespace charger_system
