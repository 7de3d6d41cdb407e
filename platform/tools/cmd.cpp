// SPDX-License-Identifier: Apache-2.0
// cmd: has a service run a shell command. Stands in for Android's tool of the name, with its -l and
// -w and its exit status 20 for a service that is not there.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <host/binder_host.h>
#include <host/escape.h>
#include <host/text_relay.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tool.h"

namespace {

using android::host::escaped;
using android::host::TextRelay;
using android::tools::exitStatus;

constexpr int kNoSuchService = 20;

constexpr const char* kUsage =
    "usage: cmd [-w] SERVICE [ARGS]\n"
    "       cmd -l\n"
    "  -w    wait until the service is there\n"
    "  -l    list the services\n";

int run(bool wait, const char* name, const std::vector<std::string>& args) {
    const ndk::SpAIBinder binder(wait ? AServiceManager_waitForService(name)
                                      : AServiceManager_checkService(name));
    if (binder.get() == nullptr) {
        fprintf(stderr, "cmd: Can't find service: %s\n", escaped(name).c_str());
        return kNoSuchService;
    }
    binder_status_t result = STATUS_OK;
    // What the command says comes through here: it must not steer the terminal.
    TextRelay out(STDOUT_FILENO);
    TextRelay err(STDERR_FILENO);
    const binder_status_t status = android::host::shellCommand(
        binder.get(), STDIN_FILENO, out.descriptor(), err.descriptor(), args, &result);
    const int error = out.finish();
    err.finish();
    if (status != STATUS_OK) {
        fprintf(stderr, "cmd: Failure calling service %s: %d\n", escaped(name).c_str(), status);
        return 1;
    }
    // Only the low byte reaches the caller; a failure must not look like success there.
    return exitStatus("cmd", result == STATUS_OK || (result & 0xFF) != 0 ? result : 1, error);
}

}  // namespace

int main(int argc, char** argv) {
    signal(SIGPIPE, SIG_IGN);
    if (android::tools::answersForItself(argc, argv, kUsage)) return exitStatus("cmd", 0);
    int at = 1;
    const auto is = [&](const char* word) { return at < argc && strcmp(argv[at], word) == 0; };
    if (is("-l")) {
        puts("Currently running services:");
        for (const std::string& name : android::host::listServices()) {
            printf("  %s\n", escaped(name).c_str());
        }
        return exitStatus("cmd", 0);
    }
    const bool wait = is("-w");
    if (wait) ++at;
    if (at >= argc || argv[at][0] == '-') {
        fputs(kUsage, stderr);
        return 2;
    }
    const char* const name = argv[at++];
    return run(wait, name, std::vector<std::string>(argv + at, argv + argc));
}
