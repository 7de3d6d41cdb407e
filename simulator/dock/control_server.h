// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>

#include <memory>
#include <vector>

#include "control_client.h"
#include "control_listener.h"
#include "virtual_dock.h"

namespace virtual_dock {

// Serves the control socket and sends the uevents of what requests changed. One thread; it sleeps
// in the kernel while nobody asks. At most kMaxClients at once; when one more comes, whoever has
// been idle longest goes, those that follow the log last. Each has bounded buffers, and one that
// does not read its replies is not read from.
class ControlServer {
  public:
    static constexpr size_t kMaxClients = 32;

    // Works without a control socket when the listener does not listen. Both must outlive it.
    ControlServer(VirtualDock* dock, ControlListener* listener);
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
    void serveClients(const std::vector<pollfd>& polled);
    void sendPendingEvents();

    VirtualDock* const mDock;
    ControlListener* const mListener;
    const int mStopFd;
    std::vector<std::unique_ptr<ControlClient>> mClients;  // run()'s thread only
};

}  // namespace virtual_dock
