// SPDX-License-Identifier: Apache-2.0
#include "firmware.h"

namespace virtual_dock {
namespace {

// Behind the target, which the older updater does not have. Start: size (4), chunk size, flags,
// major, minor, then the compressed size (4) or the older updater's name.
constexpr size_t kStartLength = 8;
constexpr size_t kCompressedStartLength = 12;
// Chunk: number (2), tag, data.
constexpr size_t kChunkHeader = 3;

constexpr uint8_t kLegacyMaxChunk = 253;

}  // namespace

FirmwareUpdater::FirmwareUpdater() {
    legacy.maxChunk = kLegacyMaxChunk;
}

void FirmwareUpdater::countChunk(FirmwareEffect* effect) {
    if (powerOffAfter < 0 || --powerOffAfter > 0) return;
    powerOffAfter = -1;
    *effect = FirmwareEffect::kPowerLoss;
}

void FirmwareUpdater::reboot(int64_t nowNs) {
    for (FirmwareSlot& target : targets) target.reboot(nowNs);
    const FirmwareSlot::Progress progress = legacy.progress(nowNs);
    if (progress.state == FirmwareSlot::State::kIdle && progress.percent == 100) {
        legacyName = newLegacyName;
    }
    legacy.reboot(nowNs);
    changed();
}

Result FirmwareUpdater::start(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer,
                              int64_t nowNs) {
    if (request.size() < kStartLength) return kInvalidArgument;
    const bool isLegacy = slot == &legacy;
    const uint8_t flags = request[5];
    const bool compressed = !isLegacy && (flags & firmware::kFlagCompressed) != 0;
    if (!isLegacy && request.size() != (compressed ? kCompressedStartLength : kStartLength)) {
        return kInvalidArgument;
    }
    TransferRequest opened;
    opened.imageSize = readLe32(request, 0);
    opened.chunkSize = request[4];
    opened.major = request[6];
    opened.minor = request[7];
    if (compressed) opened.compressedSize = readLe32(request, kStartLength);
    if (compressed && opened.compressedSize == 0) return kInvalidArgument;
    bool resumed = false;
    const Result result = slot->start(opened, (flags & firmware::kFlagFresh) != 0, nowNs, &resumed);
    if (result != kOk) return result;
    if (isLegacy) newLegacyName.assign(request.begin() + kStartLength, request.end());
    changed();
    answer->add8(resumed ? 1 : 0);
    answer->add8(opened.chunkSize);
    answer->add8(static_cast<uint8_t>(100 - slot->transfer().percent()));
    return kOk;
}

Result FirmwareUpdater::takeChunk(FirmwareSlot* slot, Bytes request, AnswerBuffer* answer,
                                  FirmwareEffect* effect, bool* expected, int64_t nowNs) {
    if (request.size() < kChunkHeader) return kInvalidArgument;
    const uint16_t number = readLe16(request, 0);
    bool stored = false;
    const Result result =
        slot->takeChunk(number, request.subspan(kChunkHeader), nowNs, expected, &stored);
    if (result != kOk) return result;
    if (stored && mChange.kind != FirmwareChange::Kind::kAll) {
        const size_t index = slot == &legacy ? kTargets : static_cast<size_t>(slot - &targets[0]);
        mChange = {FirmwareChange::Kind::kChunk, static_cast<uint8_t>(index), number};
    }
    if (*expected) countChunk(effect);
    answer->add16(static_cast<uint16_t>(slot->transfer().firstMissing()));
    return kOk;
}

Result FirmwareUpdater::answerSlot(FirmwareSlot* slot, int32_t type, Bytes request,
                                   AnswerBuffer* answer, int64_t nowNs) {
    switch (type) {
        case firmware::kInformation:
            answer->add32(slot->maxSize);
            answer->add8(slot->maxChunk);
            return kOk;
        case firmware::kStart:
            return start(slot, request, answer, nowNs);
        case firmware::kMissing:
            if (!slot->transfer().isOpen()) return kRefused;
            answer->add16(static_cast<uint16_t>(slot->transfer().firstMissing()));
            answer->add16(static_cast<uint16_t>(slot->transfer().missingRun()));
            return kOk;
        case firmware::kExecute:
            answer->add8(static_cast<uint8_t>(slot->execute(nowNs)));
            changed();
            return kOk;
        case firmware::kStatus: {
            const FirmwareSlot::Progress progress = slot->progress(nowNs);
            answer->add8(static_cast<uint8_t>(progress.state));
            answer->add8(progress.percent);
            return kOk;
        }
        default:
            return kUnsupported;
    }
}

Result FirmwareUpdater::answerTargeted(int32_t type, Bytes request, int8_t boostTemperature,
                                       int8_t puckTemperature, AnswerBuffer* answer,
                                       FirmwareEffect* effect, int64_t nowNs) {
    if (type == firmware::kReboot) {
        reboot(nowNs);
        *effect = FirmwareEffect::kReboot;
        return kOk;
    }
    if (request.empty() || request[0] >= kTargets) return kInvalidArgument;
    const uint8_t target = request[0];
    FirmwareSlot* const slot = &targets[target];
    answer->add8(target);
    request = request.subspan(1);
    if (type != firmware::kChunk) {
        const Result result = answerSlot(slot, type, request, answer, nowNs);
        if (type == firmware::kInformation) {
            answer->add8(slot->version.major);
            answer->add8(slot->version.minor);
        }
        return result;
    }
    bool expected = false;
    AnswerBuffer missing;
    const Result result = takeChunk(slot, request, &missing, effect, &expected, nowNs);
    answer->clear();
    answer->add8(expected ? target : target | firmware::kUnexpectedChunk);
    answer->add(missing.bytes());
    answer->add8(static_cast<uint8_t>(boostTemperature));
    answer->add8(static_cast<uint8_t>(puckTemperature));
    return result;
}

Result FirmwareUpdater::answerLegacy(int32_t type, Bytes request, AnswerBuffer* answer,
                                     FirmwareEffect* effect, int64_t nowNs) {
    switch (type) {
        case firmware::kReboot:
            reboot(nowNs);
            *effect = FirmwareEffect::kReboot;
            return kOk;
        case firmware::kInformation:
            answer->add8(0);
            return answerSlot(&legacy, type, request, answer, nowNs);
        case firmware::kChunk: {
            bool expected = false;
            const Result result = takeChunk(&legacy, request, answer, effect, &expected, nowNs);
            return result == kOk && !expected ? kInvalidArgument : result;
        }
        default:
            return answerSlot(&legacy, type, request, answer, nowNs);
    }
}

}  // namespace virtual_dock
