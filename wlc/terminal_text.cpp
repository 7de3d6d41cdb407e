// SPDX-License-Identifier: Apache-2.0
#include "terminal_text.h"

#include <wchar.h>

#include <algorithm>
#include <string_view>

namespace wlc {
namespace {

constexpr std::string_view kDegree = "\xc2\xb0";

struct Character {
    std::string shown;
    size_t columns = 0;
};

// Takes the next character off the front.
Character takeCharacter(std::string_view* text, bool unicode) {
    wchar_t code = 0;
    mbstate_t state = {};
    const size_t size = mbrtowc(&code, text->data(), text->size(), &state);
    // Bytes that the locale cannot read count as one character each.
    const bool known = size != 0 && size <= text->size();
    const int width = known ? wcwidth(code) : -1;
    std::string bytes(text->substr(0, known ? size : 1));
    if (!unicode && text->starts_with(kDegree)) bytes = kDegree;
    text->remove_prefix(bytes.size());
    if (bytes[0] >= ' ' && bytes[0] <= '~') return {bytes, 1};
    if (unicode && width >= 0) return {bytes, static_cast<size_t>(width)};
    if (bytes == kDegree) return {"", 0};
    // The rest of a character whose first byte has been shown.
    while (!text->empty() && (static_cast<unsigned char>(text->front()) & 0xc0) == 0x80) {
        text->remove_prefix(1);
    }
    return {"?", 1};
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
