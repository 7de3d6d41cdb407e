// SPDX-License-Identifier: Apache-2.0
#include "process_endpoint.h"

#include <android/log.h>
#include <host/runtime_dir.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

#include "remote_dock.h"
#include "uevent.h"
#include "virtual_dock.h"

namespace virtual_dock {
namespace {

constexpr const char* kLogTag = "virtual-dock";

std::atomic<Endpoint*> gRemote = nullptr;  // null: the dock of this process

// The dock runs in another folder.
std::string absolute(const std::string& path) {
    std::error_code ignored;
    return path.empty() ? path : std::filesystem::absolute(path, ignored).string();
}

void choose() {
    std::string path;
    std::string problem;
    const char* const named = std::getenv("VIRTUAL_DOCK");
    const bool isNamed = named != nullptr && named[0] != '\0';
    if (isNamed) {
        path = named;
    } else if (android::host::hostRuntimeDir(&path, &problem)) {
        path += "/dock";
    }
    // Lives until the process ends, as the dock does.
    auto* const remote = new RemoteDock(path, absolute(ueventSocketOfProcess()));
    const bool connected = !path.empty() && remote->connect(&problem);
    if (!connected && !isNamed) {
        delete remote;
        startProcessDock();
        return;
    }
    if (connected) {
        __android_log_print(ANDROID_LOG_INFO, kLogTag, "using the dock at %s", path.c_str());
    } else {
        __android_log_print(ANDROID_LOG_WARN, kLogTag,
                            "%s; requests fail until virtual-dock runs where $VIRTUAL_DOCK says",
                            problem.c_str());
    }
    remote->stayKnown();
    gRemote.store(remote, std::memory_order_release);
}

}  // namespace

void startProcessEndpoint() {
    static std::once_flag once;
    std::call_once(once, choose);
}

Endpoint& processEndpoint() {
    Endpoint* const remote = gRemote.load(std::memory_order_acquire);
    return remote != nullptr ? *remote : recordedProcessDock();
}

}  // namespace virtual_dock
