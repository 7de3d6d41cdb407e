// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "host_adapter.h"
#include "service_dump.h"

namespace wlc {
namespace {

constexpr const char* kShellHelp =
    R"(Usage: wlc shell COMMAND [ARGS...]

Commands of the service. VALUE is decimal, 0x... or octal with a leading 0; an override of 0 hands
the value back to the charger.
  diag.qispec VALUE          override the phone's Qi specification code
  diag.compatibility VALUE   override the dock's compatibility
  diag.maxpower VALUE        override the maximum power
  diag.negopower VALUE       override the negotiated power
  diag.limitreason VALUE     override the reason of a power limit
  cert.request_length N      bytes per certificate request, decimal
  eds.test MODE LOOPS SIZE   test the data path to the dock; MODE 0 data, 1 loopback; SIZE up to 92
Command of this program:
  diag.reset                 set all five overrides to 0
The service answers in its log only: logcat on a phone, standard error of the service on a desk. The
exit status is 0 even when the service rejects a command.)";

constexpr const char* kOverrides[] = {"diag.qispec", "diag.compatibility", "diag.maxpower",
                                      "diag.negopower", "diag.limitreason"};

void dump(Context& context, const std::vector<std::string>& words) {
    if (context.json) return context.printJson({{"dump", dumpText(context, words)}});
    check(dumpEscaped(context.service()->asBinder().get(), words, STDOUT_FILENO), "dump");
}

void shell(Context& context, const std::vector<std::string>& words) {
    if (words.empty()) throw badUsage("shell needs a WORD; wlc shell --help lists them");
    std::vector<std::vector<std::string>> commands = {words};
    if (words.front() == "diag.reset") {
        if (words.size() > 1) throw badUsage("diag.reset takes no arguments");
        commands.clear();
        for (const char* name : kOverrides) commands.push_back({name, "0"});
    }
    for (const auto& command : commands) {
        binder_status_t result = STATUS_OK;
        check(shellEscaped(context.service()->asBinder().get(), command, &result), "shell");
        check(result, "shell");
    }
    context.printJson({{"status", STATUS_OK}});
}

}  // namespace

void addDiagnosticCommands(CLI::App& app, Context& context) {
    CLI::App* command = app.add_subcommand("dump", "Print the service's state report");
    command->prefix_command()->fallthrough(false);
    command->callback([&context, command] { dump(context, command->remaining()); });

    CLI::App* words =
        app.add_subcommand("shell", "Run a shell command of the service, which answers in its log");
    words->prefix_command()->fallthrough(false);
    words->footer(kShellHelp);
    words->callback([&context, words] { shell(context, words->remaining()); });
}

}  // namespace wlc
