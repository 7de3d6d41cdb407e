// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "commands.h"
#include "status_page.h"

namespace wlc {

void addStatusCommand(CLI::App& app, Context& context) {
    app.add_subcommand("status", "Print the state of the dock and the service on one page")
        ->callback([&context] {
            Json page = Json::object();
            readStatus(context, [&](const StatusLine& line) {
                page[line.key] = line.json;
                context.printText(fmt::format("{:<16}  {}\n", line.label, line.text));
            });
            context.printJson(page);
        });
}

}  // namespace wlc
