// SPDX-License-Identifier: Apache-2.0
#include "utf.h"

#include <host/utf8.h>
#include <string.h>

namespace android::host {
namespace {

constexpr char32_t kReplacement = 0xfffd;

// Each byte that is not UTF-8 becomes a replacement character.
char32_t nextCodePoint(std::string_view* text) {
    const char32_t c = takeCharacter(text);
    return c != kNoCharacter ? c : kReplacement;
}

char16_t unitAt(const uint8_t* in, size_t index) {
    return static_cast<char16_t>(in[2 * index] | in[2 * index + 1] << 8);
}

// Takes one code point from position `*index`.
char32_t nextCodePoint(const uint8_t* in, size_t units, size_t* index) {
    char16_t first = unitAt(in, (*index)++);
    if (first < 0xd800 || first >= 0xe000) return first;
    if (first >= 0xdc00 || *index == units) return kReplacement;
    char16_t second = unitAt(in, *index);
    if (second < 0xdc00 || second >= 0xe000) return kReplacement;
    ++*index;
    return 0x10000 + ((first - 0xd800u) << 10) + (second - 0xdc00u);
}

size_t utf8Size(char32_t c) {
    return c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
}

}  // namespace

size_t utf16Length(std::string_view text) {
    size_t units = 0;
    while (!text.empty()) units += nextCodePoint(&text) >= 0x10000 ? 2 : 1;
    return units;
}

void toUtf16(std::string_view text, uint8_t* out) {
    auto put = [&out](char32_t unit) {
        *out++ = static_cast<uint8_t>(unit);
        *out++ = static_cast<uint8_t>(unit >> 8);
    };
    while (!text.empty()) {
        char32_t c = nextCodePoint(&text);
        if (c < 0x10000) {
            put(c);
        } else {
            put(0xd800 + ((c - 0x10000) >> 10));
            put(0xdc00 + ((c - 0x10000) & 0x3ff));
        }
    }
}

size_t utf8Length(const uint8_t* in, size_t units) {
    size_t size = 0;
    for (size_t i = 0; i < units;) size += utf8Size(nextCodePoint(in, units, &i));
    return size;
}

void toUtf8(const uint8_t* in, size_t units, char* out) {
    for (size_t i = 0; i < units;) {
        char32_t c = nextCodePoint(in, units, &i);
        size_t size = utf8Size(c);
        if (size == 1) {
            *out++ = static_cast<char>(c);
            continue;
        }
        static constexpr uint8_t kLead[] = {0, 0, 0xc0, 0xe0, 0xf0};
        for (size_t k = size - 1; k > 0; --k) {
            out[k] = static_cast<char>(0x80 | (c & 0x3f));
            c >>= 6;
        }
        *out = static_cast<char>(kLead[size] | c);
        out += size;
    }
}

std::string toUtf8String(const uint8_t* in, size_t units) {
    std::string text(utf8Length(in, units), '\0');
    toUtf8(in, units, text.data());
    return text;
}

}  // namespace android::host
