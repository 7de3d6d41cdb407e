// SPDX-License-Identifier: Apache-2.0
#pragma once

// Decides which entries are logged: ANDROID_LOG_TAGS and the minimum priority in one threshold per
// tag. Thread-safe, allocates nothing.

namespace android::log {

// Whether an entry passes.
bool passes(int priority, const char* tag, int fallback);

// False when no tag lets this priority through, so that the caller need not find out which tag
// applies. A true answer says nothing. One relaxed load.
bool mayPass(int priority);

// Returns the former minimum; ANDROID_LOG_DEFAULT means that none is set.
int setMinimum(int priority);
int minimum();

}  // namespace android::log
