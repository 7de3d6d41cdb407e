// SPDX-License-Identifier: Apache-2.0
#include "service_process.h"

#include <fcntl.h>
#include <host/binder_host.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>

#include "heap_counter.h"
#include "measure.h"

namespace bench {
namespace {

constexpr const char* kUeventVariable = "ANDROID_HOST_UEVENT_SOCKET";

}  // namespace

Proxy connectTo(const std::string& socketPath) {
    const ndk::SpAIBinder binder(android::host::connectService(socketPath));
    Proxy proxy = charger::IWirelessCharger::fromBinder(binder);
    if (proxy == nullptr) throw Trouble("the service at " + socketPath + " does not answer");
    return proxy;
}

ServiceProcess::ServiceProcess(const Options& options) {
    Process::Setup setup;
    setup.cpu = options.cpu;
    setup.environment["ANDROID_HOST_DIR"] = folder();
    setup.environment["LD_LIBRARY_PATH"] = built("lib/bench");
    if (options.kernelUevents) {
        setup.without.push_back(kUeventVariable);
    } else {
        setup.environment[kUeventVariable] = ueventPath();
    }
    if (options.logs) {
        setup.without.push_back("ANDROID_LOG_TAGS");
    } else {
        setup.environment["ANDROID_LOG_TAGS"] = "*:W";
    }
    if (options.countsHeap) {
        const std::string path = folder() + "/heap-count";
        const Fd file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (ftruncate(file.get(), sizeof(uint64_t)) != 0) throw Trouble("cannot write " + path);
        mHeapCount = mmap(nullptr, sizeof(uint64_t), PROT_READ, MAP_SHARED, file.get(), 0);
        if (mHeapCount == MAP_FAILED) throw Trouble("cannot map " + path);
        setup.environment["LD_PRELOAD"] = built("lib/bench/libheap_counter.so");
        setup.environment[kHeapCountVariable] = path;
    }
    mProcess = std::make_unique<Process>(
        Process::run({built("bin/vendor.zorvak.wireless_charger-service")}, setup));
    const std::string path = socketPath();
    const bool started =
        waitUntil([&] { return isListening(path) || mProcess->hasEnded(); }, 10000);
    if (!started || mProcess->hasEnded()) throw Trouble("the service does not start");
    mStartTime = now() - mProcess->execTime();
    if (options.countsHeap && heapAllocations() == 0) throw Trouble("the heap is not counted");
}

ServiceProcess::~ServiceProcess() {
    mProcess.reset();
    if (mHeapCount != nullptr) munmap(mHeapCount, sizeof(uint64_t));
}

std::string ServiceProcess::socketPath() const {
    return folder() + "/binder/" + charger::IWirelessCharger::descriptor + "/default";
}

uint64_t ServiceProcess::heapAllocations() const {
    return __atomic_load_n(static_cast<const uint64_t*>(mHeapCount), __ATOMIC_RELAXED);
}

}  // namespace bench
