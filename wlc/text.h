// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Texts and bytes in and out. Pure functions.
namespace wlc {

// Lower-case, two digits a byte, nothing between them.
std::string toHex(std::span<const uint8_t> bytes);

// Digits in pairs; blanks and colons between pairs are passed over. Throws badUsage, naming `what`
// and the place of the fault.
std::vector<uint8_t> fromHex(std::string_view text, const std::string& what);

// The text with control characters and bytes that are not UTF-8 written as \xNN (host/escape.h):
// what a dock says must not steer a terminal. printableLines keeps line feeds.
std::string printable(std::string_view text);
std::string printableLines(std::string_view text);

// A decimal or 0x-prefixed number within bounds. Throws badUsage, naming `what` and the bounds.
int64_t toNumber(const std::string& text, const std::string& what, int64_t lowest, int64_t highest);

// The candidate nearest to a mistyped word, empty when none is near enough to be meant.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace wlc
