// SPDX-License-Identifier: Apache-2.0
// Stands in for libchargelink: answers at once. A dock with fans, a certificate chain of 1,058
// bytes in every slot and a firmware updater that takes whatever comes. Keeps no state, allocates
// nothing, checks no request.
#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>

#include "protocol/chargelink.h"

namespace {

constexpr int32_t kBidiDockInformation = 0;
constexpr int32_t kPropFwInformation = 24;
constexpr int32_t kPropFwStart = 25;
constexpr int32_t kPropFwChunk = 26;
constexpr int32_t kPropFwExecutionStatus = 29;
constexpr uint8_t kGetCertificate = 0x1A;
constexpr uint8_t kCertificate = 0x12;

constexpr size_t kChainLength = 1058;
constexpr size_t kMaxArea = 2044;

// Tag, length, value. One text is longer than a string holds without the heap.
constexpr uint8_t kDockInformation[] =
    "\x00\x0AZorvak Inc"
    "\x01\x0B"
    "Charge Dock"
    "\x02\x18"
    "0123456789ABCDEF01234567"
    "\x03\x01\xE0"
    "\x04\x08\x01\x02stable";
constexpr size_t kDockInformationSize = sizeof(kDockInformation) - 1;

constexpr uint8_t kFan[] = {0x0F, 0, 0x20, 0x03, 0x10, 0x04, 0x11, 0x04, 0x12, 0x04};

struct Chain {
    std::array<uint8_t, kChainLength> bytes{};
    constexpr Chain() {
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7);
        bytes[0] = kChainLength >> 8;
        bytes[1] = kChainLength & 0xFF;
    }
};
constexpr Chain kChain;

uint32_t give(const uint8_t* from, size_t size, uint8_t* to, size_t* length) {
    if (to == nullptr || length == nullptr) return 0;
    if (size > *length) return 11;
    std::memcpy(to, from, size);
    *length = size;
    return 0;
}

uint32_t giveCertificate(const uint8_t* request, uint8_t* response, size_t* length) {
    const size_t offset = static_cast<size_t>(request[1] & 0xE0) << 3 | request[2];
    const size_t wanted = static_cast<size_t>(request[1] & 0x1C) << 6 | request[3];
    if (offset >= kChainLength) return 1;
    const size_t size = std::min(wanted, kChainLength - offset);
    if (size + 1 > *length || size + 1 > kMaxArea) return 11;
    response[0] = kCertificate;
    std::memcpy(response + 1, kChain.bytes.data() + offset, size);
    *length = size + 1;
    return 0;
}

}  // namespace

int initWlcProto() {
    return 0;
}

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    static constexpr uint32_t kValues[] = {0x1300, 1, 15000, 12000, 3, 0x72, 4, 0xE0001234, 7};
    if (selector < 0 || selector > 8) return 1;
    *value = kValues[selector];
    return 0;
}

uint32_t getWLCAlignment(uint8_t* status, uint8_t* subStatus, int32_t* value1, int32_t* value2) {
    *status = 2;
    *subStatus = 0;
    *value1 = *value2 = 100;
    return 0;
}

uint32_t getFeature(int64_t query, int64_t* features) {
    *features = query;
    return 0;
}

uint32_t setFeature(int64_t, int64_t) {
    return 0;
}

uint32_t sendBidiRequest(int32_t type, const uint8_t*, size_t, uint8_t* response,
                         size_t* responseLength) {
    return type == kBidiDockInformation
               ? give(kDockInformation, kDockInformationSize, response, responseLength)
               : give(kFan, sizeof(kFan), response, responseLength);
}

uint32_t sendPropRequest(int32_t type, const uint8_t* request, size_t, uint8_t* response,
                         size_t* responseLength, uint32_t) {
    const uint8_t target = request != nullptr ? request[0] : 0;
    const auto answer = [&](std::initializer_list<uint8_t> rest) {
        uint8_t bytes[8] = {target};
        std::copy(rest.begin(), rest.end(), bytes + 1);
        return give(bytes, rest.size() + 1, response, responseLength);
    };
    switch (type) {
        case kPropFwInformation:
            return answer({0, 0, 0, 4, 252, 1, 0});  // at most 64 MiB
        case kPropFwStart:
            return answer({0, 252, 100});
        case kPropFwChunk: {
            const int next = (request[1] | request[2] << 8) + 1;
            return answer({static_cast<uint8_t>(next), static_cast<uint8_t>(next >> 8), 30, 31});
        }
        case kPropFwExecutionStatus:
            return answer({0, 100});
        default:
            return answer({0, 0, 0, 0});  // nothing missing; accepted
    }
}

uint32_t sendWpcAuthRequest(int32_t type, const uint8_t* request, size_t, uint8_t* response,
                            size_t* responseLength, uint32_t) {
    if (type == kGetCertificate) return giveCertificate(request, response, responseLength);
    return 5;
}

uint32_t getPacketTlv(const uint8_t* packet, size_t packetLength, int32_t tag,
                      const uint8_t** value, uint8_t* valueLength) {
    for (size_t at = 0; at + 2 <= packetLength; at += 2u + packet[at + 1]) {
        if (at + 2 + packet[at + 1] > packetLength) return 2;
        if (packet[at] != tag) continue;
        *value = packet + at + 2;
        *valueLength = packet[at + 1];
        return 0;
    }
    return 9;
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
