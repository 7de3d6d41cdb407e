// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a trace: read, replayed to itself, masked.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "trace/replayer.h"
#include "trace/trace_mask.h"

using namespace virtual_dock;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const android::base::unique_fd file(memfd_create("trace", MFD_CLOEXEC));
    if (write(file.get(), data, size) != static_cast<ssize_t>(size)) std::abort();
    const std::string path = "/proc/self/fd/" + std::to_string(file.get());
    std::string problem;
    TraceReader reader;
    if (!reader.open(path, &problem)) {
        if (problem.empty()) std::abort();
        return 0;
    }
    Replayer replayer({.speed = 0, .strict = true}, nullptr);
    std::string warning;
    if (!replayer.open(path, &problem, &warning)) std::abort();
    TraceMask mask(true);
    TraceEntry entry;
    while (reader.next(&entry)) {
        auto* const exchange = std::get_if<TraceExchange>(&entry);
        if (exchange == nullptr) continue;
        uint8_t answer[64];
        replayer.exchange({.operation = exchange->operation,
                           .type = exchange->type,
                           .request = exchange->request,
                           .answer = answer,
                           .capacity = sizeof(answer)});
        mask.apply(exchange);
    }
    // The order of the trace is that of the trace.
    if (reader.problem() != warning || !replayer.differences().empty()) std::abort();
    return 0;
}
