// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

// Kernel uevents, as in Android's libcutils: the messages in which the kernel announces device
// changes. A message is a row of zero-terminated lines, the first "action@devpath", the others
// "KEY=value".
//
// Differs from Android in one point: when the environment variable ANDROID_HOST_UEVENT_SOCKET names
// a path, uevent_open_socket binds a Unix datagram socket there instead of opening the kernel's
// netlink socket, for machines where kernel uevents cannot be triggered. What a process of the same
// user or root sends there then counts as sent by the kernel; all other senders are refused.
//
// The functions may be called from any thread; one message goes to one reader of a socket.

#ifdef __cplusplus
extern "C" {
#endif

// Opens a socket that receives the uevents of all multicast groups, closed on exec, with a receive
// buffer of `buf_sz` bytes (for more than the system's limit the caller needs CAP_NET_ADMIN;
// without it the limit holds). `passcred` has the sender's credentials delivered, without which the
// function below refuses every message. Returns the descriptor, which the caller closes, or -1 with
// errno set, also when no buffer size can be set.
//
// With ANDROID_HOST_UEVENT_SOCKET: the socket at its path gets mode 0600; a socket that a dead
// process left there is replaced (the file <path>.lock beside it keeps two processes from doing so
// at once). errno is EADDRINUSE when a process still reads there, EEXIST when the path exists and
// is not a socket (it is never removed), ENAMETOOLONG when the path is longer than 107 bytes.
int uevent_open_socket(int buf_sz, bool passcred);

// Reads one message of the kernel's into `buffer`, at most `length` bytes, and returns its size in
// bytes. A longer message is cut to `length`; the result is then `length`. Blocks
// for the next message unless the socket is O_NONBLOCK.
//
// Returns -1 with errno set on failure: EAGAIN when nothing is there, ENOBUFS when the socket's
// buffer was full and messages were lost (the next call goes on), EIO when the message was not the
// kernel's (sent by a process, not to a multicast group, or without credentials). Of a refused
// message nothing stays: `buffer` is then zero throughout.
ssize_t uevent_kernel_multicast_recv(int socket, void* buffer, size_t length);

#ifdef __cplusplus
}
#endif
