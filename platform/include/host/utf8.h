// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <string_view>

// Not part of Android: untrusted text, character by character.

namespace android::host {

// What takeCharacter gives for bytes that are not UTF-8.
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

// Takes the first character off `*text`, which is not empty. What is not UTF-8 (a cut sequence, an
// overlong form, a surrogate, a number beyond 0x10FFFF) costs one byte and gives kNoCharacter.
inline char32_t takeCharacter(std::string_view* text) {
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<uint8_t>(text->front());
    const size_t length = lead < 0x80   ? 1
                          : lead < 0xC2 ? 0
                          : lead < 0xE0 ? 2
                          : lead < 0xF0 ? 3
                          : lead < 0xF5 ? 4
                                        : 0;
    if (length == 1) {
        text->remove_prefix(1);
        return lead;
    }
    char32_t value = lead & (0x7Fu >> length);
    bool valid = length != 0 && text->size() >= length;
    for (size_t i = 1; valid && i < length; ++i) {
        const auto byte = static_cast<uint8_t>((*text)[i]);
        valid = (byte & 0xC0) == 0x80;
        value = value << 6 | (byte & 0x3F);
    }
    valid = valid && value >= kSmallest[length] && value <= 0x10FFFF &&
            (value < 0xD800 || value > 0xDFFF);
    text->remove_prefix(valid ? length : 1);
    return valid ? value : kNoCharacter;
}

// Whether all of `text` is UTF-8, as takeCharacter sees it.
inline bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        // Eight ASCII characters at once, which is what most texts consist of.
        uint64_t chunk;
        if (text.size() >= sizeof(chunk)) {
            memcpy(&chunk, text.data(), sizeof(chunk));
            if ((chunk & 0x8080808080808080) == 0) {
                text.remove_prefix(sizeof(chunk));
                continue;
            }
        }
        if (takeCharacter(&text) == kNoCharacter) return false;
    }
    return true;
}

// Whether a terminal or a reader could be misled by the character: control characters, and those
// that break lines or turn the direction of writing.
inline bool isControl(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == 0x061C || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
}

}  // namespace android::host
