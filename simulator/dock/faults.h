// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "protocol.h"

namespace virtual_dock {

// A fault injected into an operation, or into one request type of it.
struct Fault {
    enum class Kind : uint8_t { kFail, kDelay, kAnswer };

    Operation operation;
    std::optional<int32_t> type;  // absent: every type
    Kind kind;
    uint32_t result = 0;                // kFail
    uint32_t delayMs = 0;               // kDelay
    std::vector<uint8_t> answer;        // kAnswer: sent instead of the dock's own
    std::optional<uint32_t> remaining;  // requests it still applies to; absent: until cleared
    uint32_t skipped = 0;               // requests that it leaves alone before that
};

// What the faults do to one request.
struct FaultOutcome {
    uint32_t delayMs = 0;
    uint32_t result = 0;  // not 0: the request fails with it and changes nothing
    std::optional<std::vector<uint8_t>> answer;
};

// The faults that are set. At most one of a kind for an operation and type; one for a type
// takes precedence over one for the whole operation. Guarded by its owner.
class Faults {
  public:
    static constexpr size_t kMaxFaults = 64;

    // Adds or replaces a fault. False when kMaxFaults are set already.
    [[nodiscard]] bool set(Fault fault);

    // Removes the fault of that kind, when there is one.
    void clear(Operation operation, std::optional<int32_t> type, Fault::Kind kind);

    // Counts one request. Callers ask empty() first, which is cheap.
    bool empty() const { return mFaults.empty(); }
    FaultOutcome take(Operation operation, int32_t type);

    const std::vector<Fault>& all() const { return mFaults; }

  private:
    Fault* find(Operation operation, int32_t type, Fault::Kind kind);
    // The fault that applies to this request, if any.
    std::optional<Fault> use(Operation operation, int32_t type, Fault::Kind kind);

    std::vector<Fault> mFaults;
};

}  // namespace virtual_dock
