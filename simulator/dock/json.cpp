// SPDX-License-Identifier: Apache-2.0
#include "json.h"

namespace virtual_dock {

Json textJson(std::string_view bytes) {
    std::string utf8;
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x80) {
            utf8 += c;
        } else {
            utf8 += {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
        }
    }
    return utf8;
}

Json hexJson(Bytes bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (const uint8_t byte : bytes) digits += {kDigits[byte >> 4], kDigits[byte & 0x0F]};
    return digits;
}

std::string toLine(const Json& json) {
    return json.dump(-1, ' ', true);
}

}  // namespace virtual_dock
