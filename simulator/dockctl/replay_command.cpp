// SPDX-License-Identifier: Apache-2.0
#include <host/runtime_dir.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "dock/control_server.h"
#include "dock/uevent.h"
#include "session.h"
#include "trace/replayer.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

using virtual_dock::TraceDifference;

std::atomic<virtual_dock::ControlServer*> gReplayServer = nullptr;

void stopReplay(int) {
    gReplayServer.load()->stop();
}

}  // namespace

int runReplay(const Invocation& invocation) {
    const auto report = [json = invocation.json](const TraceDifference& difference) {
        printDifference(difference, json);
        std::fflush(stdout);
    };
    virtual_dock::Replayer replayer({invocation.speed, invocation.strict}, report);
    std::string problem;
    std::string warning;
    if (!replayer.open(invocation.words[0], &problem, &warning)) throw TraceError(problem);
    if (!warning.empty()) {
        say(stderr, "dockctl: {}, {}; what comes before is replayed\n", invocation.words[0],
            warning);
    }
    std::string path;
    virtual_dock::ControlListener listener;
    if (!android::host::hostRuntimeDir(&path, &problem)) throw TraceError(problem);
    path += "/dock";
    if (!listener.open(path, &problem)) throw TraceError(problem);

    // It answers nothing; it is what the control socket needs.
    virtual_dock::VirtualDock dock;
    dock.refuseCommands("this dock replays a trace: what happens at it is in the trace");
    {
        virtual_dock::ExchangeServer exchanges(&replayer);
        virtual_dock::ControlServer server(&dock, &listener, &exchanges);
        gReplayServer = &server;
        struct sigaction action = {};
        action.sa_handler = stopReplay;
        sigaction(SIGTERM, &action, nullptr);
        sigaction(SIGINT, &action, nullptr);
        std::thread sender([&] {
            replayer.sendUevents([](const std::vector<std::string>& recorded) {
                const auto outcome =
                    virtual_dock::sendUeventLines(virtual_dock::resentLines(recorded));
                if (!outcome.sent) {
                    say(stderr, "dockctl: a uevent was not sent: {}\n", outcome.detail);
                }
            });
        });
        say(stderr, "dockctl: replaying at {}\n", path);
        server.run();
        replayer.stop();
        sender.join();
    }
    const std::vector<TraceDifference> all = replayer.differences();
    for (const TraceDifference& each : all) {
        const bool told = each.kind == TraceDifference::Kind::kUnexpected ||
                          each.kind == TraceDifference::Kind::kReordered;
        if (!told) printDifference(each, invocation.json);
    }
    const auto progress = replayer.progress();
    say(stderr, "dockctl: {} of {} exchanges, {} of {} uevents, {} differences\n",
        progress.exchanges - progress.missing, progress.exchanges, progress.sent, progress.uevents,
        all.size() + progress.unreported);
    return invocation.strict && !all.empty() ? kRefused : kDone;
}

}  // namespace dockctl
