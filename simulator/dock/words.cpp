// SPDX-License-Identifier: Apache-2.0
#include "words.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace virtual_dock {
namespace {

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool isPlain(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           std::string_view("-._:=,+/").find(c) != std::string_view::npos;
}

size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::optional<std::vector<std::string>> splitWords(std::string_view line) {
    std::vector<std::string> words;
    bool inWord = false;
    for (size_t i = 0; i < line.size(); ++i) {
        char c = line[i];
        if (c == ' ') {
            inWord = false;
            continue;
        }
        if (!inWord) words.emplace_back();
        inWord = true;
        if (c == '%') {
            const int high = i + 2 < line.size() ? hexValue(line[i + 1]) : -1;
            const int low = i + 2 < line.size() ? hexValue(line[i + 2]) : -1;
            if (high < 0 || low < 0) return std::nullopt;
            c = static_cast<char>(high << 4 | low);
            i += 2;
        }
        words.back() += c;
    }
    return words;
}

std::string encodeWord(std::string_view word) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : word) {
        if (isPlain(c)) {
            encoded += c;
        } else {
            const auto byte = static_cast<uint8_t>(c);
            encoded += {'%', kDigits[byte >> 4], kDigits[byte & 0x0F]};
        }
    }
    return encoded;
}

std::optional<int64_t> parseNumber(std::string_view word, int64_t min, int64_t max) {
    const bool negative = !word.empty() && word[0] == '-';
    if (!word.empty() && (word[0] == '-' || word[0] == '+')) word.remove_prefix(1);
    int base = 10;
    if (word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X')) {
        base = 16;
        word.remove_prefix(2);
    }
    uint64_t magnitude = 0;
    const auto [end, error] =
        std::from_chars(word.data(), word.data() + word.size(), magnitude, base);
    if (error != std::errc() || end != word.data() + word.size()) return std::nullopt;
    constexpr uint64_t kMaxMagnitude = uint64_t{1} << 63;
    if (magnitude > kMaxMagnitude || (magnitude == kMaxMagnitude && !negative)) return std::nullopt;
    const auto value = static_cast<int64_t>(negative ? 0 - magnitude : magnitude);
    if (value < min || value > max) return std::nullopt;
    return value;
}

std::optional<std::vector<uint8_t>> parseHex(std::string_view word) {
    if (word.size() % 2 != 0) return std::nullopt;
    std::vector<uint8_t> bytes;
    bytes.reserve(word.size() / 2);
    for (size_t i = 0; i < word.size(); i += 2) {
        const int high = hexValue(word[i]);
        const int low = hexValue(word[i + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return bytes;
}

std::string closest(std::string_view word, const std::vector<std::string>& candidates) {
    constexpr size_t kMaxWord = 64;
    if (word.size() > kMaxWord) return {};
    std::string best;
    size_t bestDistance = std::max<size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const size_t distance = editDistance(word, candidate);
        if (distance < bestDistance) {
            bestDistance = distance;
            best = candidate;
        }
    }
    return best;
}

std::string unknownName(std::string_view what, std::string_view word,
                        const std::vector<std::string>& candidates) {
    std::string message = "unknown " + std::string(what) + " \"" + std::string(word) + "\"";
    const std::string meant = closest(word, candidates);
    if (!meant.empty()) message += "; did you mean \"" + meant + "\"?";
    return message;
}

}  // namespace virtual_dock
