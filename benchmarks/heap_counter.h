// SPDX-License-Identifier: Apache-2.0
// Counts the heap allocations of a process: heap_counter.cpp takes the place of malloc and its
// relatives (and so of operator new), counts, and hands on to the C library. Linked into the
// benchmark; for another program built as a library and loaded by LD_PRELOAD.
#pragma once

#include <cstdint>

namespace bench {

// Names a file of at least 8 bytes that a preloaded counter keeps its count in, as a native 64-bit
// number, so that the benchmark can read it from outside.
inline constexpr const char* kHeapCountVariable = "BENCH_HEAP_COUNT";

// Allocations (reallocations too) of all threads of this process so far.
uint64_t heapAllocations();

}  // namespace bench
