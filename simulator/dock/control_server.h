// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>

#include <memory>
#include <vector>

#include "control_client.h"
#include "control_listener.h"
#include "exchange_server.h"
#include "virtual_dock.h"

namespace virtual_dock {

// Serves the control socket and sends the uevents of what requests changed. One thread, without
// wake-ups while idle. At most kMaxClients at once; one more replaces the client that was idle
// longest, followers of the log last. Each has bounded buffers, and nothing is read from one that
// does not read its replies.
class ControlServer {
  public:
    static constexpr size_t kMaxClients = 32;

    // Without a listening socket it only sends uevents. Clients that ask for exchanges go to
    // `exchanges`; without it they are refused. All must outlive it.
    ControlServer(VirtualDock* dock, ControlListener* listener,
                  ExchangeServer* exchanges = nullptr);
    ~ControlServer();
    ControlServer(const ControlServer&) = delete;
    ControlServer& operator=(const ControlServer&) = delete;

    // Serves until stop(). Call on a thread of its own.
    void run();

    // Ends run() soon; any thread.
    void stop();

  private:
    void acceptClient();
    void makeRoom();
    void passOnExchanges(ControlClient* client);
    void serveClients(const std::vector<pollfd>& polled);
    void sendPendingEvents();

    VirtualDock* const mDock;
    ControlListener* const mListener;
    ExchangeServer* const mExchanges;
    const int mStopFd;
    std::vector<std::unique_ptr<ControlClient>> mClients;  // run()'s thread only
};

}  // namespace virtual_dock
