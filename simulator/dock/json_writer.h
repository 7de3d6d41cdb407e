// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "packet.h"

namespace virtual_dock {

// Writes one JSON value, on one line. Commas come by themselves; the caller opens and closes
// objects and arrays in pairs. In strings each byte becomes one character: bytes that are not
// printable ASCII are written as \u00XX, so that any bytes make valid JSON and can be told again.
class JsonWriter {
  public:
    JsonWriter& beginObject() { return open('{'); }
    JsonWriter& endObject() { return close('}'); }
    JsonWriter& beginArray() { return open('['); }
    JsonWriter& endArray() { return close(']'); }

    JsonWriter& key(std::string_view name);
    JsonWriter& number(int64_t value);
    JsonWriter& boolean(bool value);
    JsonWriter& string(std::string_view bytes);
    JsonWriter& hex(Bytes bytes);

    // A member in one call.
    JsonWriter& member(std::string_view name, int64_t value) { return key(name).number(value); }
    JsonWriter& flag(std::string_view name, bool value) { return key(name).boolean(value); }
    JsonWriter& text(std::string_view name, std::string_view value) {
        return key(name).string(value);
    }

    const std::string& str() const { return mText; }

  private:
    JsonWriter& open(char bracket);
    JsonWriter& close(char bracket);
    void comma();

    std::string mText;
    bool mNeedsComma = false;
};

}  // namespace virtual_dock
