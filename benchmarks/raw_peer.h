// SPDX-License-Identifier: Apache-2.0
// The baselines' other processes: plain system calls on plain sockets.
#pragma once

#include <optional>
#include <string>

#include "process.h"
#include "socket_counter.h"

namespace bench {

// Both ends of a connected Unix stream socket.
struct SocketPair {
    Fd ours;
    Fd theirs;
    SocketPair();
};

// read or write the whole of it; false when the other side is gone.
bool readAll(int fd, void* area, size_t size);
bool writeAll(int fd, const void* area, size_t size);

// A process that answers each message of one size with one of another: write, read on each side.
class PingPong {
  public:
    explicit PingPong(const WireSizes& sizes, std::optional<int> cpu = {});

    // One round trip.
    void call();
    pid_t pid() const { return mPeer.pid(); }

    // "a raw round trip of N and M bytes"
    std::string describe() const;

  private:
    const WireSizes mSizes;
    SocketPair mSockets;
    std::string mBuffer;
    const Fork mPeer;
};

// A bound datagram socket that asks for its senders' credentials.
Fd datagramSocket(const std::string& path);
// One connected to such a socket, for sending.
Fd datagramSender(const std::string& path);
// Whether something listens at a stream socket's path.
bool isListening(const std::string& path);

// epoll_wait and recvmsg with room for credentials; the message's size.
class BareReader {
  public:
    explicit BareReader(int fd);
    ssize_t next(char* area, size_t size);

  private:
    int mFd;
    Fd mEpoll;
};

}  // namespace bench
