// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "top_state.h"

namespace wlc {

enum class Style { kPlain, kBold, kReverse };

struct Span {
    std::string text;
    Style style = Style::kPlain;
};

// A row of the screen, at most as wide as it.
using Line = std::vector<Span>;

struct PageSize {
    size_t rows = 24;
    size_t columns = 80;
    bool unicode = true;  // see fitted()
};

// The page, at most `rows` lines: state, plots, requests and events one below the other, or with
// the plots beside the rest where there is room. What finds no place is left out from the end.
std::vector<Line> topPage(const TopState& state, const PageSize& size);

}  // namespace wlc
