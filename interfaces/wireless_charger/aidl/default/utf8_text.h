// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace aidl::vendor::zorvak::wireless_charger {

/**
 * Replaces every byte of the text that is not part of well-formed UTF-8 (a cut or overlong
 * sequence, a surrogate, a code point above U+10FFFF) by U+FFFD: the platform refuses to send other
 * strings. Allocates only when there is such a byte.
 */
void makeValidUtf8(std::string& text);

}  // namespace aidl::vendor::zorvak::wireless_charger
