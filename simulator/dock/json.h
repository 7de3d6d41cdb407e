// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "packet.h"

// JSON as the control protocol uses it.
namespace virtual_dock {

using Json = nlohmann::ordered_json;

// Any bytes as a text: each byte becomes the character with its number, so that the bytes can be
// recovered.
Json textJson(std::string_view bytes);

// Bytes as hex digits.
Json hexJson(Bytes bytes);

// On one line, in ASCII.
std::string toLine(const Json& json);

}  // namespace virtual_dock
