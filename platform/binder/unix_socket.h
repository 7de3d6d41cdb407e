// SPDX-License-Identifier: Apache-2.0
//
// Unix stream sockets by path, also paths longer than a socket address holds.
#pragma once

#include <android-base/unique_fd.h>

#include <string>

#include "binder.h"

namespace android::host {

// A blocking, close-on-exec socket connected to `path`; not ok (errno says why) when no
// process listens.
android::base::unique_fd connectUnix(const std::string& path);

// A non-blocking, close-on-exec socket that listens at `path`, which must not exist; for this user
// only. Not ok: errno says why.
android::base::unique_fd listenUnix(const std::string& path);

// Who is at the other end: the user and process that connected or listened.
Caller peerOf(int socket);

}  // namespace android::host
