// SPDX-License-Identifier: Apache-2.0
#include "measure.h"

#include <time.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace bench {
namespace {

int64_t read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

int64_t now() {
    return read(CLOCK_MONOTONIC);
}

int64_t processCpu(pid_t pid) {
    clockid_t clock = CLOCK_PROCESS_CPUTIME_ID;
    if (pid != 0 && clock_getcpuclockid(pid, &clock) != 0) return 0;
    return read(clock);
}

int64_t threadCpu(pid_t pid, pid_t thread) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/task/" + std::to_string(thread) +
                       "/schedstat");
    int64_t running = 0;
    file >> running;
    return running;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

}  // namespace bench
