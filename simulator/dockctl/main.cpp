// SPDX-License-Identifier: Apache-2.0
//
// dockctl: queries and controls the virtual dock behind a service on this machine.
#include <cstdio>

#include "command_line.h"
#include "scenario.h"
#include "session.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

int run(const std::vector<std::string>& arguments) {
    try {
        const Invocation invocation = parseArguments(arguments);
        Session session(invocation.json);
        try {
            switch (invocation.show) {
                case Show::kTrace:
                    return runTrace(invocation);
                case Show::kReplay:
                    return runReplay(invocation);
                case Show::kCheck:
                    return runCheck(invocation);
                case Show::kRun:
                    return runScenario(invocation.words[0], &session);
                default:
                    return session.carryOut(invocation);
            }
        } catch (const TraceError& error) {
            return session.report("trace", error.what(), kRefused);
        }
    } catch (const UsageError& error) {
        const bool json = !arguments.empty() && arguments[0] == "--json";
        return Session(json).report("usage", error.what(), kUsage);
    }
}

}  // namespace
}  // namespace dockctl

int main(int argc, char** argv) {
    const int status = dockctl::run({argv + 1, argv + argc});
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    std::perror("dockctl: cannot write to standard output");
    return dockctl::kRefused;
}
