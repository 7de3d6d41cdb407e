// SPDX-License-Identifier: Apache-2.0
//
// virtual-dock: the virtual dock as a process of its own, which services come and go from.
#include <cli/completion.h>
#include <host/escape.h>
#include <host/runtime_dir.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>

#include "dock/control_server.h"

namespace virtual_dock {
namespace {

constexpr int kDone = 0;
constexpr int kCannotServe = 1;
constexpr int kUsage = 2;

std::atomic<ControlServer*> gServer = nullptr;

void stopServer(int) {
    gServer.load()->stop();
}

int complain(const std::string& problem, int status) {
    std::fprintf(stderr, "virtual-dock: %s\n", android::host::escaped(problem).c_str());
    return status;
}

int serve(const std::string& stateFolder) {
    std::string path;
    std::string problem;
    ControlListener listener;
    if (!android::host::hostRuntimeDir(&path, &problem)) return complain(problem, kCannotServe);
    path += "/dock";
    if (!listener.open(path, &problem)) {
        return complain(problem + "; if it lives in a service, stop that first", kCannotServe);
    }
    VirtualDock& dock = processDock();
    if (!stateFolder.empty() && !dock.keepFirmware(stateFolder, &problem)) {
        return complain(problem, kCannotServe);
    }
    ExchangeServer exchanges(&recordedProcessDock());
    ControlServer server(&dock, &listener, &exchanges);
    gServer = &server;
    struct sigaction action = {};
    action.sa_handler = stopServer;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::fprintf(stderr, "virtual-dock: listening at %s\n", android::host::escaped(path).c_str());
    server.run();
    // A second signal ends the process at once; the server it would stop is about to go.
    action.sa_handler = SIG_DFL;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    dock.endDelays();
    return kDone;
}

}  // namespace
}  // namespace virtual_dock

int main(int argc, char** argv) {
    std::string stateFolder;
    CLI::App app(
        "The virtual dock as a process of its own. Services that start after it in the same "
        "run-time "
        "folder\nuse it, and it remembers what they sent when they end.",
        "virtual-dock");
    app.set_version_flag("--version", "virtual-dock " PROJECT_VERSION,
                         "Print the version of this program");
    app.add_option("--state", stateFolder,
                   "Keep firmware and partial updates in this folder across restarts of the dock")
        ->type_name("DIR");
    app.footer("SIGINT or SIGTERM ends it. Exit status: 0 ended, 1 cannot serve, 2 bad usage.");
    cli::addCompletion(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& text) {
        app.exit(text);
        return virtual_dock::kDone;
    } catch (const CLI::ParseError& error) {
        return virtual_dock::complain(std::string(error.what()) + " (see virtual-dock --help)",
                                      virtual_dock::kUsage);
    }
    return virtual_dock::serve(stateFolder);
}
