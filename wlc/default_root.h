// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>

namespace wlc {

// The certificate that is trusted when the user names none: the virtual dock's root, built in.
// Empty when the program was built without one.
std::span<const uint8_t> defaultRoot();

}  // namespace wlc
