// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>

#include "firmware_slot.h"
#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// What a firmware request did to the dock as a whole.
enum class FirmwareEffect : uint8_t { kNone, kReboot, kPowerLoss };

// What the latest request changed of the firmware, as far as it outlasts the dock's process.
struct FirmwareChange {
    enum class Kind : uint8_t { kNothing, kChunk, kAll };
    Kind kind = Kind::kNothing;
    uint8_t slot = 0;    // kChunk: where it arrived, see FirmwareUpdater::slot
    uint16_t chunk = 0;  // its number
};

// The dock's firmware: two targets and the older, untargeted updater, and their request frames. A
// value type.
class FirmwareUpdater {
  public:
    static constexpr size_t kTargets = 2;
    static constexpr size_t kSlots = kTargets + 1;

    FirmwareUpdater();

    std::array<FirmwareSlot, kTargets> targets;
    FirmwareSlot legacy;
    std::string legacyName = "desk";  // version name of what the older updater installed
    std::string newLegacyName;        // of what it installs at the next restart

    // The targets, then the older updater.
    FirmwareSlot& slot(size_t index) { return index < kTargets ? targets[index] : legacy; }
    const FirmwareSlot& slot(size_t index) const {
        return index < kTargets ? targets[index] : legacy;
    }

    int32_t powerOffAfter = -1;  // the dock loses its power after this many more chunks; -1: never

    // Requests of a firmware::Type. The temperatures go out with chunk answers.
    Result answerTargeted(int32_t type, Bytes request, int8_t boostTemperature,
                          int8_t puckTemperature, AnswerBuffer* answer, FirmwareEffect* effect,
                          int64_t nowNs);
    Result answerLegacy(int32_t type, Bytes request, AnswerBuffer* answer, FirmwareEffect* effect,
                        int64_t nowNs);

    // The dock restarts or gets its power back: see FirmwareSlot::reboot.
    void reboot(int64_t nowNs);

    // The change since the last call. All of a firmware that is new is one.
    FirmwareChange takeChange() { return std::exchange(mChange, {}); }

  private:
    // What both sets have: the request and the answer behind the target.
    Result answerSlot(FirmwareSlot* slot, int32_t type, Bytes request, AnswerBuffer* answer,
                      int64_t nowNs);
    Result start(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer, int64_t nowNs);
    Result takeChunk(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer,
                     FirmwareEffect* effect, bool* expected, int64_t nowNs);
    void countChunk(FirmwareEffect* effect);
    void changed() { mChange.kind = FirmwareChange::Kind::kAll; }

    FirmwareChange mChange{.kind = FirmwareChange::Kind::kAll};
};

}  // namespace virtual_dock
