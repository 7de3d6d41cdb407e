// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace android::cutils {

// Binds the Unix datagram socket `fd` at `path` with mode 0600, in place of a socket that nobody
// reads any more. False with errno set otherwise; see uevent_open_socket. Waits while another
// process does the same.
bool bindDatagramSocket(int fd, const char* path);

}  // namespace android::cutils
