// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

// Not part of Android: where the stand-ins keep what an Android device keeps in the kernel and in
// its system daemons (registered services, system properties, control sockets).

namespace android::host {

// Finds the run-time folder, makes it when it is missing, and checks that it is private.
//
// The folder is the first of these that applies:
//   $ANDROID_HOST_DIR                   when set and not empty; must be an absolute path
//   $XDG_RUNTIME_DIR/android-host       when that is set to an absolute path
//   /tmp/android-host-<effective uid>
//
// Only the last component is made, with mode 0700. The folder is refused when it is not a folder,
// when its owner is not this process's effective user (for root too), or when group or others have
// any permission on it; a symbolic link is followed only when this user or root made it. Whoever
// may write there can pose as any service, so nothing is corrected silently.
//
// Returns true and sets `*path` (absolute, without a slash at the end). Returns false and sets
// `*error` to one line that names the folder, what is wrong and what would be right; `*path` is
// then unchanged. Neither pointer may be null.
//
// The environment is read and the folder is checked anew at every call (two or three system calls).
// Any thread may call it, provided none changes the environment meanwhile.
[[nodiscard]] bool hostRuntimeDir(std::string* path, std::string* error);

// Makes sure that the folder `name` (relative, no "..", single components separated by '/') exists
// under the run-time folder, each level made with mode 0700 when missing. Results as for
// hostRuntimeDir; a level that exists as anything but a folder of this user's own is refused.
[[nodiscard]] bool hostRuntimeSubdir(const std::string& name, std::string* path,
                                     std::string* error);

}  // namespace android::host
