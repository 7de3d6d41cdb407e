// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "firmware_slot.h"
#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// What a firmware request did to the dock as a whole.
enum class FirmwareEffect : uint8_t { kNone, kReboot, kPowerLoss };

// The dock's firmware: two targets and the older, untargeted updater, and their request frames. A
// value type.
class FirmwareUpdater {
  public:
    static constexpr size_t kTargets = 2;

    FirmwareUpdater();

    std::array<FirmwareSlot, kTargets> targets;
    FirmwareSlot legacy;
    std::string legacyName = "desk";  // version name of what the older updater installed

    int32_t powerOffAfter = -1;  // the dock loses its power after this many more chunks; -1: never

    // Requests of a firmware::Type. The temperatures go out with chunk answers.
    Result answerTargeted(int32_t type, Bytes request, int8_t boostTemperature,
                          int8_t puckTemperature, AnswerBuffer* answer, FirmwareEffect* effect,
                          int64_t nowNs);
    Result answerLegacy(int32_t type, Bytes request, AnswerBuffer* answer, FirmwareEffect* effect,
                        int64_t nowNs);

  private:
    // What both sets have: the request and the answer behind the target.
    Result answerSlot(FirmwareSlot* slot, int32_t type, Bytes request, AnswerBuffer* answer,
                      int64_t nowNs);
    Result start(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer, int64_t nowNs);
    Result takeChunk(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer,
                     FirmwareEffect* effect, bool* expected, int64_t nowNs);
    void countChunk(FirmwareEffect* effect);
    void reboot(FirmwareEffect* effect, int64_t nowNs);

    std::string mNewLegacyName;
};

}  // namespace virtual_dock
