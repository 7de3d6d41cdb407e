// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace wlc {

// Escaped text as a terminal shows it in exactly `columns` columns: cut with a mark at its end, or
// filled with blanks. `unicode`: as UTF-8, for which the locale has to be a UTF-8 one; else as
// ASCII, without degree signs and with ? for other characters.
std::string fitted(const std::string& text, size_t columns, bool unicode);

// The columns that the text takes.
size_t columnsOf(const std::string& text, bool unicode);

}  // namespace wlc
