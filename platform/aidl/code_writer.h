// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace aidlc {

// Text built line by line, indented by two spaces a level.
class CodeWriter {
  public:
    using Replacement = std::pair<std::string_view, std::string>;

    // An empty line stays empty.
    void line(const std::string& text = "");
    void open(const std::string& text) {
        line(text);
        ++mLevel;
    }
    void close(const std::string& text) {
        --mLevel;
        line(text);
    }
    // A line one level further out: an access specifier, the target of a goto.
    void label(const std::string& text) {
        close(text);
        ++mLevel;
    }
    // Whole lines, with their own indentation on top of the level's. A line end at the very
    // beginning does not count, so that the text can start below a raw string's mark. Each $NAME
    // stands for its replacement; a name must not begin with another one.
    void lines(std::string_view text, std::initializer_list<Replacement> replacements = {});

    const std::string& text() const { return mText; }

  private:
    std::string mText;
    size_t mLevel = 0;
};

}  // namespace aidlc
