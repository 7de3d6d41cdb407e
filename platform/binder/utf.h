// SPDX-License-Identifier: Apache-2.0
//
// Strings are UTF-8 in our interfaces and UTF-16 on the wire. Bytes that are not UTF-8, where the
// caller has let them through, and surrogates without a partner become U+FFFD.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <string_view>

namespace android::host {

// Number of UTF-16 units that `text` takes.
size_t utf16Length(std::string_view text);

// Writes utf16Length(text) units, little-endian, no terminator. `out` need not be aligned.
void toUtf16(std::string_view text, uint8_t* out);

// Number of bytes that `units` UTF-16 units at `in` take as UTF-8. `in` need not be aligned.
size_t utf8Length(const uint8_t* in, size_t units);

// Writes utf8Length(in, units) bytes, no terminator.
void toUtf8(const uint8_t* in, size_t units, char* out);

std::string toUtf8String(const uint8_t* in, size_t units);

}  // namespace android::host
