// SPDX-License-Identifier: Apache-2.0
#include "utf8_text.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace aidl::vendor::zorvak::wireless_charger {

namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";

/** Length in bytes of the character that the text, which is not empty, begins with; 0 for none. */
size_t characterLength(std::string_view text) {
    const auto byteAt = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byteAt(0);
    if (lead < 0x80) return 1;
    // The second byte's range excludes overlong forms, surrogates and what is above U+10FFFF.
    uint8_t low = 0x80;
    uint8_t high = 0xBF;
    size_t length = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    }
    if (length == 0 || text.size() < length) return 0;
    if (byteAt(1) < low || byteAt(1) > high) return 0;
    for (size_t i = 2; i < length; i++) {
        if ((byteAt(i) & 0xC0) != 0x80) return 0;
    }
    return length;
}

/** How many bytes at the beginning of the text are valid. */
size_t validPrefix(std::string_view text) {
    size_t at = 0;
    while (at < text.size()) {
        const size_t length = characterLength(text.substr(at));
        if (length == 0) break;
        at += length;
    }
    return at;
}

}  // namespace

void makeValidUtf8(std::string& text) {
    size_t valid = validPrefix(text);
    if (valid == text.size()) return;
    std::string result;
    std::string_view rest = text;
    while (true) {
        result += rest.substr(0, valid);
        if (valid == rest.size()) break;
        result += kReplacement;
        rest.remove_prefix(valid + 1);
        valid = validPrefix(rest);
    }
    text = std::move(result);
}

}  // namespace aidl::vendor::zorvak::wireless_charger
