// SPDX-License-Identifier: Apache-2.0
#include "dock_model.h"

namespace virtual_dock {
namespace {

Result answerEdsTest(Bytes request, AnswerBuffer* answer) {
    if (request.empty() || request[0] > prop::kEdsLoopback) return kInvalidArgument;
    if (request[0] == prop::kEdsData) {
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
    if (firmware::isFirmware(type)) {
        FirmwareEffect effect = FirmwareEffect::kNone;
        const Result result = firmware.answerLegacy(type, request, answer, &effect, nowNs);
        take(effect, event);
        return result;
    }
    switch (type) {
        case bidi::kDockInformation:
            information.encode(answer);
            return kOk;
        case bidi::kFan:
            return fans.answer(request, answer, nowNs);
        case bidi::kKeyExchange:
            return secrets.answerKeyExchange(request, answer);
        case bidi::kChallenge:
            return secrets.answerChallenge(request, answer);
        default:
            return kUnsupported;
    }
}

Result DockModel::answerProp(int32_t type, Bytes request, AnswerBuffer* answer, Event* event,
                             int64_t nowNs) {
    if (firmware::isFirmware(type)) {
        FirmwareEffect effect = FirmwareEffect::kNone;
        const Result result =
            firmware.answerTargeted(type, request, charger.boostTemperature,
                                    charger.puckTemperature, answer, &effect, nowNs);
        take(effect, event);
        return result;
    }
    switch (type) {
        case prop::kEdsTest:
            return answerEdsTest(request, answer);
        case prop::kSkinTemperature:
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
