// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace wlc {

// Reads a regular file of at most `limit` bytes. Throws badUsage with the reason.
std::vector<uint8_t> readFile(const std::string& path, size_t limit);

// Creates or replaces a file. Throws refused with the reason.
void writeFile(const std::string& path, std::span<const uint8_t> bytes);

}  // namespace wlc
