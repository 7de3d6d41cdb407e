// SPDX-License-Identifier: Apache-2.0
#include <cutils/uevent.h>
#include <errno.h>
#include <linux/netlink.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "datagram_socket.h"

namespace {

constexpr unsigned kAllGroups = 0xFFFFFFFF;

bool configure(int fd, int bufferSize, bool passCredentials) {
    if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &bufferSize, sizeof(bufferSize)) != 0 &&
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof(bufferSize)) != 0) {
        return false;
    }
    const int on = passCredentials ? 1 : 0;
    return setsockopt(fd, SOL_SOCKET, SO_PASSCRED, &on, sizeof(on)) == 0;
}

bool bindToKernel(int fd) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_groups = kAllGroups;
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
}

const ucred* findCredentials(msghdr* message) {
    for (cmsghdr* item = CMSG_FIRSTHDR(message); item != nullptr;
         item = CMSG_NXTHDR(message, item)) {
        if (item->cmsg_level == SOL_SOCKET && item->cmsg_type == SCM_CREDENTIALS &&
            item->cmsg_len >= CMSG_LEN(sizeof(ucred))) {
            return reinterpret_cast<const ucred*>(CMSG_DATA(item));
        }
    }
    return nullptr;
}

union SenderAddress {
    sockaddr any;
    sockaddr_nl netlink;
};

bool isFromKernel(const msghdr& message, const SenderAddress& sender, uid_t uid) {
    if (message.msg_namelen >= sizeof(sender.netlink) && sender.any.sa_family == AF_NETLINK) {
        return sender.netlink.nl_pid == 0 && sender.netlink.nl_groups != 0;
    }
    // The datagram socket: senders need not have a name there.
    return (message.msg_namelen == 0 || sender.any.sa_family == AF_UNIX) &&
           (uid == 0 || uid == geteuid());
}

}  // namespace

int uevent_open_socket(int buf_sz, bool passcred) {
    const char* path = getenv("ANDROID_HOST_UEVENT_SOCKET");
    const bool fromKernel = path == nullptr || path[0] == '\0';
    const int fd = fromKernel
                       ? socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT)
                       : socket(PF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return -1;
    // Credentials are asked for before the first message can arrive.
    if (configure(fd, buf_sz, passcred) &&
        (fromKernel ? bindToKernel(fd) : android::cutils::bindDatagramSocket(fd, path))) {
        return fd;
    }
    const int savedErrno = errno;
    close(fd);
    errno = savedErrno;
    return -1;
}

ssize_t uevent_kernel_multicast_recv(int socket, void* buffer, size_t length) {
    iovec area = {buffer, length};
    SenderAddress sender = {};
    // No room for descriptors: the kernel drops those that a sender attaches.
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(ucred))];
    msghdr message = {};
    message.msg_name = &sender;
    message.msg_namelen = sizeof(sender);
    message.msg_iov = &area;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);

    ssize_t size;
    do {
        size = recvmsg(socket, &message, 0);
    } while (size < 0 && errno == EINTR);
    if (size < 0) return -1;

    const ucred* credentials = findCredentials(&message);
    if (credentials != nullptr && isFromKernel(message, sender, credentials->uid)) {
        return size;
    }
    memset(buffer, 0, length);
    errno = EIO;
    return -1;
}
