// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// One request and what came of it.
struct LogEntry {
    static constexpr size_t kMaxBytes = 256;  // of each of request and answer; the rest is cut

    uint64_t number;     // counts from 1
    int64_t timeNs;      // monotonic clock, when the answer went out
    int64_t wallTimeNs;  // the same moment since 1970
    uint32_t result;
    int32_t type;  // request type; the selector of getWlcInfo; 0 where there is neither
    Operation operation;
    uint32_t requestLength;  // as sent, even when cut
    uint32_t answerLength;
    std::array<uint8_t, kMaxBytes> request;
    std::array<uint8_t, kMaxBytes> answer;

    Bytes storedRequest() const;
    Bytes storedAnswer() const;
};

// The latest kCapacity requests, in memory that is taken once. Appending neither allocates nor
// calls the kernel. Guarded by its owner.
class RequestLog {
  public:
    static constexpr size_t kCapacity = 256;

    RequestLog();

    void append(Operation operation, int32_t type, uint32_t result, Bytes request, Bytes answer,
                int64_t timeNs);

    uint64_t newest() const { return mNewest; }  // 0 when empty
    uint64_t oldest() const { return mNewest < kCapacity ? 1 : mNewest - kCapacity + 1; }

    // The entry with a number from oldest() to newest().
    const LogEntry& entry(uint64_t number) const { return mEntries[number % kCapacity]; }

  private:
    std::unique_ptr<LogEntry[]> mEntries;
    uint64_t mNewest = 0;
};

}  // namespace virtual_dock
