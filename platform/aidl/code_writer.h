// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace aidlc {

// Text built line by line, indented by two spaces a level.
class CodeWriter {
  public:
    // An empty line stays empty.
    void line(const std::string& text = "") {
        if (!text.empty()) {
            mText.append(2 * mLevel, ' ').append(text);
        }
        mText += '\n';
    }
    // A line one level further out: labels, access specifiers.
    void outer(const std::string& text) {
        --mLevel;
        line(text);
        ++mLevel;
    }
    void open(const std::string& text) {
        line(text);
        ++mLevel;
    }
    void close(const std::string& text) {
        --mLevel;
        line(text);
    }

    const std::string& text() const { return mText; }

  private:
    std::string mText;
    size_t mLevel = 0;
};

}  // namespace aidlc
