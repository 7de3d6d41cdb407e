// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "packet.h"

// Exchanges between a library and a dock in another process, on a connection to the dock's control
// socket. The library sends the line `exchange 1` (with ` uevents=PATH` where its process does not
// listen to the kernel's), the dock answers `{"ok":true}`. From then on the library sends one
// request at a time and waits for its answer. Both processes are on one machine: byte order is the
// machine's.
namespace virtual_dock::wire {

constexpr int kVersion = 1;

constexpr size_t kMaxRequest = 4096;  // bytes; no request of the charging protocol has half as many
constexpr size_t kMaxAnswer = AnswerBuffer::kCapacity;
constexpr uint32_t kNotWanted = UINT32_MAX;  // as a capacity

struct RequestHeader {
    uint32_t operation;  // an Operation
    int32_t type;
    uint32_t timeLimitMs;  // 0: none
    uint32_t capacity;     // at most kMaxAnswer, or kNotWanted
    uint32_t length;       // of the request behind this, at most kMaxRequest
};
static_assert(sizeof(RequestHeader) == 20);

struct AnswerHeader {
    uint32_t result;
    uint32_t length;  // of the answer behind this, when it is wanted: at most the capacity
};
static_assert(sizeof(AnswerHeader) == 8);

// Sends all of it; false when the connection has ended. A message fits into the socket, since each
// side waits for the other's.
[[nodiscard]] bool sendAll(int fd, const void* bytes, size_t size);

// The line that opens a connection; `uevents` is a path or "".
std::string openingLine(const std::string& uevents);

// The path in such a line; nullopt when it is not one of this version.
std::optional<std::string> parseOpening(std::string_view line);

}  // namespace virtual_dock::wire
