// SPDX-License-Identifier: Apache-2.0
#include "firmware.h"

namespace virtual_dock {
namespace {

// Start with a target: target, size (4), chunk size, flags, major, minor, compressed size (4).
constexpr size_t kStartLength = 9;
constexpr size_t kCompressedStartLength = 13;
// Without: size (4), chunk size, flags, major, minor, name.
constexpr size_t kLegacyStartLength = 8;
// Chunk: [target], number (2), tag, data.
constexpr size_t kChunkHeader = 4;
constexpr size_t kLegacyChunkHeader = 3;

constexpr uint8_t kLegacyMaxChunk = 253;

// Resumed or not, chunk size, percent still to come.
void addStartAnswer(const FirmwareSlot& slot, bool resumed, AnswerBuffer* answer) {
    answer->add8(resumed ? 1 : 0);
    answer->add8(slot.transfer().request().chunkSize);
    answer->add8(static_cast<uint8_t>(100 - slot.transfer().percent()));
}

Result addMissing(const FirmwareSlot& slot, AnswerBuffer* answer) {
    if (!slot.transfer().isOpen()) return kRefused;
    answer->add16(static_cast<uint16_t>(slot.transfer().firstMissing()));
    answer->add16(static_cast<uint16_t>(slot.transfer().missingRun()));
    return kOk;
}

void addStatus(const FirmwareSlot& slot, AnswerBuffer* answer, int64_t nowNs) {
    const FirmwareSlot::Progress progress = slot.progress(nowNs);
    answer->add8(static_cast<uint8_t>(progress.state));
    answer->add8(progress.percent);
}

}  // namespace

FirmwareUpdater::FirmwareUpdater() {
    legacy.maxChunk = kLegacyMaxChunk;
}

void FirmwareUpdater::countChunk(FirmwareEffect* effect) {
    if (powerOffAfter < 0 || --powerOffAfter > 0) return;
    powerOffAfter = -1;
    *effect = FirmwareEffect::kPowerLoss;
}

void FirmwareUpdater::reboot(FirmwareEffect* effect, int64_t nowNs) {
    for (FirmwareSlot& target : targets) target.reboot(nowNs);
    const FirmwareSlot::Progress progress = legacy.progress(nowNs);
    if (progress.state == FirmwareSlot::State::kIdle && progress.percent == 100) {
        legacyName = mNewLegacyName;
    }
    legacy.reboot(nowNs);
    *effect = FirmwareEffect::kReboot;
}

Result FirmwareUpdater::startTarget(Bytes request, AnswerBuffer* answer, int64_t nowNs) {
    if (request.size() < kStartLength) return kInvalidArgument;
    const uint8_t flags = request[6];
    const bool compressed = (flags & firmware::kFlagCompressed) != 0;
    if (request.size() != (compressed ? kCompressedStartLength : kStartLength)) {
        return kInvalidArgument;
    }
    TransferRequest opened;
    opened.imageSize = readLe32(request, 1);
    opened.chunkSize = request[5];
    opened.major = request[7];
    opened.minor = request[8];
    opened.compressedSize = compressed ? readLe32(request, 9) : 0;
    if (compressed && opened.compressedSize == 0) return kInvalidArgument;
    FirmwareSlot& slot = targets[request[0]];
    bool resumed = false;
    const Result result = slot.start(opened, (flags & firmware::kFlagFresh) != 0, nowNs, &resumed);
    if (result != kOk) return result;
    answer->add8(request[0]);
    addStartAnswer(slot, resumed, answer);
    return kOk;
}

Result FirmwareUpdater::answerTargeted(int32_t type, Bytes request, int8_t boostTemperature,
                                       int8_t puckTemperature, AnswerBuffer* answer,
                                       FirmwareEffect* effect, int64_t nowNs) {
    if (type == firmware::kReboot) {
        reboot(effect, nowNs);
        return kOk;
    }
    if (request.empty() || request[0] >= kTargets) return kInvalidArgument;
    const uint8_t target = request[0];
    FirmwareSlot& slot = targets[target];
    switch (type) {
        case firmware::kInformation:
            answer->add8(target);
            answer->add32(slot.maxSize);
            answer->add8(slot.maxChunk);
            answer->add8(slot.version.major);
            answer->add8(slot.version.minor);
            return kOk;
        case firmware::kStart:
            return startTarget(request, answer, nowNs);
        case firmware::kChunk: {
            if (request.size() < kChunkHeader) return kInvalidArgument;
            bool expected = false;
            const Result result = slot.takeChunk(readLe16(request, 1),
                                                 request.subspan(kChunkHeader), nowNs, &expected);
            if (result != kOk) return result;
            if (expected) countChunk(effect);
            answer->add8(expected ? target : target | firmware::kUnexpectedChunk);
            answer->add16(static_cast<uint16_t>(slot.transfer().firstMissing()));
            answer->add8(static_cast<uint8_t>(boostTemperature));
            answer->add8(static_cast<uint8_t>(puckTemperature));
            return kOk;
        }
        case firmware::kMissing:
            answer->add8(target);
            return addMissing(slot, answer);
        case firmware::kExecute:
            answer->add8(target);
            answer->add8(static_cast<uint8_t>(slot.execute(nowNs)));
            return kOk;
        case firmware::kStatus:
            answer->add8(target);
            addStatus(slot, answer, nowNs);
            return kOk;
        default:
            return kUnsupported;
    }
}

Result FirmwareUpdater::startLegacy(Bytes request, AnswerBuffer* answer, int64_t nowNs) {
    if (request.size() < kLegacyStartLength) return kInvalidArgument;
    TransferRequest opened;
    opened.imageSize = readLe32(request, 0);
    opened.chunkSize = request[4];
    opened.major = request[6];
    opened.minor = request[7];
    bool resumed = false;
    const bool fresh = (request[5] & firmware::kFlagFresh) != 0;
    const Result result = legacy.start(opened, fresh, nowNs, &resumed);
    if (result != kOk) return result;
    mNewLegacyName.assign(request.begin() + kLegacyStartLength, request.end());
    addStartAnswer(legacy, resumed, answer);
    return kOk;
}

Result FirmwareUpdater::answerLegacy(int32_t type, Bytes request, AnswerBuffer* answer,
                                     FirmwareEffect* effect, int64_t nowNs) {
    switch (type) {
        case firmware::kInformation:
            answer->add8(0);
            answer->add32(legacy.maxSize);
            answer->add8(legacy.maxChunk);
            return kOk;
        case firmware::kStart:
            return startLegacy(request, answer, nowNs);
        case firmware::kChunk: {
            if (request.size() < kLegacyChunkHeader) return kInvalidArgument;
            bool expected = false;
            const Result result = legacy.takeChunk(
                readLe16(request, 0), request.subspan(kLegacyChunkHeader), nowNs, &expected);
            if (result != kOk) return result;
            if (!expected) return kInvalidArgument;
            countChunk(effect);
            answer->add16(static_cast<uint16_t>(legacy.transfer().firstMissing()));
            return kOk;
        }
        case firmware::kMissing:
            return addMissing(legacy, answer);
        case firmware::kExecute:
            answer->add8(static_cast<uint8_t>(legacy.execute(nowNs)));
            return kOk;
        case firmware::kStatus:
            addStatus(legacy, answer, nowNs);
            return kOk;
        case firmware::kReboot:
            reboot(effect, nowNs);
            return kOk;
        default:
            return kUnsupported;
    }
}

}  // namespace virtual_dock
