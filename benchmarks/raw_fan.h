// SPDX-License-Identifier: Apache-2.0
// The baseline of events that go to many connections: a process that turns each event into one
// message on each of its sockets, and a thread of this process that reads them.
#pragma once

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "process.h"
#include "raw_peer.h"
#include "subscriber.h"

namespace bench {

class RawFan {
  public:
    // Writes the messages of one event; false when nobody reads them any more.
    using Emit = std::function<bool()>;

    // `source` runs in the process, on the server's processor: it waits for events and emits each,
    // until that fails. Messages have `size` bytes; `arrivals` is told of each and outlives this
    // object.
    RawFan(size_t connections, size_t size, Arrivals* arrivals,
           const std::function<void(const Emit&)>& source);
    ~RawFan();
    pid_t pid() const { return mPeer->pid(); }

  private:
    void read(size_t size);

    Arrivals* const mArrivals;
    std::vector<SocketPair> mSockets;
    std::unique_ptr<Fork> mPeer;
    std::thread mReader;
};

}  // namespace bench
