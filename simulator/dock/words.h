// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Words of the control protocol, numbers and byte strings in them.
namespace virtual_dock {

// Splits a line at spaces and decodes %XX in each word. Nothing for a line with a malformed %XX.
std::optional<std::vector<std::string>> splitWords(std::string_view line);

// The word with everything but letters, digits and -._:=,+/ as %XX; splitWords gives it back.
std::string encodeWord(std::string_view word);

// A whole number, decimal or hexadecimal with 0x, with an optional sign, in min..max.
std::optional<int64_t> parseNumber(std::string_view word, int64_t min, int64_t max);

// Bytes from an even number of hex digits.
std::optional<std::vector<uint8_t>> parseHex(std::string_view word);

// The candidate most similar to the word; empty when none is similar.
std::string closest(std::string_view word, const std::vector<std::string>& candidates);

// `unknown <what> "<word>"`, with the closest candidate when there is one.
std::string unknownName(std::string_view what, std::string_view word,
                        const std::vector<std::string>& candidates);

}  // namespace virtual_dock
