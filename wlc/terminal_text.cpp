// SPDX-License-Identifier: Apache-2.0
#include "terminal_text.h"

#include <wchar.h>

#include <cstdint>
#include <string_view>

namespace wlc {
namespace {

constexpr std::string_view kDegree = "\xc2\xb0";

struct Character {
    std::string shown;
    size_t columns = 0;
};

// Takes the next character off the front: a byte, and what of UTF-8 continues it.
Character takeCharacter(std::string_view* text, bool unicode) {
    size_t size = 1;
    while (size < text->size() && (static_cast<uint8_t>((*text)[size]) & 0xc0) == 0x80) ++size;
    const std::string bytes(text->substr(0, size));
    text->remove_prefix(size);
    if (size == 1 && bytes[0] >= ' ' && bytes[0] <= '~') return {bytes, 1};
    if (!unicode && bytes == kDegree) return {"", 0};
    wchar_t code = 0;
    mbstate_t state = {};
    const bool known = unicode && mbrtowc(&code, bytes.data(), size, &state) == size;
    const int width = known ? wcwidth(code) : -1;
    if (width < 0) return {"?", 1};
    return {bytes, static_cast<size_t>(width)};
}

}  // namespace

std::string fitted(const std::string& text, size_t columns, bool unicode) {
    std::string shown;
    std::string cut;  // as much as leaves room for the mark
    size_t used = 0;
    size_t cutColumns = 0;
    std::string_view rest = text;
    while (!rest.empty()) {
        const Character next = takeCharacter(&rest, unicode);
        if (used + next.columns > columns) {
            if (columns == 0) return {};
            return cut + std::string(columns - 1 - cutColumns, ' ') + (unicode ? "…" : "~");
        }
        shown += next.shown;
        used += next.columns;
        if (used < columns) {
            cut = shown;
            cutColumns = used;
        }
    }
    return shown + std::string(columns - used, ' ');
}

size_t columnsOf(const std::string& text, bool unicode) {
    std::string_view rest = text;
    size_t columns = 0;
    while (!rest.empty()) columns += takeCharacter(&rest, unicode).columns;
    return columns;
}

}  // namespace wlc
