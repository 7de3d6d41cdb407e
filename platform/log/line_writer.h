// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace android::log {

// Writes one entry to `fd` as a line in the form that android/log.h describes. Neither text may be
// null. Waits at most 20 ms for a descriptor that is full, then drops entries without waiting until
// it has accepted one; the number dropped is logged first then. Any thread; allocates nothing and
// keeps errno.
void writeEntry(int fd, int priority, const char* tag, const char* text);

}  // namespace android::log
