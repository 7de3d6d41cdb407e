// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// What one fan reports at a moment.
struct FanReading {
    uint16_t level = 0;    // what it is told to reach, revolutions per minute
    uint16_t speed = 0;    // revolutions per minute, on its way to the level
    uint16_t drive = 0;    // motor drive, per mille of full speed
    uint16_t current = 0;  // milliampere
};

// One fan. Its speed changes by kRampPerSecond until it is at the level; it is computed from the
// time when it is asked for. Times are nanoseconds of one monotonic clock. A value type.
class Fan {
  public:
    static constexpr int64_t kRampPerSecond = 2000;
    static constexpr int64_t kFullSpeed = 6000;

    bool isManual() const { return mManual; }
    void setManual(uint16_t level, int64_t nowNs);
    void setAuto(uint16_t level, int64_t nowNs);
    FanReading read(int64_t nowNs) const;

  private:
    int64_t speedAt(int64_t nowNs) const;
    void moveTo(uint16_t level, int64_t nowNs);

    bool mManual = false;
    uint16_t mLevel = 0;
    int64_t mFromSpeed = 0;
    int64_t mSinceNs = 0;
};

// The dock's fans and the frames that address them. A value type.
class Fans {
  public:
    static constexpr size_t kMaxFans = 8;
    static constexpr uint32_t kAutoStep = 400;  // what one fan level is worth in automatic mode

    Fans();

    // Fans 0 to count-1 are there; frames for the others are answered as invalid.
    uint8_t count = kMaxFans;

    // The dock's overall fan level, which fans in automatic mode follow.
    uint32_t fanLevel() const { return mFanLevel; }
    void setFanLevel(uint32_t level, int64_t nowNs);

    // The level of a fan in automatic mode.
    uint16_t autoLevel() const;

    Fan& fan(size_t index) { return mFans[index]; }
    const Fan& fan(size_t index) const { return mFans[index]; }

    // Answers a fan frame (get, set automatic, set manual).
    Result answer(Bytes request, AnswerBuffer* answer, int64_t nowNs);

  private:
    uint32_t mFanLevel = 3;
    std::array<Fan, kMaxFans> mFans;
};

}  // namespace virtual_dock
