// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace android {

// Thread priorities: nice values, -20 (most favoured) to 19. Those below 0 need CAP_SYS_NICE or
// RLIMIT_NICE.
enum {
    PRIORITY_LOWEST = 19,
    PRIORITY_BACKGROUND = 10,
    PRIORITY_NORMAL = 0,
    PRIORITY_FOREGROUND = -2,
    PRIORITY_DISPLAY = -4,
    PRIORITY_URGENT_DISPLAY = -8,
    PRIORITY_AUDIO = -16,
    PRIORITY_URGENT_AUDIO = -19,
    PRIORITY_HIGHEST = -20,
    PRIORITY_DEFAULT = 0,
    PRIORITY_MORE_FAVORABLE = -1,
    PRIORITY_LESS_FAVORABLE = +1,
};

}  // namespace android
