// SPDX-License-Identifier: Apache-2.0
#include "trace_line.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace virtual_dock {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

int64_t nanoseconds(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

TraceMoment TraceMoment::now() {
    return {nanoseconds(CLOCK_MONOTONIC), nanoseconds(CLOCK_REALTIME)};
}

TraceLine::~TraceLine() {
    if (mText != mUsual.data()) std::free(mText);
}

char* TraceLine::more(size_t count) {
    if (mFailed) return nullptr;
    if (count > mCapacity - mSize) {
        const size_t capacity = std::max(2 * mCapacity, mSize + count);
        char* const text = static_cast<char*>(std::malloc(capacity));
        if (text == nullptr) {
            mFailed = true;
            return nullptr;
        }
        std::memcpy(text, mText, mSize);
        if (mText != mUsual.data()) std::free(mText);
        mText = text;
        mCapacity = capacity;
    }
    char* const place = mText + mSize;
    mSize += count;
    return place;
}

void TraceLine::add(std::string_view text) {
    char* const place = more(text.size());
    if (place != nullptr) std::memcpy(place, text.data(), text.size());
}

template <typename Number>
void TraceLine::addNumber(Number number) {
    std::array<char, 24> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    add({digits.data(), static_cast<size_t>(end - digits.data())});
}

void TraceLine::addMoment(const TraceMoment& moment) {
    add("\"timeNs\":");
    addNumber(moment.timeNs);
    add(",\"wallTimeNs\":");
    addNumber(moment.wallTimeNs);
}

void TraceLine::addHex(Bytes bytes) {
    add("\"");
    char* place = more(2 * bytes.size());
    if (place == nullptr) return;
    for (const uint8_t byte : bytes) {
        *place++ = kHexDigits[byte >> 4];
        *place++ = kHexDigits[byte & 0x0F];
    }
    add("\"");
}

void TraceLine::addString(std::string_view bytes) {
    add("\"");
    for (const char c : bytes) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x20 || byte > 0x7E) {
            const char escaped[] = {
                '\\', 'u', '0', '0', kHexDigits[byte >> 4], kHexDigits[byte & 0x0F]};
            add({escaped, sizeof(escaped)});
        } else {
            if (c == '"' || c == '\\') add("\\");
            add({&c, 1});
        }
    }
    add("\"");
}

void TraceLine::header(const TraceMoment& now, const std::vector<std::string>& libraries) {
    add("{\"trace\":1,\"recorder\":\"wireless_charger " PROJECT_VERSION "\",");
    addMoment(now);
    add(",\"libraries\":[");
    for (const std::string& library : libraries) {
        if (&library != &libraries.front()) add(",");
        addString(library);
    }
    add("]}\n");
}

void TraceLine::uevent(const TraceMoment& came, std::string_view message) {
    add("{");
    addMoment(came);
    add(",\"uevent\":[");
    for (bool first = true; !message.empty(); first = false) {
        const size_t end = std::min(message.find('\0'), message.size());
        if (!first) add(",");
        addString(message.substr(0, end));
        message.remove_prefix(std::min(end + 1, message.size()));
    }
    add("]}\n");
}

void TraceLine::beginExchange(const TraceMoment& began, const Exchange& exchange) {
    add("{");
    addMoment(began);
    add(",\"thread\":");
    addNumber(gettid());
    add(",\"operation\":\"");
    add(operationName(exchange.operation));
    add("\",\"type\":");
    addNumber(exchange.type);
    add(",\"timeLimitMs\":");
    addNumber(exchange.timeLimitMs);
    add(",\"request\":");
    addHex(exchange.request);
    add(",\"capacity\":");
    if (exchange.answer != nullptr) {
        addNumber(exchange.capacity);
    } else {
        add("null");
    }
}

void TraceLine::endExchange(const Exchange& exchange, const Outcome& outcome,
                            int64_t microseconds) {
    add(",\"result\":");
    addNumber(outcome.result);
    if (outcome.result == kOk && exchange.answer != nullptr) {
        const size_t there = std::min(outcome.length, exchange.capacity);
        add(",\"answer\":");
        addHex({exchange.answer, there});
        if (outcome.length != there) {
            add(",\"length\":");
            addNumber(outcome.length);
        }
    }
    add(",\"microseconds\":");
    addNumber(microseconds);
    add("}\n");
}

std::string_view TraceLine::text() const {
    return mFailed ? std::string_view() : std::string_view(mText, mSize);
}

}  // namespace virtual_dock
