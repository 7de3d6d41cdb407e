// SPDX-License-Identifier: Apache-2.0
#include "replay_dock.h"

#include <host/runtime_dir.h>

#include <thread>

#include "dock/uevent.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

using virtual_dock::TraceDifference;

virtual_dock::Replayer::Report reporter(bool json) {
    return [json](const TraceDifference& difference) {
        printDifference(difference, json);
        std::fflush(stdout);
    };
}

void sendRecorded(const std::vector<std::string>& recorded) {
    const auto outcome = virtual_dock::sendUeventLines(virtual_dock::resentLines(recorded));
    if (!outcome.sent) say(stderr, "dockctl: a uevent was not sent: {}\n", outcome.detail);
}

}  // namespace

ReplayDock::ReplayDock(const Invocation& invocation, bool strict)
    : mJson(invocation.json),
      mReplayer({invocation.speed, strict}, reporter(invocation.json)),
      mExchanges(std::make_unique<virtual_dock::ExchangeServer>(&mReplayer)),
      mServer(std::make_unique<virtual_dock::ControlServer>(&mDock, &mListener, mExchanges.get())) {
    const std::string& file = invocation.words[0];
    std::string problem;
    std::string warning;
    if (!mReplayer.open(file, &problem, &warning)) throw TraceError(problem);
    if (!warning.empty()) {
        say(stderr, "dockctl: {}, {}; what comes before is replayed\n", file, warning);
    }
    if (!android::host::hostRuntimeDir(&mPath, &problem)) throw TraceError(problem);
    mPath += "/dock";
    if (!mListener.open(mPath, &problem)) throw TraceError(problem);
    mDock.refuseCommands("this dock replays a trace: what happens at it is in the trace");
}

void ReplayDock::serve() {
    std::thread sender([this] { mReplayer.sendUevents(sendRecorded); });
    mServer->run();
    mReplayer.stop();
    sender.join();
    mExchanges.reset();
}

bool ReplayDock::conclude() const {
    const std::vector<TraceDifference> all = mReplayer.differences();
    for (const TraceDifference& each : all) {
        const bool told = each.kind == TraceDifference::Kind::kUnexpected ||
                          each.kind == TraceDifference::Kind::kReordered;
        if (!told) printDifference(each, mJson);
    }
    const auto progress = mReplayer.progress();
    say(stderr, "dockctl: {} of {} exchanges, {} of {} uevents, {} differences\n",
        progress.exchanges - progress.missing, progress.exchanges, progress.sent, progress.uevents,
        all.size() + progress.unreported);
    return !all.empty();
}

}  // namespace dockctl
