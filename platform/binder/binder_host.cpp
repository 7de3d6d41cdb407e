// SPDX-License-Identifier: Apache-2.0
#include "host/binder_host.h"

#include <android-base/logging.h>
#include <android/binder_auto_utils.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "binder.h"
#include "host/runtime_dir.h"
#include "parcel.h"
#include "service_lock.h"
#include "session.h"
#include "unix_socket.h"

namespace android::host {
namespace {

using android::base::unique_fd;

// What the platform calls a result receiver: told once, by a oneway call, how the command ended.
struct Result {
    std::mutex lock;
    std::condition_variable arrived;
    bool known GUARDED_BY(lock) = false;
    binder_status_t status GUARDED_BY(lock) = STATUS_OK;
};

binder_status_t onResult(AIBinder* binder, transaction_code_t code, const AParcel* in, AParcel*) {
    if (code != FIRST_CALL_TRANSACTION) return STATUS_UNKNOWN_TRANSACTION;
    binder_status_t status;
    if (binder_status_t s = in->readValue(&status); s != STATUS_OK) return s;
    auto* result = static_cast<Result*>(AIBinder_getUserData(binder));
    std::lock_guard lock(result->lock);
    result->known = true;
    result->status = status;
    result->arrived.notify_all();
    return STATUS_OK;
}

const AIBinder_Class* resultReceiverClass() {
    static const AIBinder_Class* const clazz = AIBinder_Class_define(
        "com.android.internal.os.IResultReceiver", [](void* args) { return args; },
        [](void* userData) { delete static_cast<Result*>(userData); }, onResult);
    return clazz;
}

// The result is sent before the command's own answer, on another connection.
constexpr LimitUnit kResultTimeout(5);

binder_status_t awaitResult(Result& result, binder_status_t* status)
    NO_THREAD_SAFETY_ANALYSIS {  // std::unique_lock is not annotated
    std::unique_lock lock(result.lock);
    auto end = std::chrono::steady_clock::now() + kResultTimeout;
    while (!result.known) {
        if (result.arrived.wait_until(lock, end) == std::cv_status::timeout) {
            return STATUS_TIMED_OUT;
        }
    }
    *status = result.status;
    return STATUS_OK;
}

void listFolder(const std::string& folder, const std::string& prefix,
                std::vector<std::string>* names) {
    std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(folder.c_str()), closedir);
    if (!dir) return;
    while (const dirent* entry = readdir(dir.get())) {
        std::string name = entry->d_name;
        if (name.starts_with('.')) continue;
        if (entry->d_type == DT_DIR) listFolder(folder + "/" + name, prefix + name + "/", names);
        if (entry->d_type == DT_SOCK && isServed(folder + "/" + name)) {
            names->push_back(prefix + name);
        }
    }
}

}  // namespace

std::vector<std::string> listServices() {
    std::string folder;
    std::string error;
    if (!hostRuntimeSubdir("binder", &folder, &error)) {
        LOG(ERROR) << error;
        return {};
    }
    std::vector<std::string> names;
    listFolder(folder, "", &names);
    std::sort(names.begin(), names.end());
    return names;
}

pid_t serverOf(const std::string& name) {
    std::string folder;
    std::string error;
    if (!hostRuntimeSubdir("binder", &folder, &error)) {
        LOG(ERROR) << error;
        return 0;
    }
    const unique_fd socket = connectUnix(folder + "/" + name);
    return socket.ok() ? std::max(peerOf(socket.get()).pid, 0) : 0;
}

AIBinder* connectService(const std::string& path) {
    return Session::connect(path);
}

std::string interfaceDescriptor(AIBinder* binder) {
    AParcel in;
    AParcel out;
    std::string descriptor;
    if (binder->transact(kInterfaceCode, in, out, 0) != STATUS_OK) return {};
    return out.readString(&descriptor) == STATUS_OK ? descriptor : std::string();
}

binder_status_t shellCommand(AIBinder* binder, int in, int out, int err,
                             const std::vector<std::string>& args, binder_status_t* result) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    Reactor::get().startPool();
    AParcel request;
    AParcel answer;
    for (int fd : {in, out, err}) {
        unique_fd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
        if (!copy.ok()) return -errno;
        request.writeFd(std::move(copy));
    }
    request.writeValue(static_cast<int32_t>(args.size()));
    for (const std::string& arg : args) request.writeString(arg);
    request.writeBinder(nullptr);  // no shell callback: no files are opened for the service
    auto* state = new Result;
    ndk::SpAIBinder receiver(AIBinder_new(resultReceiverClass(), state));
    request.writeBinder(receiver.get());
    binder_status_t status = binder->transact(kShellCommandCode, request, answer, 0);
    return status == STATUS_OK ? awaitResult(*state, result) : status;
}

}  // namespace android::host
