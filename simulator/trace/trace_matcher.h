// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "trace_reader.h"

namespace virtual_dock {

// How exchanges differ from those of a trace.
struct TraceDifference {
    enum class Kind : uint8_t {
        kUnexpected,  // not in the trace, or more often than there
        kMissing,     // in the trace only
        kChanged,     // an unexpected one and a missing one of the same operation and type
        kReordered,   // after one that a thread of the trace has behind it
        kAnswered,    // answered in another way; the matcher does not look at answers
    };
    Kind kind;
    uint64_t line = 0;  // of the trace; 0: not in it
    Operation operation = {};
    int32_t type = 0;
    std::vector<uint8_t> request;
    std::vector<uint8_t> recorded = {};  // kChanged: the request of the missing one
};
const char* differenceName(TraceDifference::Kind kind);

// A trace's exchanges by operation, type and request, to be found in recorded order; of each it
// keeps some 40 bytes, however long they are. Guarded by its owner.
class TraceMatcher {
  public:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Found {
        uint32_t index = kNone;    // of the exchange in the trace; kNone: not there
        uint32_t similar = kNone;  // without one: the latest found of this operation and type, else
                                   // the trace's first
        bool reordered = false;
    };

    // Adds one in the order of the trace, with its place there; returns its index.
    uint32_t add(const TraceExchange& exchange, const TracePlace& place, uint64_t line);

    // The first one like this that was not found yet.
    Found find(Operation operation, int32_t type, Bytes request);

    // Exchanges in the trace, and so many from its beginning on that were all found.
    uint32_t count() const { return static_cast<uint32_t>(mEntries.size()); }
    uint32_t foundInARow() const { return mFoundInARow; }
    TracePlace place(uint32_t index) const { return mEntries[index].place; }
    uint64_t line(uint32_t index) const { return mEntries[index].line; }

    // Those that were not found, in the order of the trace.
    std::vector<uint32_t> missing() const;

  private:
    struct Entry {
        TracePlace place;
        uint64_t line;
        uint32_t next;    // of the same key
        uint32_t thread;  // numbered in order of appearance
        bool found;
    };

    std::vector<Entry> mEntries;
    std::unordered_map<uint64_t, std::pair<uint32_t, uint32_t>> mQueues;  // key: first, last
    std::unordered_set<uint64_t> mShared;  // keys of requests that several threads made
    std::map<std::pair<Operation, int32_t>, uint32_t> mSimilar;
    std::unordered_map<int64_t, uint32_t> mThreads;
    std::vector<uint32_t> mLatestOfThread;  // index + 1; 0: none found
    uint32_t mFoundInARow = 0;
};

// Pairs unexpected ones with missing ones of the same operation and type: both become one
// difference, kChanged.
void pairChanged(std::vector<TraceDifference>* differences);

}  // namespace virtual_dock
