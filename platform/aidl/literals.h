// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "ast.h"

// Numbers as they are written in AIDL.
namespace aidlc {

// The value of an integer literal; false with *why set when it has none. Decimal numbers are ints,
// or longs when they need to be. Hexadecimal ones are the bits of an int, or of a long when they
// need more than 32 bits. L makes a long, u8 a byte from its 8 bits.
bool parseInteger(const std::string& text, Value* value, std::string* why);

// The value of a floating-point literal, which may end with f; false when it has none.
bool parseReal(const std::string& text, Value* value);

// A literal of AIDL and of C++ that gives the same number again.
std::string realText(double value, bool isFloat);

}  // namespace aidlc
