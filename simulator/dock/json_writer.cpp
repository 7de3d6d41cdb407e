// SPDX-License-Identifier: Apache-2.0
#include "json_writer.h"

namespace virtual_dock {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

}  // namespace

void JsonWriter::comma() {
    if (mNeedsComma) mText += ',';
    mNeedsComma = true;
}

JsonWriter& JsonWriter::open(char bracket) {
    comma();
    mText += bracket;
    mNeedsComma = false;
    return *this;
}

JsonWriter& JsonWriter::close(char bracket) {
    mText += bracket;
    mNeedsComma = true;
    return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
    string(name);
    mText += ':';
    mNeedsComma = false;
    return *this;
}

JsonWriter& JsonWriter::number(int64_t value) {
    comma();
    mText += std::to_string(value);
    return *this;
}

JsonWriter& JsonWriter::boolean(bool value) {
    comma();
    mText += value ? "true" : "false";
    return *this;
}

JsonWriter& JsonWriter::string(std::string_view bytes) {
    comma();
    mText += '"';
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        if (c == '"' || c == '\\') {
            mText += '\\';
            mText += c;
        } else if (byte >= 0x20 && byte < 0x7F) {
            mText += c;
        } else {
            mText += "\\u00";
            mText += kDigits[byte >> 4];
            mText += kDigits[byte & 0x0F];
        }
    }
    mText += '"';
    return *this;
}

JsonWriter& JsonWriter::hex(Bytes bytes) {
    comma();
    mText += '"';
    for (const uint8_t byte : bytes) {
        mText += kDigits[byte >> 4];
        mText += kDigits[byte & 0x0F];
    }
    mText += '"';
    return *this;
}

}  // namespace virtual_dock
