// SPDX-License-Identifier: Apache-2.0
#include "reverse_transmit.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>

namespace virtual_dock {

Result ReverseTransmit::switchTo(Mode wanted, Event* event) {
    if (mode == Mode::kOff) return kRefused;
    if (mode != wanted) *event = Event::kRtx;
    mode = wanted;
    if (wanted != Mode::kActive) connected = false;
    return kOk;
}

void ReverseTransmit::addText(std::string_view text, AnswerBuffer* answer) const {
    char area[kAreaSize] = {};
    const size_t length = std::min(text.size(), kAreaSize);
    size_t written = std::min(length + 1, kAreaSize);
    std::memcpy(area, text.data(), length);
    switch (textStyle) {
        case TextStyle::kPlain:
            break;
        case TextStyle::kNewline:
            if (length < kAreaSize) area[length] = '\n';
            written = std::min(length + 2, kAreaSize);
            break;
        case TextStyle::kUnterminated:
            std::memset(area + length, 'x', kAreaSize - length);
            written = kAreaSize;
            break;
        case TextStyle::kGarbage:
            for (size_t i = 0; i < kAreaSize; ++i)
                area[i] = static_cast<char>(0x81 + 11 * i % 0x7E);
            written = kAreaSize;
            break;
    }
    answer->add({reinterpret_cast<const uint8_t*>(area), written});
}

Result ReverseTransmit::answer(int32_t request, AnswerBuffer* answer, Event* event) {
    if (typeName(Operation::kRtxRequest, request) == nullptr) return kInvalidArgument;
    if (!supported) return kUnsupported;
    char digits[16];
    const auto addNumber = [&](auto value, int base) {
        const char* const end = std::to_chars(digits, std::end(digits), value, base).ptr;
        addText({digits, static_cast<size_t>(end - digits)}, answer);
        return kOk;
    };
    switch (request) {
        case rtx::kMode:
            addText(kRtxModeNames[static_cast<size_t>(mode)], answer);
            return kOk;
        case rtx::kSwitchOn:
            return switchTo(Mode::kActive, event);
        case rtx::kSwitchOff:
            return switchTo(Mode::kAvailable, event);
        case rtx::kConnected:
            addText(connected ? "connected" : "disconnected", answer);
            return kOk;
        case rtx::kReadingA:
            return addNumber(readingA, 10);
        case rtx::kReadingB:
            return addNumber(readingB, 10);
        case rtx::kPrmc:
            return addNumber(prmc, 16);
        case rtx::kDeviceLevel:
            return addNumber(deviceLevel, 10);
        case rtx::kErrorType:
            return addNumber(errorType, 10);
        default:
            answer->add8(0);
            return kOk;
    }
}

}  // namespace virtual_dock
