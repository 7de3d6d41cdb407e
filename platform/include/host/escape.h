// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

// Not part of Android: escapes untrusted text, that is text from another process, a file, a dock or
// a command line. Every program does so before it prints or logs such text, wherever the output
// goes.
//
// Control characters, characters that break lines or turn the direction of writing (isControl in
// host/utf8.h), and bytes that are not UTF-8 are written as \xNN, byte by byte. Tabs stay. All
// functions may be called from any thread.

namespace android::host {

enum class LineFeeds {
    kEscaped,  // for a text that must stay on its line
    kKept,     // for a text of many lines
};

[[nodiscard]] std::string escaped(std::string_view text, LineFeeds lineFeeds = LineFeeds::kEscaped);

// Takes whole characters off the front of `*text` and writes them to `to`, line feeds escaped,
// while there is room. Returns the number of bytes written. Allocates nothing.
size_t takeEscaped(std::string_view* text, char* to, size_t room);

// The same for a text that comes in pieces, which may end in the middle of a character. Line feeds
// are kept. One thread at a time.
class StreamEscaper {
  public:
    // What can be shown now that the piece has come.
    [[nodiscard]] std::string next(std::string_view piece);
    // The rest: nothing more will come.
    [[nodiscard]] std::string end();

  private:
    std::string mHeld;  // the beginning of a character
};

}  // namespace android::host
