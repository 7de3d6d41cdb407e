// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "packet.h"
#include "protocol.h"
#include "uevent.h"

namespace virtual_dock {

// The phone charging another device: the state behind libreverselink and the texts it leaves. A
// value type.
class ReverseTransmit {
  public:
    static constexpr size_t kAreaSize = 20;

    enum class Mode : uint8_t { kOff, kAvailable, kActive };

    // How an answer is left in the 20-byte area.
    enum class TextStyle : uint8_t {
        kPlain,         // terminated
        kNewline,       // a line feed before the terminator
        kUnterminated,  // all 20 bytes written, no terminator
        kGarbage,       // 20 bytes that are no text
    };

    bool supported = true;
    Mode mode = Mode::kAvailable;
    bool connected = false;
    int32_t readingA = 0;  // a thousand times what the service reports
    int32_t readingB = 0;
    uint32_t prmc = 0;
    int32_t deviceLevel = 0;
    int32_t errorType = 0;
    TextStyle textStyle = TextStyle::kPlain;

    // Performs a request, a rtx::Type; the answer is what the library leaves in the caller's area,
    // at most kAreaSize bytes (rtx::kSupported, whose area may be a single byte: 1). *event tells
    // whether the mode is another now. Allocates nothing.
    Result answer(int32_t request, AnswerBuffer* answer, Event* event);

  private:
    Result switchTo(Mode wanted, Event* event);
    void addText(std::string_view text, AnswerBuffer* answer) const;
};

// The names of ReverseTransmit::Mode.
constexpr const char* kRtxModeNames[] = {"off", "available", "active"};

}  // namespace virtual_dock
