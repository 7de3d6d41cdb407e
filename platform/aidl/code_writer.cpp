// SPDX-License-Identifier: Apache-2.0
#include "code_writer.h"

namespace aidlc {

void CodeWriter::line(const std::string& text) {
    if (!text.empty()) {
        mText.append(2 * mLevel, ' ').append(text);
    }
    mText += '\n';
}

void CodeWriter::lines(std::string_view text, std::initializer_list<Replacement> replacements) {
    size_t start = text.starts_with('\n') ? 1 : 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        std::string one(text.substr(start, end - start));
        for (const auto& [name, replacement] : replacements) {
            for (size_t at = one.find(name); at != std::string::npos;
                 at = one.find(name, at + replacement.size())) {
                one.replace(at, name.size(), replacement);
            }
        }
        line(one);
        start = end == std::string_view::npos ? text.size() : end + 1;
    }
}

}  // namespace aidlc
