// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "../exchange.h"

namespace virtual_dock {

// One moment on both clocks of a trace.
struct TraceMoment {
    int64_t timeNs;      // monotonic clock
    int64_t wallTimeNs;  // since 1970
    static TraceMoment now();
};

// One line of a trace (docs/traces.md) being written, on the stack of whoever writes it. Takes
// memory only for a line that is longer than those of the protocol. One thread.
class TraceLine {
  public:
    // Not `= default`: that would zero the characters in front of every request.
    TraceLine() {}
    ~TraceLine();
    TraceLine(const TraceLine&) = delete;
    TraceLine& operator=(const TraceLine&) = delete;

    // One of these fills the line. libraries: the paths of the libraries that answer.
    void header(const TraceMoment& now, const std::vector<std::string>& libraries);
    // `message` holds lines that each end with a zero byte. Any bytes.
    void uevent(const TraceMoment& came, std::string_view message);
    // In two parts: an answer may overwrite the request, so what is known before the call is
    // written before it.
    void beginExchange(const TraceMoment& began, const Exchange& exchange);
    void endExchange(const Exchange& exchange, const Outcome& outcome, int64_t microseconds);

    // The line with its line feed; empty when there was no memory for it.
    std::string_view text() const;

  private:
    // A request and an answer of 2,048 bytes each, as hex digits, and the rest.
    static constexpr size_t kUsualSize = 4 * 2048 + 512;

    // The place for so many more characters; null without memory for them.
    char* more(size_t count);
    void add(std::string_view text);
    template <typename Number>
    void addNumber(Number number);
    void addMoment(const TraceMoment& moment);
    void addHex(Bytes bytes);
    // In quotes; each byte is one character of the text.
    void addString(std::string_view bytes);

    std::array<char, kUsualSize> mUsual;
    char* mText = mUsual.data();
    size_t mCapacity = kUsualSize;
    size_t mSize = 0;
    bool mFailed = false;
};

}  // namespace virtual_dock
