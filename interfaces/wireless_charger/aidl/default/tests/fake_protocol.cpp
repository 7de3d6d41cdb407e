// SPDX-License-Identifier: Apache-2.0
#include "fake_protocol.h"

#include <algorithm>
#include <memory>
#include <sstream>

namespace fake {

namespace {

std::unique_ptr<Protocol> gProtocol = std::make_unique<Protocol>();

uint32_t exchange(Sent::Channel channel, int32_t type, const uint8_t* request, size_t length,
                  uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    Protocol& p = protocol();
    Sent sent{channel,
              type,
              request == nullptr ? Bytes() : Bytes(request, request + length),
              request != nullptr,
              responseLength == nullptr ? 0 : *responseLength,
              timeLimit};
    const Answer answer = p.answer ? p.answer(sent) : Answer{};
    if (response != nullptr && answer.result == 0) {
        std::copy_n(answer.bytes.begin(), std::min(answer.bytes.size(), sent.capacity), response);
        *responseLength = answer.claimedLength.value_or(answer.bytes.size());
    }
    std::lock_guard lock(p.lock);
    p.sent.push_back(std::move(sent));
    return answer.result;
}

}  // namespace

Protocol& protocol() {
    return *gProtocol;
}

void reset() {
    gProtocol = std::make_unique<Protocol>();
}

Bytes hex(const std::string& text) {
    Bytes bytes;
    std::istringstream in(text);
    for (unsigned int byte; in >> std::hex >> byte;) bytes.push_back(static_cast<uint8_t>(byte));
    return bytes;
}

}  // namespace fake

using fake::protocol;

extern "C" {

uint32_t getWlcInfo(int32_t selector, uint32_t* value) {
    auto found = protocol().values.find(selector);
    if (found == protocol().values.end()) {
        *value = 0xDEADBEEF;  // valid only on success
        return 6;
    }
    *value = found->second;
    return 0;
}

uint32_t getWLCAlignment(uint8_t* status, uint8_t* subStatus, int32_t* value1, int32_t* value2) {
    const fake::Alignment& alignment = protocol().alignment;
    *status = alignment.status;
    *subStatus = alignment.subStatus;
    *value1 = alignment.value1;
    *value2 = alignment.value2;
    return alignment.result;
}

uint32_t getFeature(int64_t /*query*/, int64_t* features) {
    *features = 0;
    return protocol().simpleResult;
}

uint32_t setFeature(int64_t /*query*/, int64_t /*features*/) {
    return protocol().simpleResult;
}

uint32_t sendBidiRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength) {
    return fake::exchange(fake::Sent::BIDI, type, request, requestLength, response, responseLength,
                          0);
}

uint32_t sendPropRequest(int32_t type, const uint8_t* request, size_t requestLength,
                         uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return fake::exchange(fake::Sent::PROP, type, request, requestLength, response, responseLength,
                          timeLimit);
}

uint32_t sendWpcAuthRequest(int32_t type, const uint8_t* request, size_t requestLength,
                            uint8_t* response, size_t* responseLength, uint32_t timeLimit) {
    return fake::exchange(fake::Sent::WPC_AUTH, type, request, requestLength, response,
                          responseLength, timeLimit);
}

uint32_t getPacketTlv(const uint8_t* packet, size_t packetLength, int32_t tag,
                      const uint8_t** value, uint8_t* valueLength) {
    for (size_t at = 0; at + 2 <= packetLength; at += 2 + packet[at + 1]) {
        if (at + 2 + packet[at + 1] > packetLength) return 2;
        if (packet[at] != tag) continue;
        *value = packet + at + 2;
        *valueLength = packet[at + 1];
        return 0;
    }
    return 9;
}

uint32_t setQiId(uint16_t qiId) {
    protocol().qiIds.push_back(qiId);
    return 0;
}

uint32_t setAuthStart() {
    return protocol().simpleResult;
}

uint32_t uploadFwUpdateData(const FwUpdateData* data, int32_t flag) {
    if (flag == 1) protocol().uploads.push_back(*data);
    return 0;
}

uint32_t sendRtxRequest(int32_t type, RtxAnswer* answer) {
    const fake::RtxText& text = protocol().rtx[type];
    std::copy_n(text.text.begin(), std::min(text.text.size(), sizeof(answer->text)), answer->text);
    return text.result;
}

}  // extern "C"
