// SPDX-License-Identifier: Apache-2.0
#include "fans.h"

#include <algorithm>

namespace virtual_dock {
namespace {

constexpr int64_t kNsPerSecond = 1'000'000'000;

constexpr size_t kShortFrame = 2;
constexpr size_t kManualFrame = 4;

}  // namespace

int64_t Fan::speedAt(int64_t nowNs) const {
    const int64_t elapsedNs = std::clamp<int64_t>(nowNs - mSinceNs, 0, 60 * kNsPerSecond);
    const int64_t moved = elapsedNs * kRampPerSecond / kNsPerSecond;
    if (mFromSpeed < mLevel) return std::min<int64_t>(mLevel, mFromSpeed + moved);
    return std::max<int64_t>(mLevel, mFromSpeed - moved);
}

void Fan::moveTo(uint16_t level, int64_t nowNs) {
    mFromSpeed = speedAt(nowNs);
    mSinceNs = nowNs;
    mLevel = level;
}

void Fan::setManual(uint16_t level, int64_t nowNs) {
    mManual = true;
    moveTo(level, nowNs);
}

void Fan::setAuto(uint16_t level, int64_t nowNs) {
    mManual = false;
    moveTo(level, nowNs);
}

FanReading Fan::read(int64_t nowNs) const {
    const int64_t speed = speedAt(nowNs);
    FanReading reading;
    reading.level = mLevel;
    reading.speed = static_cast<uint16_t>(speed);
    reading.drive = static_cast<uint16_t>(std::min<int64_t>(1000, speed * 1000 / kFullSpeed));
    reading.current = static_cast<uint16_t>(speed == 0 ? 0 : 20 + speed / 40);
    return reading;
}

Fans::Fans() {
    for (Fan& each : mFans) each.setAuto(autoLevel(), -60 * kNsPerSecond);
}

uint16_t Fans::autoLevel() const {
    return static_cast<uint16_t>(
        std::min<uint64_t>(Fan::kFullSpeed, uint64_t{mFanLevel} * kAutoStep));
}

void Fans::setFanLevel(uint32_t level, int64_t nowNs) {
    mFanLevel = level;
    for (Fan& each : mFans) {
        if (!each.isManual()) each.setAuto(autoLevel(), nowNs);
    }
}

Result Fans::answer(Bytes request, AnswerBuffer* answer, int64_t nowNs) {
    if (request.size() < kShortFrame || request[0] != fan_frame::kFunction) return kUnsupported;
    const size_t index = request[1] & fan_frame::kFanMask;
    const uint8_t command = request[1] & static_cast<uint8_t>(~fan_frame::kFanMask);
    const size_t wantedLength = command == fan_frame::kSetManual ? kManualFrame : kShortFrame;
    const bool known = command == fan_frame::kGet || command == fan_frame::kSetAuto ||
                       command == fan_frame::kSetManual;
    const bool valid = known && request.size() == wantedLength && index < count;

    if (valid && command == fan_frame::kSetManual)
        mFans[index].setManual(readLe16(request, 2), nowNs);
    if (valid && command == fan_frame::kSetAuto) mFans[index].setAuto(autoLevel(), nowNs);

    const FanReading reading = valid ? mFans[index].read(nowNs) : FanReading{};
    answer->add8(fan_frame::kFunction);
    answer->add8(valid ? fan_frame::kValid : fan_frame::kInvalid);
    answer->add16(reading.level);
    if (command == fan_frame::kSetAuto || command == fan_frame::kSetManual) return kOk;
    answer->add16(reading.speed);
    answer->add16(reading.drive);
    answer->add16(reading.current);
    return kOk;
}

}  // namespace virtual_dock
