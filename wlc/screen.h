// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "top_page.h"

namespace wlc {

// The terminal as a page of lines, of which only what has changed is written. During its lifetime
// the terminal is in a mode of its own, and what libraries write to standard error on it is
// dropped. One object at a time, one thread; create it before other threads, which inherit the
// signal mask.
class Screen {
  public:
    // ascii: no other characters, also where the locale has them. Throws badUsage when standard
    // input and output are not a terminal, or not one that can be written at any place.
    explicit Screen(bool ascii);
    // Restores the terminal.
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    PageSize size() const;
    void show(const std::vector<Line>& lines);

    // Readable when the size has changed. Call adaptSize() then.
    int resizeDescriptor() const;
    void adaptSize();
    // The next key pressed, 0 when there is none yet, kGone when the terminal has gone.
    int key();
    static constexpr int kGone = -1;
    // Writes everything at the next show(), whatever the terminal shows.
    void redraw();

  private:
    struct Terminal;
    std::unique_ptr<Terminal> mTerminal;
};

}  // namespace wlc
