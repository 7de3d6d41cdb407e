// SPDX-License-Identifier: Apache-2.0
#include <host/escape.h>
#include <host/utf8.h>
#include <string.h>

#include <algorithm>

namespace android::host {
namespace {

constexpr size_t kEscapeLength = 4;  // "\xNN"
constexpr size_t kLongestCharacter = 4;

bool isPlainAscii(char c) {
    return (c >= 0x20 && c < 0x7F) || c == '\t';
}

// The bytes at the end of `text` that may be the beginning of a character.
size_t unfinishedBytes(std::string_view text) {
    for (size_t count = 1; count < kLongestCharacter && count <= text.size(); ++count) {
        const auto byte = static_cast<unsigned char>(text[text.size() - count]);
        if ((byte & 0xC0) == 0x80) continue;
        const size_t length = byte >= 0xF5   ? 1
                              : byte >= 0xF0 ? 4
                              : byte >= 0xE0 ? 3
                              : byte >= 0xC2 ? 2
                                             : 1;
        return length > count ? count : 0;
    }
    return 0;
}

}  // namespace

size_t takeEscaped(std::string_view* text, char* to, size_t room) {
    size_t used = 0;
    while (!text->empty()) {
        size_t run = 0;
        const size_t most = std::min(text->size(), room - used);
        while (run < most && isPlainAscii((*text)[run])) ++run;
        if (run > 0) {
            memcpy(to + used, text->data(), run);
            used += run;
            text->remove_prefix(run);
            continue;
        }
        std::string_view rest = *text;
        const char32_t c = takeCharacter(&rest);
        const bool plain = c != kNoCharacter && (c == '\t' || !isControl(c));
        const size_t taken = text->size() - rest.size();
        if (used + (plain ? taken : taken * kEscapeLength) > room) break;
        for (const char byte : text->substr(0, taken)) {
            if (plain) {
                to[used++] = byte;
                continue;
            }
            constexpr char kHex[] = "0123456789abcdef";
            const auto value = static_cast<unsigned char>(byte);
            for (const char shown : {'\\', 'x', kHex[value >> 4], kHex[value & 15]}) {
                to[used++] = shown;
            }
        }
        *text = rest;
    }
    return used;
}

std::string escaped(std::string_view text, LineFeeds lineFeeds) {
    std::string out;
    for (;;) {
        const size_t end = lineFeeds == LineFeeds::kKept ? text.find('\n') : std::string_view::npos;
        std::string_view line = text.substr(0, end);
        const size_t before = out.size();
        out.resize(before + line.size() * kEscapeLength);
        out.resize(before + takeEscaped(&line, out.data() + before, out.size() - before));
        if (end == std::string_view::npos) return out;
        out += '\n';
        text.remove_prefix(end + 1);
    }
}

std::string StreamEscaper::next(std::string_view piece) {
    mHeld += piece;
    const std::string_view whole(mHeld.data(), mHeld.size() - unfinishedBytes(mHeld));
    std::string out = escaped(whole, LineFeeds::kKept);
    mHeld.erase(0, whole.size());
    return out;
}

std::string StreamEscaper::end() {
    std::string out = escaped(mHeld, LineFeeds::kKept);
    mHeld.clear();
    return out;
}

}  // namespace android::host
