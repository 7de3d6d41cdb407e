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

Result answerTlv(Bytes packet, int32_t tag, AnswerBuffer* answer) {
    Bytes found;
    const Result result = findElement(packet, tag, &found);
    if (result != kOk) return result;
    answer->add32(static_cast<uint32_t>(found.data() - packet.data()));
    answer->add8(static_cast<uint8_t>(found.size()));
    return kOk;
}

}  // namespace

void DockModel::showFirmwareVersion() {
    information.major = firmware.targets[0].version.major;
    information.minor = firmware.targets[0].version.minor;
}

void DockModel::take(FirmwareEffect effect, Event* event) {
    switch (effect) {
        case FirmwareEffect::kNone:
            return;
        case FirmwareEffect::kReboot:
            showFirmwareVersion();
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

Result DockModel::answerFramed(const Exchange& exchange, AnswerBuffer* answer, Event* event,
                               int64_t nowNs) {
    if (!charger.docked) return kUnavailable;
    switch (exchange.operation) {
        case Operation::kBidiRequest:
            return answerBidi(exchange.type, exchange.request, answer, event, nowNs);
        case Operation::kPropRequest:
            return answerProp(exchange.type, exchange.request, answer, event, nowNs);
        default:
            return authenticator.answer(exchange.type, exchange.request, answer);
    }
}

Result DockModel::setFeature(Bytes request) {
    if (request.size() != 2 * sizeof(uint64_t)) return kInvalidArgument;
    if (!charger.docked) return kUnavailable;
    return features.set(static_cast<int64_t>(readLe64(request, 0)),
                        static_cast<int64_t>(readLe64(request, sizeof(uint64_t))));
}

Result DockModel::startAuthentication() {
    if (!charger.docked) return kUnavailable;
    if (!authReady) return kRefused;
    ++authStarts;
    return kOk;
}

Result DockModel::upload(Bytes request) {
    FwUpdateData data;
    if (request.size() != sizeof(data)) return kInvalidArgument;
    std::memcpy(&data, request.data(), sizeof(data));
    uploads.add(data);
    return kOk;
}

Result DockModel::answer(const Exchange& exchange, AnswerBuffer* answer, Event* event,
                         int64_t nowNs) {
    *event = Event::kNone;
    const Bytes request = exchange.request;
    switch (exchange.operation) {
        case Operation::kGetWlcInfo: {
            uint32_t value = 0;
            const Result result = charger.readStatus(exchange.type, fans.fanLevel(), &value);
            answer->add32(value);
            return result;
        }
        case Operation::kGetAlignment: {
            const Alignment reported = charger.reportedAlignment();
            answer->add8(reported.state);
            answer->add8(reported.subState);
            answer->add32(static_cast<uint32_t>(reported.value1));
            answer->add32(static_cast<uint32_t>(reported.value2));
            return kOk;
        }
        case Operation::kGetFeature:
            if (request.size() != sizeof(uint64_t)) return kInvalidArgument;
            answer->add64(
                static_cast<uint64_t>(features.get(static_cast<int64_t>(readLe64(request, 0)))));
            return charger.docked ? kOk : kUnavailable;
        case Operation::kSetFeature:
            return setFeature(request);
        case Operation::kSetQiId:
            if (request.size() != sizeof(uint16_t)) return kInvalidArgument;
            qiId = readLe16(request, 0);
            return kOk;
        case Operation::kSetAuthStart:
            return startAuthentication();
        case Operation::kUploadFwUpdateData:
            return upload(request);
        case Operation::kGetPacketTlv:
            return answerTlv(request, exchange.type, answer);
        case Operation::kRtxRequest:
            return rtx.answer(exchange.type, answer, event);
        case Operation::kBidiRequest:
        case Operation::kPropRequest:
        case Operation::kWpcAuthRequest:
            return answerFramed(exchange, answer, event, nowNs);
    }
    return kUnsupported;
}

}  // namespace virtual_dock
