// SPDX-License-Identifier: Apache-2.0
#include "text.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>

#include "failure.h"
#include "host_adapter.h"

namespace wlc {
namespace {

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Edit distance: insertions, deletions, substitutions and swaps of neighbors.
size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
    for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
    for (size_t i = 1; i <= a.size(); ++i) {
        for (size_t j = 1; j <= b.size(); ++j) {
            d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1,
                                d[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
            }
        }
    }
    return d[a.size()][b.size()];
}

int milliseconds(std::chrono::system_clock::time_point time) {
    using std::chrono::floor;
    return static_cast<int>(
        (floor<std::chrono::milliseconds>(time) - floor<std::chrono::seconds>(time)).count());
}

}  // namespace

std::string toHex(std::span<const uint8_t> bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const uint8_t byte : bytes) fmt::format_to(std::back_inserter(text), "{:02x}", byte);
    return text;
}

std::vector<uint8_t> fromHex(std::string_view text, const std::string& what) {
    std::vector<uint8_t> bytes;
    size_t at = 0;
    while (at < text.size()) {
        if (text[at] == ' ' || text[at] == ':') {
            ++at;
            continue;
        }
        const int high = hexDigit(text[at]);
        const int low = at + 1 < text.size() ? hexDigit(text[at + 1]) : -1;
        if (high < 0 || low < 0) {
            throw badUsage(
                fmt::format("{}: expected two hexadecimal digits at position {}", what, at + 1));
        }
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
        at += 2;
    }
    return bytes;
}

std::string printable(std::string_view text) {
    return escaped(text, false);
}

std::string printableLines(std::string_view text) {
    return escaped(text, true);
}

std::string shellQuoted(const std::string& path) {
    constexpr const char* kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
    const std::string text = path.starts_with('-') ? "./" + path : path;
    if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
    const bool bytes =
        std::any_of(text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; });
    std::string quoted = bytes ? "$'" : "'";
    for (const char c : text) {
        if (bytes && (c < ' ' || c > '~')) {
            quoted += fmt::format("\\x{:02x}", static_cast<uint8_t>(c));
        } else if (bytes && (c == '\'' || c == '\\')) {
            quoted += {'\\', c};
        } else if (c == '\'') {
            quoted += R"('\'')";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

int64_t toNumber(const std::string& text, const std::string& what, int64_t lowest,
                 int64_t highest) {
    const size_t digits = !text.empty() && text[0] == '-' ? 1 : 0;
    const bool hex = text.size() > digits + 2 && text[digits] == '0' &&
                     (text[digits + 1] == 'x' || text[digits + 1] == 'X');
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(begin, &end, hex ? 16 : 10);
    const bool startsRight =
        text.size() > digits && hexDigit(text[digits]) >= 0 && hexDigit(text[digits]) < 10;
    if (!startsRight || end != begin + text.size() || errno == ERANGE || value < lowest ||
        value > highest) {
        throw badUsage(fmt::format("{} must be a number from {} to {}, not '{}'", what, lowest,
                                   highest, printable(text)));
    }
    return value;
}

int64_t toBits64(const std::string& text, const std::string& what) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const char* const first = text.data() + (hex ? 2 : 0);
    uint64_t bits = 0;
    const auto [end, error] =
        std::from_chars(first, text.data() + text.size(), bits, hex ? 16 : 10);
    if (error == std::errc() && end == text.data() + text.size()) return static_cast<int64_t>(bits);
    if (text.starts_with('-')) return toNumber(text, what, INT64_MIN, INT64_MAX);
    throw badUsage(fmt::format("{} must be a number from {} to {}, not '{}'", what, INT64_MIN,
                               UINT64_MAX, printable(text)));
}

std::string isoTime(std::chrono::system_clock::time_point time) {
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(time)), milliseconds(time));
}

std::string localTime(std::chrono::system_clock::time_point time) {
    return fmt::format("{:%H:%M:%S}.{:03}",
                       fmt::localtime(std::chrono::system_clock::to_time_t(time)),
                       milliseconds(time));
}

std::string nearest(const std::string& word, const std::vector<std::string>& candidates) {
    std::string best;
    size_t bestDistance = std::max<size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : candidates) {
        const size_t edits = distance(word, candidate);
        if (edits < bestDistance) {
            best = candidate;
            bestDistance = edits;
        }
    }
    return best;
}

}  // namespace wlc
