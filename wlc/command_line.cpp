// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include <cli/completion.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "text.h"

namespace wlc {
namespace {

constexpr const char* kFooter =
    R"(Exit status: 0 success, 1 refused by the service or output closed, 2 bad usage, 3 service not
running, connection lost, or no answer in time.
With --json every command prints one object on one line (watch and update: one per line). An error
is printed as {"error": {"code": N, "name": "...", "message": "..."}}.)";

// Of every command.
constexpr const char* kShortFooter =
    "See wlc --help for --json, --wait, --timeout and exit statuses.";

// The innermost command that was recognized.
const CLI::App* innermost(const CLI::App& app) {
    const CLI::App* at = &app;
    while (!at->get_subcommands().empty()) at = at->get_subcommands().back();
    return at;
}

// The error in a command line, with the word that was probably meant.
std::string usageText(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App* at = innermost(app);
    std::string command = at->get_name();
    for (const CLI::App* up = at->get_parent(); up != nullptr; up = up->get_parent()) {
        command = up->get_name() + " " + command;
    }
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) return fmt::format("{} (see {} --help)", error.what(), command);
    const std::string& word = unknown.front();
    std::vector<std::string> candidates;
    const bool option = word.size() > 1 && word[0] == '-';
    for (const CLI::App* from = at; from != nullptr; from = from->get_parent()) {
        for (const CLI::Option* known : from->get_options()) {
            for (const std::string& name : known->get_lnames()) candidates.push_back("--" + name);
        }
    }
    if (!option) {
        candidates.clear();
        for (const CLI::App* known : at->get_subcommands(nullptr)) {
            candidates.push_back(known->get_name());
        }
    }
    const std::string meant = nearest(word.substr(0, word.find('=')), candidates);
    const char* kind = option ? "option" : candidates.empty() ? "argument" : "command";
    return fmt::format("unknown {} '{}'{} (see {} --help)", kind, printable(word),
                       meant.empty() ? "" : fmt::format("; did you mean '{}'?", meant), command);
}

int report(bool json, const Failure& failure) {
    if (json && failure.name() != "OUTPUT") {
        Json object = errorJson(failure);
        object.update(failure.details());
        std::fputs((toText(object) + "\n").c_str(), stdout);
    } else {
        std::fputs(("wlc: " + printable(failure.what()) + "\n").c_str(), stderr);
    }
    return failure.exitCode();
}

}  // namespace

CLI::Validator secondsFrom(double lowest) {
    // NaN compares as out of range.
    return {
        [lowest](const std::string& text) {
            char* end = nullptr;
            const double value = std::strtod(text.c_str(), &end);
            const bool good = !text.empty() && *end == '\0' && value >= lowest && value <= 86400;
            return good ? std::string() : fmt::format("must be a number from {} to 86400", lowest);
        },
        ""};
}

int run(int argc, const char* const* argv) {
    Context context;
    CLI::App app("Query and control the wireless charger", "wlc");
    app.footer(kShortFooter);
    app.set_version_flag("--version", "wlc " PROJECT_VERSION, "Print the version of this program");
    app.fallthrough();
    app.require_subcommand(1);
    app.add_flag("--json", context.json, "Print JSON instead of text");
    app.add_option("--wait", context.waitSeconds, "Wait up to SECONDS for the service")
        ->type_name("SECONDS")
        ->check(secondsFrom(0));
    app.add_option("--timeout", context.timeoutSeconds,
                   fmt::format("Wait up to SECONDS for each answer; default {:g}, for auth {:g}, "
                               "for top no limit",
                               Context::kAnswerSeconds, Context::kAuthenticationSeconds))
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1));
    for (const auto add :
         {addStatusCommand, addInformationCommands, addFeatureCommands, addFanCommands,
          addRtxCommands, addTopCommand, addWatchCommand, addAuthCommands, addExchangeCommands,
          addFirmwareCommands, addLegacyFirmwareCommands, addDiagnosticCommands}) {
        add(app, context);
    }
    app.footer(kFooter);
    cli::addCompletion(app);
    try {
        app.parse(argc, argv);
        return kDone;
    } catch (const CLI::Success& help) {
        app.exit(help);
        return kDone;
    } catch (const CLI::ParseError& error) {
        // Parsing may have stopped before it reached the flag.
        const bool json = std::any_of(
            argv + 1, argv + argc, [](const char* word) { return std::string(word) == "--json"; });
        return report(json, badUsage(usageText(app, error)));
    } catch (const Failure& failure) {
        return report(context.json, failure);
    }
}

}  // namespace wlc
