// SPDX-License-Identifier: Apache-2.0
//
// Both closed libraries in one, for the tests of what stands in front of them. The type of a bidi
// request says what is done with it.
#include "scripted_links.h"

#include <chargelink.h>
#include <reverselink.h>
#include <semaphore.h>
#include <signal.h>

#include <algorithm>
#include <cstring>

namespace {

sem_t gReleased;

}  // namespace

int initWlcProto() {
    return sem_init(&gReleased, 0, 0);
}

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    *value = 0x01020304;
    return selector;
}

uint32_t getWLCAlignment(uint8_t*, uint8_t*, int32_t*, int32_t*) {
    return 6;
}
uint32_t getFeature(int64_t, int64_t*) {
    return 6;
}
uint32_t setFeature(int64_t, int64_t) {
    return 6;
}

uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength) {
    uint32_t value = 0;
    switch (type) {
        case scripted::kReverse:
            if (response == nullptr) return 0;
            if (response != request) std::memcpy(response, request, requestLength);
            std::reverse(response, response + requestLength);
            *responseLength = requestLength;
            return 0;
        case scripted::kBoast:
            std::memset(response, 0xAB, *responseLength);
            *responseLength = scripted::kBoastedLength;
            return 0;
        case scripted::kAskItself:
            return getWlcInfo(0, &value);
        case scripted::kDie:
            return static_cast<uint32_t>(raise(SIGKILL));
        case scripted::kWait:
            return static_cast<uint32_t>(sem_wait(&gReleased));
        case scripted::kRelease:
            return static_cast<uint32_t>(sem_post(&gReleased));
        default:
            return 13;
    }
}

uint32_t sendPropRequest(int32_t, const uint8_t*, size_t, uint8_t*, size_t*, uint32_t) {
    return 7;
}
uint32_t sendWpcAuthRequest(int32_t, const uint8_t*, size_t, uint8_t*, size_t*, uint32_t) {
    return 7;
}
uint32_t getPacketTlv(const uint8_t*, size_t, int32_t, const uint8_t** value, uint8_t* length) {
    static constexpr uint8_t kElsewhere = 0;
    *value = &kElsewhere;
    *length = 1;
    return 0;
}
uint32_t setQiId(uint16_t) {
    return 0;
}
uint32_t setAuthStart() {
    return 0;
}
uint32_t uploadFwUpdateData(const FwUpdateData*, int32_t) {
    return 0;
}

int initRtxProto() {
    return 5;
}
uint32_t sendRtxRequest(int32_t type, RtxAnswer* answer) {
    std::memset(answer->text, '0' + type, type == 1 ? 1 : 3);
    return 0;
}
