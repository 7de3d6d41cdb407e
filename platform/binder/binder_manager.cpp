// SPDX-License-Identifier: Apache-2.0
//
// The C functions of android/binder_manager.h. There is no manager process: a service is a
// listening socket in the run-time folder, and a lock on a file beside it says that its process
// lives.
#include <android-base/logging.h>
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <errno.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>

#include "host/runtime_dir.h"
#include "listener.h"
#include "service_lock.h"
#include "unix_socket.h"
#include "vintf.h"

using namespace android::host;
using android::base::unique_fd;

namespace {

constexpr size_t kMaxNameLength = 127;     // as the platform's service manager
constexpr size_t kMaxLastPartLength = 80;  // what is left of a socket address by a short folder
constexpr std::chrono::milliseconds kLookAgainAfter(20);

bool isValidName(std::string_view name) {
    if (name.empty() || name.size() > kMaxNameLength) return false;
    if (name.size() - (name.rfind('/') + 1) > kMaxLastPartLength) return false;
    // Letters, digits and a few signs; each part between slashes begins with none of the signs, so
    // that a name never leaves the folder and never meets a lock file.
    bool partBegins = true;
    for (char c : name) {
        bool alphanumeric = isalnum(static_cast<unsigned char>(c)) != 0;
        if (!alphanumeric && (partBegins || strchr("_-.:/", c) == nullptr)) return false;
        partBegins = c == '/';
    }
    return !partBegins && !name.ends_with(kLockSuffix);
}

struct Registry {
    std::mutex lock;
    std::map<std::string, ndk::SpAIBinder> served GUARDED_BY(lock);
    std::vector<unique_fd> locks GUARDED_BY(lock);
    std::map<std::string, ndk::ScopedAIBinder_Weak> known GUARDED_BY(lock);
};

Registry& registry() {
    static auto* const instance = new Registry;
    return *instance;
}

// The path of the service's socket; empty, with the reason in the log, when there can be none.
std::string socketPath(const std::string& name) {
    size_t slash = name.rfind('/');
    std::string folder = "binder";
    if (slash != std::string::npos) folder += "/" + name.substr(0, slash);
    std::string path;
    std::string error;
    if (!hostRuntimeSubdir(folder, &path, &error)) {
        LOG(ERROR) << error;
        return {};
    }
    return path + "/" + (slash == std::string::npos ? name : name.substr(slash + 1));
}

// Every connection is a descriptor: a service should not run out of them before its users do.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == limit.rlim_max) return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

bool removeLeftover(const std::string& socket) {
    struct stat info {};
    if (lstat(socket.c_str(), &info) != 0) return errno == ENOENT;
    if (!S_ISSOCK(info.st_mode)) {
        LOG(ERROR) << socket << " is not a socket; remove it to register the service";
        return false;
    }
    return unlink(socket.c_str()) == 0;
}

// Polls: nothing announces a service that starts.
AIBinder* lookFor(const char* name, std::chrono::milliseconds limit) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (true) {
        if (AIBinder* binder = AServiceManager_checkService(name)) return binder;
        if (limit.count() >= 0 && std::chrono::steady_clock::now() >= end) return nullptr;
        std::this_thread::sleep_for(kLookAgainAfter);
    }
}

}  // namespace

binder_exception_t AServiceManager_addService(AIBinder* binder, const char* instance) {
    const std::string name = instance;
    if (binder == nullptr || binder->isRemote()) return EX_ILLEGAL_ARGUMENT;
    if (!isValidName(name)) {
        LOG(ERROR) << "'" << name << "' cannot be the name of a service: at most " << kMaxNameLength
                   << " letters, digits and _-.:/ are allowed, behind the last slash "
                   << kMaxLastPartLength;
        return EX_ILLEGAL_ARGUMENT;
    }
    std::string path = socketPath(name);
    if (path.empty()) return EX_SECURITY;
    unique_fd serviceLock = openLock(path, /*create=*/true);
    if (!serviceLock.ok()) {
        PLOG(ERROR) << "Cannot open the lock of " << path;
        return EX_ILLEGAL_STATE;
    }
    if (!takeLock(serviceLock)) {
        LOG(ERROR) << "Service '" << name << "' is already registered by another process";
        return EX_ILLEGAL_STATE;
    }
    // Hidden until it listens: a name that is seen can be called. No name has a part like it.
    const std::string hidden = std::string(path).insert(path.rfind('/') + 1, ".");
    if (!removeLeftover(path) || !removeLeftover(hidden)) return EX_ILLEGAL_STATE;
    raiseDescriptorLimit();
    unique_fd socket = listenUnix(hidden);
    if (!socket.ok() || rename(hidden.c_str(), path.c_str()) != 0) {
        PLOG(ERROR) << "Cannot listen at " << path;
        return EX_ILLEGAL_STATE;
    }
    const size_t maxCalls = std::max(kMinCallConnections, Reactor::get().maxThreads() + 1);
    if (!Reactor::get().add(std::make_shared<Listener>(std::move(socket), binder, maxCalls))) {
        return EX_ILLEGAL_STATE;
    }
    Registry& names = registry();
    std::lock_guard lock(names.lock);
    binder->incStrong();
    names.served[name] = ndk::SpAIBinder(binder);
    names.locks.push_back(std::move(serviceLock));
    return EX_NONE;
}

AIBinder* AServiceManager_checkService(const char* instance) {
    const std::string name = instance;
    if (!isValidName(name)) return nullptr;
    Registry& names = registry();
    {
        std::lock_guard lock(names.lock);
        if (auto own = names.served.find(name); own != names.served.end()) {
            own->second.get()->incStrong();
            return own->second.get();
        }
        if (auto known = names.known.find(name); known != names.known.end()) {
            AIBinder* binder = AIBinder_Weak_promote(known->second.get());
            if (AIBinder_isAlive(binder)) return binder;
            AIBinder_decStrong(binder);
        }
    }
    std::string path = socketPath(name);
    if (path.empty() || !isServed(path)) return nullptr;
    AIBinder* binder = Session::connect(path);
    if (binder == nullptr) return nullptr;
    std::lock_guard lock(names.lock);
    names.known[name].set(AIBinder_Weak_new(binder));
    return binder;
}

// As on the platform, a service that is about to start is waited for, but not for long.
AIBinder* AServiceManager_getService(const char* instance) {
    return lookFor(instance, std::chrono::seconds(5));
}

AIBinder* AServiceManager_waitForService(const char* instance) {
    return isValidName(instance) ? lookFor(instance, std::chrono::milliseconds(-1)) : nullptr;
}

bool AServiceManager_isDeclared(const char* instance) {
    std::string folder;
    std::string error;
    if (!hostRuntimeSubdir("vintf", &folder, &error)) {
        LOG(ERROR) << error;
        return false;
    }
    return isDeclaredIn(folder, instance);
}
