// SPDX-License-Identifier: Apache-2.0
/* The flag byte with which a dock describes itself, in its identifier and in its information. */
#pragma once

#include <cstdint>

namespace aidl::vendor::zorvak::wireless_charger {

inline constexpr int8_t kDockKindUnknown = 15;

/** Bits 0 to 3, reduced to the kinds that the interface knows. */
constexpr int8_t dockKindOf(uint8_t flags) {
    switch (flags & 0x0F) {
        case 0:
            return 0;
        case 1:
            return 1;
        case 2:
        case 3:
            return 2;
        case 4:
            return 4;
        default:
            return kDockKindUnknown;
    }
}

/** Bit 5: the dock answers the request for its information. */
constexpr bool infoSupportedOf(uint8_t flags) {
    return (flags & 0x20) != 0;
}

/** Bits 6 and 7. */
constexpr int8_t dockClassOf(uint8_t flags) {
    return static_cast<int8_t>(flags >> 6);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
