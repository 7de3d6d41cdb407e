// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Parsing and formatting of text and bytes. Pure functions.
namespace wlc {

// Lower-case, two digits per byte, no separators.
std::string toHex(std::span<const uint8_t> bytes);

// Digits in pairs; spaces and colons between pairs are ignored. Throws badUsage with `what` and the
// position of the error.
std::vector<uint8_t> fromHex(std::string_view text, const std::string& what);

// Untrusted text made safe for a terminal; see escaped() in host_adapter.h. printableLines keeps
// line feeds.
std::string printable(std::string_view text);
std::string printableLines(std::string_view text);

// The text as one word of a POSIX shell's command line; control characters and bytes that are not
// ASCII as bash and zsh take them ($'\n'). A leading - gets ./ in front, so that it is no option.
std::string shellQuoted(const std::string& path);

// A decimal or 0x-prefixed number within bounds. Throws badUsage with `what` and the bounds.
int64_t toNumber(const std::string& text, const std::string& what, int64_t lowest, int64_t highest);

// 64 bits as a number: negative, or unsigned up to 2^64 - 1. Throws badUsage with `what`.
int64_t toBits64(const std::string& text, const std::string& what);

// "2026-01-31T12:00:00.123Z", and "13:00:00.123" in the local time zone.
std::string isoTime(std::chrono::system_clock::time_point time);
std::string localTime(std::chrono::system_clock::time_point time);

// The candidate closest to a mistyped word; empty when none is close enough.
std::string nearest(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace wlc
