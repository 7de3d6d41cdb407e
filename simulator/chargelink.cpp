// SPDX-License-Identifier: Apache-2.0
//
// libchargelink.so for the desk. It stands in for the closed library that talks to the phone's
// charger chip and, through it, to the dock: the same operations, answered by the virtual dock of
// this process.
//
// Differs from the closed library: there is no radio, so a request takes the time that dockctl set
// for it (none at first) and time limits are in milliseconds; framed requests need not be
// serialised; the result numbers beyond 0 are used as dock/protocol.h names them; the
// element coding of getPacketTlv is the virtual dock's own.
// For tests, VIRTUAL_DOCK_FAIL_INIT=chargelink in the environment makes initWlcProto fail.
#include <chargelink.h>

#include <cstdlib>
#include <cstring>

#include "dock/virtual_dock.h"

using virtual_dock::Bytes;
using virtual_dock::Operation;
using virtual_dock::processDock;

int initWlcProto() {
    const char* const failing = std::getenv("VIRTUAL_DOCK_FAIL_INIT");
    if (failing != nullptr && std::strcmp(failing, "chargelink") == 0) return 1;
    virtual_dock::startProcessDock();
    return 0;
}

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    if (value == nullptr) return virtual_dock::kInvalidArgument;
    return processDock().readStatus(selector, value);
}

uint32_t getWLCAlignment(uint8_t* status, uint8_t* subStatus, int32_t* value1, int32_t* value2) {
    if (status == nullptr || subStatus == nullptr || value1 == nullptr || value2 == nullptr) {
        return virtual_dock::kInvalidArgument;
    }
    virtual_dock::Alignment alignment;
    const uint32_t result = processDock().readAlignment(&alignment);
    if (result != virtual_dock::kOk) return result;
    *status = alignment.state;
    *subStatus = alignment.subState;
    *value1 = alignment.value1;
    *value2 = alignment.value2;
    return virtual_dock::kOk;
}

uint32_t getFeature(int64_t query, int64_t* features) {
    if (features == nullptr) return virtual_dock::kInvalidArgument;
    return processDock().getFeature(query, features);
}

uint32_t setFeature(int64_t query, int64_t features) {
    return processDock().setFeature(query, features);
}

uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength) {
    return processDock().request(Operation::kBidiRequest, type, Bytes(request, requestLength),
                                 response, responseLength, 0);
}

uint32_t sendPropRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return processDock().request(Operation::kPropRequest, type, Bytes(request, requestLength),
                                 response, responseLength, timeLimit);
}

uint32_t sendWpcAuthRequest(int32_t type, const uint8_t* request, size_t requestLength,
                            uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return processDock().request(Operation::kWpcAuthRequest, type, Bytes(request, requestLength),
                                 response, responseLength, timeLimit);
}

uint32_t getPacketTlv(const uint8_t* packet, size_t packetLength, int32_t tag,
                      const uint8_t** value, uint8_t* valueLength) {
    if ((packet == nullptr && packetLength != 0) || value == nullptr || valueLength == nullptr) {
        return virtual_dock::kInvalidArgument;
    }
    Bytes found;
    const auto result = virtual_dock::findElement(Bytes(packet, packetLength), tag, &found);
    if (result != virtual_dock::kOk) return result;
    *value = found.data();
    *valueLength = static_cast<uint8_t>(found.size());
    return virtual_dock::kOk;
}

uint32_t setQiId(uint16_t qiId) {
    return processDock().setQiId(qiId);
}

uint32_t setAuthStart() {
    return processDock().startAuthentication();
}

uint32_t uploadFwUpdateData(const struct FwUpdateData* data, int32_t flag) {
    if (data == nullptr) return virtual_dock::kInvalidArgument;
    return processDock().upload(*data, flag);
}
