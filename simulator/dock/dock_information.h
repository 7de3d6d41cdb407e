// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// The coding of the dock-information answer: elements of one tag byte, one length byte and that
// many bytes of value, one after another.
//
// Finds the first element with the tag. kMalformedPacket when an element before it, or it itself,
// does not fit the packet; kUnavailable when the packet is sound and has none. On kOk *value lies
// inside the packet. Any packet is safe.
Result findElement(Bytes packet, int32_t tag, Bytes* value);

// What the dock reports about itself. A value type.
struct DockInformation {
    static constexpr size_t kMaxPacket = 256;

    std::string texts[3] = {"Virtual dock", "Zorvak", "VD-1"};  // tags 0 to 2, any bytes
    uint8_t flags = 0x21;                                       // tag 3
    uint8_t major = 1;                                          // tag 4
    uint8_t minor = 0;
    std::string versionName = "desk";

    // Whether the packet has at most kMaxPacket bytes and each element at most 255.
    bool fits() const;
    void encode(AnswerBuffer* answer) const;
};

}  // namespace virtual_dock
