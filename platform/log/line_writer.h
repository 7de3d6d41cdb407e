// SPDX-License-Identifier: Apache-2.0
#pragma once

// Turns entries into lines on a descriptor. Thread-safe, allocates nothing, keeps errno.

namespace android::log {

// Writes one entry to `fd` as android/log.h describes it. Neither text may be null. Waits at most
// 20 ms for a descriptor that takes nothing, and not at all again until it has taken an entry.
void writeEntry(int fd, int priority, const char* tag, const char* text);

}  // namespace android::log
