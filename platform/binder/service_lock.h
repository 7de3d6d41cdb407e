// SPDX-License-Identifier: Apache-2.0
//
// The lock on the file beside a service's socket, which says that the service's process lives: the
// kernel releases it with the process.
#pragma once

#include <android-base/unique_fd.h>

#include <string>
#include <string_view>

namespace android::host {

inline constexpr std::string_view kLockSuffix = ".lock";

// Opens the lock of the service whose socket is at `socket`, creating the file when `create`; not
// ok: errno says why.
android::base::unique_fd openLock(const std::string& socket, bool create);

// Takes the lock, for as long as the descriptor is open. False when another process holds it.
// Blocks for some milliseconds at most: whoever asks isServed() holds the lock for a moment.
[[nodiscard]] bool takeLock(const android::base::unique_fd& lock);

// Whether the service at `socket` is running. Also true for a server without a lock, of another
// library, that listens there.
bool isServed(const std::string& socket);

}  // namespace android::host
