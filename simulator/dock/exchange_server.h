// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>
#include <string>

#include "../exchange.h"

namespace virtual_dock {

// Serves the exchanges of other processes (exchange_wire.h) with an endpoint of this one. A thread
// for each connection, because a library waits in one exchange at a time on each of its own. What
// is not of the protocol ends its connection, nothing else.
class ExchangeServer {
  public:
    static constexpr size_t kMaxConnections = 64;

    // `endpoint` must outlive it.
    explicit ExchangeServer(Endpoint* endpoint) : mEndpoint(endpoint) {}

    // Ends all connections. Waits for exchanges under way.
    ~ExchangeServer();
    ExchangeServer(const ExchangeServer&) = delete;
    ExchangeServer& operator=(const ExchangeServer&) = delete;

    // Serves a connection whose opening line was read and answered, until it ends. While it lasts,
    // its process gets uevents at `uevents`, or with "" through the kernel. False, with the
    // connection closed, when there are too many. Does not block; any thread.
    bool serve(android::base::unique_fd connection, const std::string& uevents) EXCLUDES(mLock);

    // Whether it would serve one more.
    bool hasRoom() const EXCLUDES(mLock);

  private:
    struct Connection;
    static void* run(void* connection);
    void serveUntilEnd(const Connection& connection);

    Endpoint* const mEndpoint;
    mutable std::mutex mLock;
    std::condition_variable mEnded;
    std::set<Connection*> mConnections GUARDED_BY(mLock);
};

}  // namespace virtual_dock
