// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <csignal>

#include "replay_dock.h"
#include "session.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

std::atomic<ReplayDock*> gReplayDock = nullptr;

void stopReplay(int) {
    gReplayDock.load()->stop();
}

void handleEnd(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace

int runReplay(const Invocation& invocation) {
    ReplayDock dock(invocation, invocation.strict);
    gReplayDock = &dock;
    handleEnd(stopReplay);
    say(stderr, "dockctl: replaying at {}\n", dock.path());
    dock.serve();
    // A second signal ends the process.
    handleEnd(SIG_DFL);
    return dock.conclude() && invocation.strict ? kRefused : kDone;
}

}  // namespace dockctl
