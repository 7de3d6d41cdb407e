// SPDX-License-Identifier: Apache-2.0
#include "service.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "heap_counter.h"
#include "process.h"

namespace bench {

Service::Service(const Options& options)
    : ChargerSystem(options.kernelUevents ? Uevents::kKernel : Uevents::kSocket) {
    test_support::Words before = {"/usr/bin/env", "LD_LIBRARY_PATH=" + helper("")};
    if (!options.logs) before.push_back("ANDROID_LOG_TAGS=*:W");
    if (options.countsHeap) {
        const std::string path = file("heap-count", std::string(sizeof(uint64_t), '\0'));
        const Fd counter(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        mHeapCount = mmap(nullptr, sizeof(uint64_t), PROT_READ, MAP_SHARED, counter.get(), 0);
        if (mHeapCount == MAP_FAILED) throw Trouble("cannot map " + path);
        before.push_back("LD_PRELOAD=" + helper("libheap_counter.so"));
        before.push_back(std::string(kHeapCountVariable) + "=" + path);
    }
    if (symlink("/dev/null", (folder() + "/service.log").c_str()) != 0) {
        throw Trouble("cannot write to " + folder());
    }
    std::optional<OnCpu> there;
    if (options.cpu) there.emplace(*options.cpu);
    start(before);
    if (options.countsHeap && heapAllocations() == 0) throw Trouble("the heap is not counted");
}

Service::~Service() {
    if (mHeapCount != nullptr) munmap(mHeapCount, sizeof(uint64_t));
}

uint64_t Service::heapAllocations() const {
    return __atomic_load_n(static_cast<const uint64_t*>(mHeapCount), __ATOMIC_RELAXED);
}

}  // namespace bench
