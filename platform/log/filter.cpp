// SPDX-License-Identifier: Apache-2.0
#include "filter.h"

#include <android/log.h>
#include <stdlib.h>

#include <algorithm>
#include <string_view>

namespace android::log {
namespace {

constexpr std::string_view kSeparators = " ,\t";
constexpr std::string_view kPriorityLetters = "VvDdIiWwEeFfSs";

std::vector<FilterRule> parse(std::string_view text) {
    std::vector<FilterRule> rules;
    while (!text.empty()) {
        std::string_view tag = text.substr(0, text.find_first_of(kSeparators));
        text.remove_prefix(std::min(tag.size() + 1, text.size()));
        const size_t letter =
            tag.empty() ? kPriorityLetters.npos : kPriorityLetters.find(tag.back());
        if (letter == kPriorityLetters.npos) continue;
        const int threshold = ANDROID_LOG_VERBOSE + static_cast<int>(letter / 2);
        tag.remove_suffix(1);
        if (tag.empty()) {
            rules.push_back({"*", threshold});
        } else if (tag.size() > 1 && tag.back() == ':') {
            rules.push_back({std::string(tag.substr(0, tag.size() - 1)), threshold});
        }
    }
    return rules;
}

}  // namespace

const std::vector<FilterRule>& environmentRules() {
    // Never destroyed, so that static destructors may log.
    static const auto& sRules = *new std::vector<FilterRule>([] {
        const char* setting = getenv("ANDROID_LOG_TAGS");
        return parse(setting != nullptr ? setting : "");
    }());
    return sRules;
}

int thresholdFor(const std::vector<FilterRule>& rules, const char* tag) {
    int threshold = ANDROID_LOG_DEFAULT;
    bool exact = false;
    for (const FilterRule& rule : rules) {
        if (rule.tag == tag) {
            exact = true;
        } else if (exact || rule.tag != "*") {
            continue;
        }
        threshold = rule.threshold;
    }
    return threshold;
}

}  // namespace android::log
