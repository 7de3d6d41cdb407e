// SPDX-License-Identifier: Apache-2.0
#include "command_line.h"

#include <cli/completion.h>
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "dock/settings.h"
#include "dock/words.h"

namespace dockctl {
namespace {

using virtual_dock::Operation;
using Words = std::vector<std::string>;

// What a command's help lists beside its usage.
std::string keyNotes() {
    std::string notes = "\nKeys and their values:\n";
    virtual_dock::DockModel model;
    for (const virtual_dock::Setting& setting : virtual_dock::settingsOf(&model, 0)) {
        notes += fmt::format("  {:<26}{}\n", setting.key, setting.values);
    }
    return notes;
}

std::string operationNotes() {
    std::string notes = "\nOperations and their types:\n";
    for (const std::string& name : virtual_dock::operationNames()) {
        Operation operation;
        virtual_dock::operationFromName(name, &operation);
        notes += "  " + name + "\n";
        for (const int32_t type : virtual_dock::typesOf(operation)) {
            notes += fmt::format("    {:>2}  {}\n", type, virtual_dock::typeName(operation, type));
        }
    }
    return notes;
}

std::string resultNotes() {
    std::string notes = "\nResults: a number; 0 ends the failure.\n";
    for (uint32_t result = 1; result < virtual_dock::kResultCount; ++result) {
        notes += fmt::format("  {:>2}  {}\n", result, virtual_dock::resultName(result));
    }
    return notes + operationNotes();
}

// A command whose words go to the dock as they are.
struct PlainCommand {
    const char* name;
    const char* arguments;
    const char* description;
    Show show = Show::kOutcome;
    std::string (*notes)() = nullptr;
};

constexpr PlainCommand kPlainCommands[] = {
    {"status", "", "Show everything the dock is", Show::kStatus},
    {"keys", "", "Show what `set` takes", Show::kKeys},
    {"get", "KEY...", "Print the values of keys, one a line", Show::kValues, keyNotes},
    {"set", "KEY=VALUE...", "Change values by their keys, all at once with one uevent",
     Show::kOutcome, keyNotes},
    {"remove", "", "Take the phone off the dock"},
    {"charging", "on|off", "Switch the power on or off"},
    {"align", "STATE [SUB [V1 [V2]]]", "Set how the phone lies on the dock"},
    {"fan-level", "LEVEL", "Set the dock's fan level"},
    {"temperature", "BOOST PUCK", "Set the skin temperatures, degrees Celsius"},
    {"fail", "OPERATION[:TYPE] RESULT [COUNT [AFTER]]", "Make requests fail", Show::kOutcome,
     resultNotes},
    {"delay", "OPERATION[:TYPE] MS [COUNT [AFTER]]", "Delay requests; 0 ends it", Show::kOutcome,
     operationNotes},
    {"answer", "OPERATION[:TYPE] HEX|none [COUNT [AFTER]]", "Replace answers; none ends it",
     Show::kOutcome, operationNotes},
    {"uevent", "NAME=VALUE...", "Send a uevent with these lines"},
    {"reset", "", "Restore the dock's initial state, without faults"},
};

// A command that takes any words; its help is `description`, usage and notes.
CLI::App* addCommand(CLI::App* app, const std::string& name, const std::string& arguments,
                     const std::string& description, std::string (*notes)()) {
    CLI::App* const command = app->add_subcommand(name, description);
    command->prefix_command();
    command->formatter_fn([=](const CLI::App*, const std::string&, CLI::AppFormatMode) {
        return fmt::format("{}\nUsage: dockctl {} {}\n{}", description, name, arguments,
                           notes != nullptr ? notes() : "");
    });
    return command;
}

void addPlace(CLI::App* app, Invocation* invocation) {
    CLI::App* const command = app->add_subcommand("place", "Lay the phone on the dock");
    auto values = std::make_shared<std::map<std::string, std::string>>();
    for (const char* name : {"ptmc", "product", "id"}) {
        command->add_option(std::string("--") + name, (*values)[name],
                            "-2147483648..4294967295, 0x for hex");
    }
    command->callback([=] {
        invocation->words = {"place"};
        for (const auto& [name, value] : *values) {
            if (!value.empty()) invocation->words.push_back(name + "=" + value);
        }
    });
}

// \n, \0, \\ and \xNN; nullopt for anything else after a backslash.
std::optional<std::string> unescape(const std::string& text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const char kind = i + 1 < text.size() ? text[++i] : ' ';
        if (kind == 'n') {
            bytes += '\n';
        } else if (kind == '0') {
            bytes += '\0';
        } else if (kind == '\\') {
            bytes += '\\';
        } else if (kind == 'x') {
            const auto byte = virtual_dock::parseHex(text.substr(i + 1, 2));
            if (!byte || byte->size() != 1) return std::nullopt;
            bytes += static_cast<char>((*byte)[0]);
            i += 2;
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

constexpr const char* kRtxForms =
    "connect | disconnect | error N | mode off|available|active | text N TEXT";

std::string rtxNotes() {
    return "\n`text` answers request N (1 to 10) with the bytes of TEXT: \\n \\0 \\\\ \\xNN; "
           "`none` ends it.\n";
}

// `text N TEXT` as the fault that it is.
Words rtxWords(const Words& words) {
    const Words verbs = {"connect", "disconnect", "error", "mode", "text"};
    const std::string verb = words.empty() ? "" : words[0];
    if (std::find(verbs.begin(), verbs.end(), verb) == verbs.end()) {
        throw UsageError(virtual_dock::unknownName("rtx command", verb, verbs) +
                         "; there are: " + kRtxForms);
    }
    Words sent = {"rtx"};
    sent.insert(sent.end(), words.begin(), words.end());
    if (verb != "text") return sent;
    if (words.size() != 3) throw UsageError("usage: rtx text N TEXT");
    const std::optional<std::string> bytes = unescape(words[2]);
    if (!bytes) throw UsageError("TEXT: unknown escape after a backslash");
    std::string hex;
    for (const char c : *bytes) hex += fmt::format("{:02x}", static_cast<uint8_t>(c));
    return {"answer", "sendRtxRequest:" + words[1], words[2] == "none" ? "none" : hex};
}

void addCommands(CLI::App* app, Invocation* invocation) {
    for (const PlainCommand& each : kPlainCommands) {
        CLI::App* const command =
            addCommand(app, each.name, each.arguments, each.description, each.notes);
        command->callback([=] {
            invocation->words = command->remaining();
            invocation->words.insert(invocation->words.begin(), each.name);
            invocation->show = each.show;
        });
    }
    addPlace(app, invocation);
    CLI::App* const rtx =
        addCommand(app, "rtx", kRtxForms, "Control the device on the phone's back", rtxNotes);
    rtx->callback([=] { invocation->words = rtxWords(rtx->remaining()); });

    CLI::App* const log = app->add_subcommand("log", "Show the requests the dock saw, decoded");
    auto follow = std::make_shared<bool>(false);
    log->add_flag("-f,--follow", *follow, "new requests, until interrupted");
    log->callback([=] {
        invocation->words = {*follow ? "follow" : "log"};
        invocation->show = *follow ? Show::kFollow : Show::kLog;
    });

    CLI::App* const record = app->add_subcommand("record", "Record requests and uevents to a file");
    auto trace = std::make_shared<std::string>();
    record->add_option("FILE", *trace, "a new file; stop ends the recording")->required();
    record->callback([=] {
        std::error_code ignored;  // the dock refuses what comes of it
        const bool stop = *trace == "stop";
        invocation->words = {"record",
                             stop ? *trace : std::filesystem::absolute(*trace, ignored).string()};
        if (stop) invocation->show = Show::kRecording;
    });

    CLI::App* const run = app->add_subcommand("run", "Run a scenario");
    auto file = std::make_shared<std::string>();
    run->add_option("FILE", *file, "one dockctl command a line; - is standard input")->required();
    run->footer(
        "Lines of their own:\n"
        "  sleep SECONDS\n"
        "  wait OPERATION[:TYPE] [SECONDS]  until the dock gets such a request; 30 s at most\n"
        "  repeat N ... end\n"
        "  # comment\n"
        "The first command that fails ends the scenario, with its exit code.");
    run->callback([=] {
        invocation->words = {*file};
        invocation->show = Show::kRun;
    });
}

void addSpeed(CLI::App* command, Invocation* invocation) {
    command
        ->add_option("--speed", invocation->speed,
                     "recorded time divided by replay time; 0: everything at once")
        ->check(CLI::Range(0.0, 1e9));
}

// `dockctl trace ...`: about files; no dock is asked.
void addTraceCommands(CLI::App* app, Invocation* invocation) {
    CLI::App* const replay =
        app->add_subcommand("replay", "Be a dock that answers from a trace, until interrupted");
    auto file = std::make_shared<std::string>();
    replay->add_option("FILE", *file, "a trace; start the services after this")->required();
    addSpeed(replay, invocation);
    replay->add_flag("--strict", invocation->strict,
                     "refuse what is not in the trace; exit code 1 with differences");
    replay->callback([=] {
        invocation->words = {*file};
        invocation->show = Show::kReplay;
    });

    CLI::App* const trace = app->add_subcommand("trace", "Read, compare and mask traces");
    trace->require_subcommand(1);
    const auto add = [&](const char* name, const char* description, size_t files) {
        CLI::App* const command = trace->add_subcommand(name, description);
        auto paths = std::make_shared<Words>(2);
        command->add_option(files == 1 ? "FILE" : "A", (*paths)[0], "a trace")->required();
        if (files == 2) command->add_option("B", (*paths)[1], "a trace")->required();
        command->callback([=] {
            invocation->words = {name, (*paths)[0], (*paths)[1]};
            invocation->show = Show::kTrace;
        });
        return std::pair(command, paths);
    };
    add("show", "Show each line, decoded", 1);
    add("stat", "Count requests, results and durations", 1);
    add("diff", "Show what B does otherwise than A; exit code 1 when there is something", 2);
    const auto [mask, paths] = add("mask", "Replace identifiers and secrets", 1);
    mask->add_option("-o,--output", (*paths)[1], "a new file")->required();
    mask->add_flag("--firmware", invocation->maskFirmware, "also the bytes of firmware images");

    CLI::App* const check = trace->add_subcommand(
        "check", "Run a command with a service on the replayed dock; exit code 1 with differences");
    auto words = std::make_shared<Words>();
    check->add_option("FILE", *file, "a trace")->required();
    check->add_option("COMMAND", *words, "after --: the clients, as they were recorded")
        ->required();
    addSpeed(check, invocation);
    check->add_option("--service", invocation->service,
                      "the service's program; by default the one beside dockctl");
    check->callback([=] {
        invocation->words = {*file};
        invocation->words.insert(invocation->words.end(), words->begin(), words->end());
        invocation->show = Show::kCheck;
    });
}

// CLI11's message, or the word that is not a command.
std::string messageOf(const CLI::ParseError& error, const CLI::App& app, const Words& arguments) {
    if (error.get_name() == "ValidationError") return error.what();
    Words names;
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        names.push_back(command->get_name());
    }
    for (const std::string& word : arguments) {
        if (word.empty() || word[0] == '-') continue;
        if (std::find(names.begin(), names.end(), word) != names.end()) break;
        return virtual_dock::unknownName("command", word, names);
    }
    return error.what();
}

}  // namespace

Invocation parseArguments(std::vector<std::string> arguments) {
    Invocation invocation;
    CLI::App app("Query and control the virtual dock behind the wireless-charger service.",
                 "dockctl");
    app.add_flag("--json", invocation.json, "one JSON object (one line each for log)");
    app.set_version_flag("--version", "dockctl " PROJECT_VERSION);
    app.require_subcommand(1);
    app.footer(
        "`dockctl COMMAND --help` lists the names and values that a command takes.\n"
        "Exit codes: 0 done, 1 refused by the dock, output failed, or a "
        "trace is damaged or differs, 2 wrong usage, 3 no dock.");
    addCommands(&app, &invocation);
    addTraceCommands(&app, &invocation);
    cli::addCompletion(app);
    const auto text = [&](std::string shown) {
        invocation.show = Show::kText;
        invocation.text = std::move(shown);
        return invocation;
    };
    try {
        app.parse(Words(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        return text(app.help());
    } catch (const CLI::CallForVersion& version) {
        return text(std::string(version.what()) + "\n");
    } catch (const CLI::ParseError& error) {
        throw UsageError(messageOf(error, app, arguments) + " (see dockctl --help)");
    }
    return invocation;
}

}  // namespace dockctl
