// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "../exchange.h"

// The lines of a trace (docs/traces.md) as they are read.
namespace virtual_dock {

struct TraceHeader {
    std::string recorder;
    int64_t timeNs = 0;
    int64_t wallTimeNs = 0;
    std::vector<std::string> libraries;
};

struct TraceExchange {
    int64_t timeNs = 0;  // monotonic clock, when the call began
    int64_t wallTimeNs = 0;
    int64_t thread = 0;
    Operation operation = {};
    int32_t type = 0;
    uint32_t timeLimitMs = 0;
    std::vector<uint8_t> request;
    std::optional<uint64_t> capacity;  // nothing: no answer was wanted
    uint32_t result = kOk;
    std::vector<uint8_t> answer;
    uint64_t length = 0;  // of the answer, as the library told it
    int64_t microseconds = 0;
};

struct TraceUevent {
    int64_t timeNs = 0;
    int64_t wallTimeNs = 0;
    std::vector<std::string> lines;  // bytes
};

using TraceEntry = std::variant<TraceExchange, TraceUevent>;

// Each reads one line, without its line feed; any bytes. False with what is wrong with it and what
// would be right. Members that are not known are ignored.
bool parseTraceHeader(std::string_view line, TraceHeader* header, std::string* problem);
bool parseTraceEntry(std::string_view line, TraceEntry* entry, std::string* problem);

}  // namespace virtual_dock
