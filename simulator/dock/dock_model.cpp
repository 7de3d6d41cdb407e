// SPDX-License-Identifier: Apache-2.0
#include "dock_model.h"

namespace virtual_dock {
namespace {

enum BidiType : int32_t { kDockInformation = 0, kFan = 12, kKeyExchange = 16, kChallenge = 18 };
enum PropType : int32_t { kEdsTest = 14, kSkinTemperature = 23 };

// Byte 0 of an EDS test packet.
constexpr uint8_t kEdsData = 0;
constexpr uint8_t kEdsLoopback = 1;

bool isFirmware(int32_t type) {
    return type >= FirmwareUpdater::kFirstType && type <= FirmwareUpdater::kLastType;
}

Result answerEdsTest(Bytes request, AnswerBuffer* answer) {
    if (request.empty() || request[0] > kEdsLoopback) return kInvalidArgument;
    if (request[0] == kEdsData) {
        answer->add8(0);
    } else {
        answer->add(request);
    }
    return kOk;
}

}  // namespace

void DockModel::take(FirmwareEffect effect, Event* event) {
    switch (effect) {
        case FirmwareEffect::kNone:
            return;
        case FirmwareEffect::kReboot:
            information.major = firmware.targets[0].version.major;
            information.minor = firmware.targets[0].version.minor;
            *event = Event::kRestart;
            return;
        case FirmwareEffect::kPowerLoss:
            charger.docked = false;
            *event = Event::kWlcOff;
            return;
    }
}

Result DockModel::answerBidi(int32_t type, Bytes request, AnswerBuffer* answer, Event* event,
                             int64_t nowNs) {
    if (isFirmware(type)) {
        FirmwareEffect effect = FirmwareEffect::kNone;
        const Result result = firmware.answerLegacy(type, request, answer, &effect, nowNs);
        take(effect, event);
        return result;
    }
    switch (type) {
        case kDockInformation:
            information.encode(answer);
            return kOk;
        case kFan:
            return fans.answer(request, answer, nowNs);
        case kKeyExchange:
            return secrets.answerKeyExchange(request, answer);
        case kChallenge:
            return secrets.answerChallenge(request, answer);
        default:
            return kUnsupported;
    }
}

Result DockModel::answerProp(int32_t type, Bytes request, AnswerBuffer* answer, Event* event,
                             int64_t nowNs) {
    if (isFirmware(type)) {
        FirmwareEffect effect = FirmwareEffect::kNone;
        const Result result =
            firmware.answerTargeted(type, request, charger.boostTemperature,
                                    charger.puckTemperature, answer, &effect, nowNs);
        take(effect, event);
        return result;
    }
    switch (type) {
        case kEdsTest:
            return answerEdsTest(request, answer);
        case kSkinTemperature:
            answer->add8(static_cast<uint8_t>(charger.boostTemperature));
            answer->add8(static_cast<uint8_t>(charger.puckTemperature));
            return kOk;
        default:
            return kUnsupported;
    }
}

Result DockModel::answerRequest(Operation operation, int32_t type, Bytes request,
                                AnswerBuffer* answer, Event* event, int64_t nowNs) {
    *event = Event::kNone;
    if (!charger.docked) return kUnavailable;
    switch (operation) {
        case Operation::kBidiRequest:
            return answerBidi(type, request, answer, event, nowNs);
        case Operation::kPropRequest:
            return answerProp(type, request, answer, event, nowNs);
        case Operation::kWpcAuthRequest:
            return authenticator.answer(type, request, answer);
        default:
            return kUnsupported;
    }
}

}  // namespace virtual_dock
