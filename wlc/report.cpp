// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "text.h"

namespace wlc {
namespace {

constexpr std::string_view kVendorDefined = " (vendor-defined)";

std::string inWords(const std::string& key) {
    std::string words;
    for (const char c : key) {
        if (std::isupper(static_cast<unsigned char>(c))) {
            words += ' ';
            words += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else {
            words += c;
        }
    }
    return words;
}

std::string shown(const Json& value) {
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    if (value.is_null()) return "none";
    if (value.is_string()) {
        const auto& text = value.get_ref<const std::string&>();
        return text.empty() ? "-" : printable(text);
    }
    return toText(value);
}

}  // namespace

Report& Report::field(const std::string& key, Json value, std::string text) {
    mRows.emplace_back(inWords(key), std::move(text));
    mJson[key] = std::move(value);
    return *this;
}

Report& Report::field(const std::string& key, Json value) {
    std::string text = shown(value);
    return field(key, std::move(value), std::move(text));
}

Report& Report::nested(const std::string& key, const Report& record) {
    for (const auto& [label, text] : record.mRows) {
        mRows.emplace_back(inWords(key) + " " + label, text);
    }
    mJson[key] = record.mJson;
    return *this;
}

Report& Report::append(const Report& record) {
    mRows.insert(mRows.end(), record.mRows.begin(), record.mRows.end());
    mJson.update(record.mJson);
    return *this;
}

Report& Report::reading(const std::string& key, int64_t value, const std::string& name) {
    mRows.emplace_back(fmt::format("reading {}{}", name, kVendorDefined), std::to_string(value));
    mJson[key] = value;
    return *this;
}

Report& Report::code(const std::string& key, int64_t value, const std::string& name) {
    return field(key, value, fmt::format("{} ({})", value, name));
}

Report& Report::hexCode(const std::string& key, int64_t value, const std::string& name) {
    return field(key, value, fmt::format("0x{:x} ({})", static_cast<uint32_t>(value), name));
}

std::string Report::lines() const {
    size_t width = 0;
    for (const auto& [label, text] : mRows) width = std::max(width, label.size());
    std::string out;
    for (const auto& [label, text] : mRows) {
        out += fmt::format("{:<{}}  {}\n", label, width, text);
    }
    return out;
}

std::string Report::line() const {
    std::string out;
    for (const auto& [label, text] : mRows) {
        // In a line the label alone has to do.
        const std::string shortened = label.substr(0, label.find(kVendorDefined));
        out += fmt::format("{}{} {}", out.empty() ? "" : ", ", shortened, text);
    }
    return out;
}

std::string toText(const Json& json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace wlc
