// SPDX-License-Identifier: Apache-2.0
//
// Both closed libraries in one, for the tests of what stands in front of them.
#include <semaphore.h>
#include <signal.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

sem_t gReleased;

}  // namespace

extern "C" {

int initWlcProto() {
    return sem_init(&gReleased, 0, 0);
}
int initRtxProto() {
    return 5;
}

// The type says what is done.
uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength) {
    switch (type) {
        case 1:  // the request backwards
            if (response == nullptr) return 0;
            if (response != request) std::memcpy(response, request, requestLength);
            std::reverse(response, response + requestLength);
            *responseLength = requestLength;
            return 0;
        case 2:  // claims more than there is room for
            std::memset(response, 0xAB, *responseLength);
            *responseLength = SIZE_MAX;
            return 0;
        case 3:  // until another thread asks for 4
            return static_cast<uint32_t>(sem_wait(&gReleased));
        case 4:
            return static_cast<uint32_t>(sem_post(&gReleased));
        case 5:
            return static_cast<uint32_t>(raise(SIGKILL));
        default:
            return 13;
    }
}

// Elsewhere than in the packet.
uint32_t getPacketTlv(const uint8_t*, size_t, int32_t, const uint8_t** value, uint8_t* length) {
    static constexpr uint8_t kElsewhere = 0;
    *value = &kElsewhere;
    *length = 1;
    return 0;
}

uint32_t sendRtxRequest(int32_t type, char* text) {
    std::memset(text, '0' + type, type == 1 ? 1 : 3);
    return 0;
}

uint32_t unavailable() {
    return 6;
}
[[gnu::alias("unavailable")]] uint32_t getWlcInfo();
[[gnu::alias("unavailable")]] uint32_t getWLCAlignment();
[[gnu::alias("unavailable")]] uint32_t getFeature();
[[gnu::alias("unavailable")]] uint32_t setFeature();
[[gnu::alias("unavailable")]] uint32_t sendPropRequest();
[[gnu::alias("unavailable")]] uint32_t sendWpcAuthRequest();
[[gnu::alias("unavailable")]] uint32_t setQiId();
[[gnu::alias("unavailable")]] uint32_t setAuthStart();
[[gnu::alias("unavailable")]] uint32_t uploadFwUpdateData();
}
