// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace android::log {

struct FilterRule {
    std::string tag;  // "*": every tag that has no rule of its own
    int threshold;
};

// The rules of ANDROID_LOG_TAGS (see android/log.h), read by the first call. Of several rules for
// one tag the last one applies; words that are not rules are ignored. Any thread.
const std::vector<FilterRule>& environmentRules();

// The threshold for `tag` by `rules`; ANDROID_LOG_DEFAULT when no rule applies.
int thresholdFor(const std::vector<FilterRule>& rules, const char* tag);

}  // namespace android::log
