// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "command_line.h"
#include "dock/control_server.h"
#include "trace/replayer.h"

namespace dockctl {

// A dock that answers from the trace of an invocation and prints the differences.
class ReplayDock {
  public:
    // Listens at <run-time folder>/dock. Throws TraceError when the trace or that place is
    // unusable.
    ReplayDock(const Invocation& invocation, bool strict);

    const std::string& path() const { return mPath; }

    // Serves until stop(), which any thread and a signal handler may call. Once.
    void serve();
    void stop() { mServer->stop(); }

    virtual_dock::Replayer::Progress progress() const { return mReplayer.progress(); }

    // After serve(): prints what is missing and a summary. Whether there were differences.
    bool conclude() const;

  private:
    const bool mJson;
    virtual_dock::Replayer mReplayer;
    std::string mPath;
    virtual_dock::ControlListener mListener;
    virtual_dock::VirtualDock mDock;  // answers nothing; it is what the control socket needs
    std::unique_ptr<virtual_dock::ExchangeServer> mExchanges;
    std::unique_ptr<virtual_dock::ControlServer> mServer;
};

}  // namespace dockctl
