// SPDX-License-Identifier: Apache-2.0
#include "filter.h"

#include <android/log.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <atomic>
#include <string_view>

namespace android::log {
namespace {

constexpr int kUnset = ANDROID_LOG_DEFAULT;
constexpr int kFallback = ANDROID_LOG_INFO;

// What ANDROID_LOG_TAGS said. Rules beyond the room for them are passed over.
struct Rules {
    static constexpr size_t kMaxRules = 64;
    static constexpr size_t kMaxText = 2048;
    struct Rule {
        std::string_view tag;
        int threshold;
    };

    char text[kMaxText];  // the rules' tags point into this copy
    Rule rules[kMaxRules];
    size_t count = 0;
    int everyTag = kUnset;

    Rules();
    void add(const char* word, size_t length);
    // kUnset when no rule applies.
    int find(std::string_view tag) const;
};

int thresholdOf(char letter) {
    switch (letter) {
        case 'V':
        case 'v':
            return ANDROID_LOG_VERBOSE;
        case 'D':
        case 'd':
            return ANDROID_LOG_DEBUG;
        case 'I':
        case 'i':
            return ANDROID_LOG_INFO;
        case 'W':
        case 'w':
            return ANDROID_LOG_WARN;
        case 'E':
        case 'e':
            return ANDROID_LOG_ERROR;
        case 'F':
        case 'f':
            return ANDROID_LOG_FATAL;
        case 'S':
        case 's':
            return ANDROID_LOG_SILENT;
        default:
            return kUnset;
    }
}

Rules::Rules() {
    const char* setting = getenv("ANDROID_LOG_TAGS");
    if (setting == nullptr) setting = "";
    const size_t size = std::min(strlen(setting), kMaxText - 1);
    memcpy(text, setting, size);
    text[size] = '\0';
    const char* word = text;
    while (*word != '\0') {
        const size_t length = strcspn(word, " ,\t");
        add(word, length);
        word += length;
        word += strspn(word, " ,\t");
    }
}

// A word is TAG:LETTER, or LETTER or *:LETTER for every tag. Anything else is passed over.
void Rules::add(const char* word, size_t length) {
    if (length == 0) return;
    const int threshold = thresholdOf(word[length - 1]);
    if (threshold == kUnset) return;
    if (length == 1 || (length == 3 && word[0] == '*' && word[1] == ':')) {
        everyTag = threshold;
    } else if (length > 2 && word[length - 2] == ':' && count < kMaxRules) {
        rules[count++] = {{word, length - 2}, threshold};
    }
}

int Rules::find(std::string_view tag) const {
    for (size_t i = count; i-- > 0;) {
        if (rules[i].tag == tag) return rules[i].threshold;
    }
    return everyTag;
}

const Rules& environmentRules() {
    static const Rules rules;
    return rules;
}

std::atomic<int> gMinimum{kUnset};
// No tag's threshold is below this. Starts at 0: everything may pass until the environment was
// read.
std::atomic<int> gFloor{0};

int combine(int rule, int min, int fallback) {
    if (rule == kUnset) return min == kUnset ? fallback : min;
    return min == kUnset ? rule : std::min(rule, min);
}

void updateFloor() {
    const Rules& rules = environmentRules();
    const int min = gMinimum.load();
    int floor = combine(rules.everyTag, min, kFallback);
    for (size_t i = 0; i < rules.count; ++i) {
        floor = std::min(floor, combine(rules.rules[i].threshold, min, kFallback));
    }
    gFloor.store(floor, std::memory_order_relaxed);
}

}  // namespace

bool mayPass(int priority) {
    return priority >= gFloor.load(std::memory_order_relaxed);
}

bool passes(int priority, const char* tag, int fallback) {
    if (!mayPass(priority)) return false;
    if (gFloor.load(std::memory_order_relaxed) == 0) updateFloor();
    const int rule = environmentRules().find(tag);
    return priority >=
           combine(rule, gMinimum.load(std::memory_order_relaxed), std::max(fallback, kFallback));
}

int setMinimum(int priority) {
    const int former = gMinimum.exchange(priority <= kUnset ? kUnset : priority);
    updateFloor();
    return former;
}

int minimum() {
    return gMinimum.load(std::memory_order_relaxed);
}

}  // namespace android::log
