// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// How the phone lies on the dock.
struct Alignment {
    static constexpr uint8_t kAligned = 1;
    static constexpr uint8_t kOff = 3;

    uint8_t state = kAligned;
    uint8_t subState = 0;
    int32_t value1 = 0;
    int32_t value2 = 0;
};

// What the charger knows without asking the dock. Without a dock only the phone's own value can be
// read, and the alignment is off. A value type.
class Charger {
  public:
    bool docked = true;
    bool charging = true;  // false: on the dock, no power

    uint32_t qiSpec = 0x1301;
    uint32_t compatibility = 1;
    uint32_t maxPower = 15000;
    uint32_t negotiatedPower = 12000;
    uint32_t limitReason = 0;
    uint32_t ptmc = 0x72;
    uint32_t dockId = 0x61123456;  // top byte: has information, class 1, kind 1
    uint32_t product = 1;

    Alignment alignment;

    int8_t boostTemperature = 31;  // degrees Celsius
    int8_t puckTemperature = 28;

    // The value of a status::Type.
    Result readStatus(int32_t selector, uint32_t fanLevel, uint32_t* value) const;

    // The alignment as the library reports it: off without a dock or without power.
    Alignment reportedAlignment() const;
};

// The feature values, by query. A query that was never set has the default. A value type.
class Features {
  public:
    static constexpr size_t kMaxQueries = 64;

    int64_t defaultValue = 0x1F;

    int64_t get(int64_t query) const;
    Result set(int64_t query, int64_t value);
    const std::vector<std::pair<int64_t, int64_t>>& all() const { return mValues; }

  private:
    std::vector<std::pair<int64_t, int64_t>> mValues;
};

}  // namespace virtual_dock
