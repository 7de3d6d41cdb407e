// SPDX-License-Identifier: Apache-2.0
// Clocks, medians, and measuring two things in turns. Times are in nanoseconds.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace bench {

// The monotonic clock.
int64_t now();

// CPU time of a process (0: this one), all threads; of one thread, as the scheduler counts it.
int64_t processCpu(pid_t pid);
int64_t threadCpu(pid_t pid, pid_t thread);

// Of an unsorted list that is not empty.
double median(std::vector<double> values);

// What measuring in turns found: medians over the rounds.
struct Pair {
    double measured = 0;
    double baseline = 0;
    double ratio = 0;   // of measured / baseline in each round
    double beyond = 0;  // of measured - baseline in each round
};

// Runs subject and baseline in turns, so that a machine that grows slower is so for both. Each
// returns its figure of one round. A first round warms up and is not counted.
template <typename Subject, typename Baseline>
Pair inTurns(int rounds, Subject subject, Baseline baseline) {
    subject();
    baseline();
    std::vector<double> subjects;
    std::vector<double> baselines;
    std::vector<double> ratios;
    std::vector<double> differences;
    for (int i = 0; i < rounds; ++i) {
        const double a = subject();
        const double b = baseline();
        subjects.push_back(a);
        baselines.push_back(b);
        ratios.push_back(b > 0 ? a / b : 0);
        differences.push_back(a - b);
    }
    return {median(subjects), median(baselines), median(ratios), median(differences)};
}

// Median of what `one` returns.
template <typename One>
double medianOf(int count, One one) {
    std::vector<double> values;
    values.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) values.push_back(one());
    return median(std::move(values));
}

// Median time of one call, each timed alone.
template <typename Call>
double medianTime(int count, Call call) {
    return medianOf(count, [&] {
        const int64_t begin = now();
        call();
        return static_cast<double>(now() - begin);
    });
}

// Mean time of one call in a loop: for calls too short to be timed alone.
template <typename Call>
double meanTime(int count, Call call) {
    const int64_t begin = now();
    for (int i = 0; i < count; ++i) call();
    return static_cast<double>(now() - begin) / count;
}

// CPU time of this process and another for one call.
template <typename Call>
double cpuOfCall(pid_t other, int count, Call call) {
    const int64_t begin = processCpu(0) + processCpu(other);
    for (int i = 0; i < count; ++i) call();
    return static_cast<double>(processCpu(0) + processCpu(other) - begin) / count;
}

}  // namespace bench
