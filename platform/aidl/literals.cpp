// SPDX-License-Identifier: Apache-2.0
#include "literals.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string_view>
#include <system_error>

namespace aidlc {
namespace {

bool takeSuffix(std::string_view* text, std::string_view suffix) {
    if (text->size() <= suffix.size() || !text->ends_with(suffix)) {
        return false;
    }
    text->remove_suffix(suffix.size());
    return true;
}

}  // namespace

bool parseInteger(const std::string& text, Value* value, std::string* why) {
    std::string_view digits = text;
    const bool isByte = takeSuffix(&digits, "u8");
    value->isLong = !isByte && (takeSuffix(&digits, "L") || takeSuffix(&digits, "l"));
    const bool isHex = digits.starts_with("0x") || digits.starts_with("0X");
    if (isHex) {
        digits.remove_prefix(2);
    } else if (digits.size() > 1 && digits[0] == '0') {
        *why = "begins with 0, which other languages read as octal; remove the 0, or write 0x";
        return false;
    }
    uint64_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, isHex ? 16 : 10);
    const uint64_t highest = isByte  ? 0xff
                             : isHex ? UINT64_MAX
                                     : std::numeric_limits<int64_t>::max();
    if (stop != end || error == std::errc::invalid_argument) {
        *why = "is not a number; write decimal digits, or 0x and hexadecimal ones";
        return false;
    }
    if (error != std::errc() || number > highest) {
        *why = isByte ? "does not fit 8 bits" : "does not fit a long";
        return false;
    }
    if (isByte) {
        value->integer = static_cast<int8_t>(number);
    } else if (isHex && number <= UINT32_MAX && !value->isLong) {
        value->integer = static_cast<int32_t>(number);
    } else {
        value->isLong = value->isLong || number > std::numeric_limits<int32_t>::max();
        value->integer = static_cast<int64_t>(number);
    }
    return true;
}

bool parseReal(const std::string& text, Value* value) {
    std::string_view digits = text;
    if (!takeSuffix(&digits, "f")) {
        takeSuffix(&digits, "F");
    }
    const std::string copy(digits);
    char* end = nullptr;
    value->kind = Value::Kind::Real;
    value->real = strtod(copy.c_str(), &end);
    return *end == '\0' && std::isfinite(value->real);
}

std::string realText(double value, bool isFloat) {
    char text[64];
    snprintf(text, sizeof(text), isFloat ? "%.9g" : "%.17g", value);
    std::string result = text;
    if (result.find_first_of(".e") == std::string::npos) {
        result += ".0";
    }
    return isFloat ? result + 'f' : result;
}

}  // namespace aidlc
