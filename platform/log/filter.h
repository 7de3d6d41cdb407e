// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stddef.h>

// Decides which entries are logged: ANDROID_LOG_TAGS and the minimum priority in one threshold per
// tag. Thread-safe, allocates nothing.

namespace android::log {

// Whether an entry passes. `tag` has `length` bytes and may be null when that is 0.
bool passes(int priority, const char* tag, size_t length, int fallback);

// False when no tag lets this priority through, so that the caller need not find out which tag
// applies. A true answer says nothing. One relaxed load.
bool mayPass(int priority);

// Returns the former minimum; ANDROID_LOG_DEFAULT means that none is set.
int setMinimum(int priority);
int minimum();

}  // namespace android::log
