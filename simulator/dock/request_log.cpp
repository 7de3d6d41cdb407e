// SPDX-License-Identifier: Apache-2.0
#include "request_log.h"

#include <algorithm>
#include <chrono>

namespace virtual_dock {
namespace {

void store(Bytes bytes, std::array<uint8_t, LogEntry::kMaxBytes>* place) {
    const size_t count = std::min(bytes.size(), place->size());
    if (count > 0) std::memcpy(place->data(), bytes.data(), count);
}

Bytes stored(const std::array<uint8_t, LogEntry::kMaxBytes>& place, uint32_t length) {
    return {place.data(), std::min<size_t>(place.size(), length)};
}

}  // namespace

Bytes LogEntry::storedRequest() const {
    return stored(request, requestLength);
}
Bytes LogEntry::storedAnswer() const {
    return stored(answer, answerLength);
}

// Left uninitialised, so that an idle process has no page of it.
RequestLog::RequestLog() : mEntries(new LogEntry[kCapacity]) {}

void RequestLog::append(Operation operation, int32_t type, uint32_t result, Bytes request,
                        Bytes answer, int64_t timeNs) {
    LogEntry& entry = mEntries[++mNewest % kCapacity];
    entry.number = mNewest;
    entry.timeNs = timeNs;
    entry.wallTimeNs =
        std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count();
    entry.result = result;
    entry.type = type;
    entry.operation = operation;
    entry.requestLength = static_cast<uint32_t>(request.size());
    entry.answerLength = static_cast<uint32_t>(answer.size());
    store(request, &entry.request);
    store(answer, &entry.answer);
}

}  // namespace virtual_dock
