// SPDX-License-Identifier: Apache-2.0
//
// The functions of libchargelink as exchanges. With the virtual dock's endpoint they are the
// libchargelink.so of the desk: it stands in for the closed library that talks to the phone's
// charger chip and, through it, to the dock.
//
// Differs from the closed library: there is no radio, so a request takes the time that dockctl set
// for it (none at first) and time limits are in milliseconds; framed requests need not be
// serialised; the result numbers beyond 0 are used as dock/protocol.h names them; the
// element coding of getPacketTlv is the virtual dock's own.
#pragma GCC visibility push(default)
#include <chargelink.h>
#pragma GCC visibility pop

#include <array>

#include "exchange.h"

using virtual_dock::Bytes;
using virtual_dock::endpoint;
using virtual_dock::Operation;
using virtual_dock::Outcome;

namespace {

// An exchange whose answer has a fixed length; any other answer is a failure to receive it.
template <size_t kLength>
uint32_t exchangeFixed(Operation operation, int32_t type, Bytes request,
                       std::array<uint8_t, kLength>* answer) {
    const Outcome outcome = endpoint().exchange({.operation = operation,
                                                 .type = type,
                                                 .request = request,
                                                 .answer = answer->data(),
                                                 .capacity = kLength});
    if (outcome.result != virtual_dock::kOk) return outcome.result;
    return outcome.length == kLength ? virtual_dock::kOk : virtual_dock::kReceiveFailed;
}

uint32_t exchangeWithoutAnswer(Operation operation, int32_t type, Bytes request) {
    return endpoint().exchange({.operation = operation, .type = type, .request = request}).result;
}

uint32_t exchangeFramed(Operation operation, int32_t type, const uint8_t* request,
                        size_t requestLength, uint8_t* response, size_t* responseLength,
                        uint32_t timeLimit) {
    if (request == nullptr && requestLength != 0) return virtual_dock::kInvalidArgument;
    if ((response == nullptr) != (responseLength == nullptr)) return virtual_dock::kInvalidArgument;
    const Outcome outcome =
        endpoint().exchange({.operation = operation,
                             .type = type,
                             .request = Bytes(request, requestLength),
                             .answer = response,
                             .capacity = responseLength != nullptr ? *responseLength : 0,
                             .timeLimitMs = timeLimit});
    if (outcome.result == virtual_dock::kOk && responseLength != nullptr) {
        *responseLength = outcome.length;
    }
    return outcome.result;
}

}  // namespace

int initWlcProto() {
    return virtual_dock::startEndpoint(virtual_dock::Library::kChargelink);
}

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    if (value == nullptr) return virtual_dock::kInvalidArgument;
    std::array<uint8_t, 4> answer;
    const uint32_t result = exchangeFixed(Operation::kGetWlcInfo, selector, {}, &answer);
    if (result == virtual_dock::kOk) *value = virtual_dock::readLe32(answer, 0);
    return result;
}

uint32_t getWLCAlignment(uint8_t* status, uint8_t* subStatus, int32_t* value1, int32_t* value2) {
    if (status == nullptr || subStatus == nullptr || value1 == nullptr || value2 == nullptr) {
        return virtual_dock::kInvalidArgument;
    }
    std::array<uint8_t, 10> answer;
    const uint32_t result = exchangeFixed(Operation::kGetAlignment, 0, {}, &answer);
    if (result != virtual_dock::kOk) return result;
    *status = answer[0];
    *subStatus = answer[1];
    *value1 = static_cast<int32_t>(virtual_dock::readLe32(answer, 2));
    *value2 = static_cast<int32_t>(virtual_dock::readLe32(answer, 6));
    return virtual_dock::kOk;
}

uint32_t getFeature(int64_t query, int64_t* features) {
    if (features == nullptr) return virtual_dock::kInvalidArgument;
    std::array<uint8_t, 8> request;
    virtual_dock::writeLe64(static_cast<uint64_t>(query), request.data());
    std::array<uint8_t, 8> answer;
    const uint32_t result = exchangeFixed(Operation::kGetFeature, 0, request, &answer);
    if (result == virtual_dock::kOk) {
        *features = static_cast<int64_t>(virtual_dock::readLe64(answer, 0));
    }
    return result;
}

uint32_t setFeature(int64_t query, int64_t features) {
    std::array<uint8_t, 16> request;
    virtual_dock::writeLe64(static_cast<uint64_t>(query), request.data());
    virtual_dock::writeLe64(static_cast<uint64_t>(features), request.data() + 8);
    return exchangeWithoutAnswer(Operation::kSetFeature, 0, request);
}

uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength) {
    return exchangeFramed(Operation::kBidiRequest, type, request, requestLength, response,
                          responseLength, 0);
}

uint32_t sendPropRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return exchangeFramed(Operation::kPropRequest, type, request, requestLength, response,
                          responseLength, timeLimit);
}

uint32_t sendWpcAuthRequest(int32_t type, const uint8_t* request, size_t requestLength,
                            uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return exchangeFramed(Operation::kWpcAuthRequest, type, request, requestLength, response,
                          responseLength, timeLimit);
}

uint32_t getPacketTlv(const uint8_t* packet, size_t packetLength, int32_t tag,
                      const uint8_t** value, uint8_t* valueLength) {
    if ((packet == nullptr && packetLength != 0) || value == nullptr || valueLength == nullptr) {
        return virtual_dock::kInvalidArgument;
    }
    std::array<uint8_t, 5> answer;
    const uint32_t result =
        exchangeFixed(Operation::kGetPacketTlv, tag, Bytes(packet, packetLength), &answer);
    if (result != virtual_dock::kOk) return result;
    const size_t offset = virtual_dock::readLe32(answer, 0);
    const uint8_t length = answer[4];
    if (offset > packetLength || length > packetLength - offset) {
        return virtual_dock::kMalformedPacket;
    }
    *value = packet + offset;
    *valueLength = length;
    return virtual_dock::kOk;
}

uint32_t setQiId(uint16_t qiId) {
    const std::array<uint8_t, 2> request = {static_cast<uint8_t>(qiId),
                                            static_cast<uint8_t>(qiId >> 8)};
    return exchangeWithoutAnswer(Operation::kSetQiId, 0, request);
}

uint32_t setAuthStart() {
    return exchangeWithoutAnswer(Operation::kSetAuthStart, 0, {});
}

uint32_t uploadFwUpdateData(const struct FwUpdateData* data, int32_t flag) {
    if (data == nullptr) return virtual_dock::kInvalidArgument;
    return exchangeWithoutAnswer(
        Operation::kUploadFwUpdateData, flag,
        Bytes(reinterpret_cast<const uint8_t*>(data), sizeof(FwUpdateData)));
}
