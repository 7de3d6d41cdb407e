// SPDX-License-Identifier: Apache-2.0
#include "dock_information.h"

namespace virtual_dock {
namespace {

constexpr size_t kHeaderSize = 2;
constexpr size_t kMaxValue = 255;

void addHeader(uint8_t tag, size_t length, AnswerBuffer* answer) {
    answer->add8(tag);
    answer->add8(static_cast<uint8_t>(length));
}

}  // namespace

Result findElement(Bytes packet, int32_t tag, Bytes* value) {
    while (!packet.empty()) {
        if (packet.size() < kHeaderSize) return kMalformedPacket;
        const size_t length = packet[1];
        if (packet.size() - kHeaderSize < length) return kMalformedPacket;
        if (packet[0] == tag) {
            *value = packet.subspan(kHeaderSize, length);
            return kOk;
        }
        packet = packet.subspan(kHeaderSize + length);
    }
    return kUnavailable;
}

bool DockInformation::fits() const {
    size_t total = kHeaderSize + 1 + kHeaderSize + 2 + versionName.size();
    for (const std::string& text : texts) {
        if (text.size() > kMaxValue) return false;
        total += kHeaderSize + text.size();
    }
    return 2 + versionName.size() <= kMaxValue && total <= kMaxPacket;
}

void DockInformation::encode(AnswerBuffer* answer) const {
    for (uint8_t tag = 0; tag < element::kFlags; ++tag) {
        addHeader(tag, texts[tag].size(), answer);
        answer->add(bytesOf(texts[tag]));
    }
    addHeader(element::kFlags, 1, answer);
    answer->add8(flags);
    addHeader(element::kVersion, 2 + versionName.size(), answer);
    answer->add8(major);
    answer->add8(minor);
    answer->add(bytesOf(versionName));
}

}  // namespace virtual_dock
