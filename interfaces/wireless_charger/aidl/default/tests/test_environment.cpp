// SPDX-License-Identifier: Apache-2.0
#include "test_environment.h"

#include <cutils/uevent.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>

#include <atomic>

static std::atomic<int> nextUeventSocket = -1;

void giveUeventSocket(int fd) {
    nextUeventSocket = fd;
}

// In the place of libcutils' functions, here as on a phone.
int uevent_open_socket(int /*bufferSize*/, bool /*passcred*/) {
    return nextUeventSocket.exchange(-1);
}

ssize_t uevent_kernel_multicast_recv(int fd, void* buffer, size_t length) {
    const ssize_t received = recv(fd, buffer, length, 0);
    if (received != 5 || memcmp(buffer, "errno", 5) != 0) return received;
    errno = EIO;
    return -1;
}
