// SPDX-License-Identifier: Apache-2.0
//
// dockctl: steers the virtual dock behind a service on this machine.
#include <fmt/core.h>
#include <virtual_dock/client.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dock/words.h"
#include "print.h"

namespace dockctl {
namespace {

using virtual_dock::Connection;
using virtual_dock::NoDock;

enum ExitCode : int { kDone = 0, kRefused = 1, kUsage = 2, kNoDock = 3 };

// How the reply to a command is shown.
enum class Show { kOutcome, kStatus, kKeys, kLog, kFollow };

struct Invocation {
    bool json = false;
    Show show = Show::kOutcome;
    std::vector<std::string> words;  // of the control protocol
};

std::string joinWords(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        if (!line.empty()) line += ' ';
        line += virtual_dock::encodeWord(word);
    }
    return line;
}

int report(const Invocation& invocation, const std::string& kind, const std::string& message,
           int code) {
    if (invocation.json) {
        const Json error = {{"ok", false}, {"kind", kind}, {"message", message}};
        say(stdout, "{}\n", toText(error));
    } else {
        say(stderr, "dockctl: {}\n", message);
    }
    return code;
}

int reportReply(const Invocation& invocation, const Json& reply) {
    const std::string kind = reply.value("kind", "refused");
    return report(invocation, kind, reply.value("message", ""),
                  kind == "usage" ? kUsage : kRefused);
}

void showOutcome(const Json& reply) {
    if (!reply.contains("uevent")) return;
    const Json& uevent = reply["uevent"];
    if (uevent["sent"]) {
        say(stdout, "uevent sent ({})\n", uevent["by"].get<std::string>());
    } else {
        say(stderr, "dockctl: the dock changed, but no uevent was sent: {}\n",
            uevent["reason"].get<std::string>());
    }
}

std::string waitForEntry(Connection* connection) {
    connection->waitForLine(std::chrono::milliseconds(-1));
    return connection->receive();
}

// Shows log entries until the reply that ends them; a follower's never comes.
int showLog(const Invocation& invocation, Connection* connection) {
    const bool follow = invocation.show == Show::kFollow;
    for (;;) {
        Json line = Json::parse(follow ? waitForEntry(connection) : connection->receive());
        if (line.contains("ok")) {
            if (!line["ok"]) return reportReply(invocation, line);
            if (!follow) return kDone;
            continue;
        }
        if (!line.contains("lost")) explainLogEntry(&line);
        if (invocation.json) {
            say(stdout, "{}\n", toText(line));
        } else {
            printLogEntry(line);
        }
        // A follower whose reader has gone learns it here, or ends by SIGPIPE.
        if (std::fflush(stdout) != 0) return kRefused;
    }
}

int carryOut(const Invocation& invocation) {
    Connection connection;
    const std::string line = joinWords(invocation.words);
    if (invocation.show == Show::kLog || invocation.show == Show::kFollow) {
        connection.send(line);
        return showLog(invocation, &connection);
    }
    const Json reply = Json::parse(connection.ask(line));
    if (!reply.value("ok", false)) return reportReply(invocation, reply);
    if (invocation.json) {
        say(stdout, "{}\n", toText(reply));
    } else if (invocation.show == Show::kStatus) {
        printStatus(reply);
    } else if (invocation.show == Show::kKeys) {
        printKeys(reply);
    } else {
        showOutcome(reply);
    }
    return kDone;
}

// \n, \0, \\ and \xNN; nullopt for anything else after a backslash.
std::optional<std::string> unescape(const std::string& text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const char kind = i + 1 < text.size() ? text[++i] : '\0';
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

std::string toHex(const std::string& bytes) {
    std::string hex;
    for (const char c : bytes) hex += fmt::format("{:02x}", static_cast<uint8_t>(c));
    return hex;
}

// Adds a command whose arguments go to the dock as they are.
CLI::App* addPlain(CLI::App* app, Invocation* invocation, const std::string& name,
                   const std::string& description, const std::string& arguments, size_t min,
                   size_t max) {
    CLI::App* const command = app->add_subcommand(name, description);
    auto words = std::make_shared<std::vector<std::string>>();
    if (max > 0) {
        command->add_option(arguments, *words)
            ->expected(static_cast<int>(min), static_cast<int>(max))
            ->required(min > 0);
    }
    command->callback([=] {
        invocation->words = {name};
        for (const std::string& word : *words) invocation->words.push_back(word);
    });
    return command;
}

void addPlace(CLI::App* app, Invocation* invocation) {
    CLI::App* const command = app->add_subcommand("place", "lay the phone on the dock");
    auto values = std::make_shared<std::map<std::string, std::string>>();
    for (const char* name : {"ptmc", "product", "id"}) {
        command->add_option(std::string("--") + name, (*values)[name], "a number, 0x for hex");
    }
    command->callback([=] {
        invocation->words = {"place"};
        for (const auto& [name, value] : *values) {
            if (!value.empty()) invocation->words.push_back(name + "=" + value);
        }
    });
}

void addRtx(CLI::App* app, Invocation* invocation) {
    CLI::App* const rtx = app->add_subcommand("rtx", "the device on the phone's back");
    rtx->require_subcommand(1);
    for (const char* verb : {"connect", "disconnect", "error", "mode"}) {
        const bool hasValue = std::string(verb) == "error" || std::string(verb) == "mode";
        CLI::App* const command = rtx->add_subcommand(verb);
        auto value = std::make_shared<std::string>();
        if (hasValue) command->add_option("VALUE", *value)->required();
        command->callback([=] {
            invocation->words = {"rtx", verb};
            if (hasValue) invocation->words.push_back(*value);
        });
    }
    CLI::App* const text = rtx->add_subcommand(
        "text", "answer request N (1 to 10) with these bytes; \\n \\0 \\xNN; none: as usual");
    auto request = std::make_shared<int>();
    auto bytes = std::make_shared<std::string>();
    text->add_option("N", *request)->required()->check(CLI::Range(1, 10));
    text->add_option("TEXT", *bytes)->required();
    text->callback([=] {
        const auto plain = unescape(*bytes);
        if (!plain) throw CLI::ValidationError("TEXT", "unknown escape after a backslash");
        invocation->words = {"answer", fmt::format("sendRtxRequest:{}", *request),
                             *bytes == "none" ? "none" : toHex(*plain)};
    });
}

void addCommands(CLI::App* app, Invocation* invocation) {
    const auto plain = [&](const char* name, const char* description, const char* arguments,
                           size_t min, size_t max) {
        return addPlain(app, invocation, name, description, arguments, min, max);
    };
    const auto shownAs = [invocation](CLI::App* command, Show show) {
        command->parse_complete_callback([=] { invocation->show = show; });
    };
    shownAs(plain("status", "everything the dock is", "", 0, 0), Show::kStatus);
    shownAs(plain("keys", "what `set` takes", "", 0, 0), Show::kKeys);
    plain("set", "set a value by its key", "KEY VALUE", 2, 2);
    addPlace(app, invocation);
    plain("remove", "take the phone off the dock", "", 0, 0);
    plain("charging", "switch the power on or off", "on|off", 1, 1);
    plain("align", "how the phone lies: STATE [SUB [V1 [V2]]]", "STATE", 1, 4);
    plain("fan-level", "the dock's fan level", "LEVEL", 1, 1);
    plain("temperature", "skin temperatures, degrees Celsius: BOOST PUCK", "BOOST PUCK", 2, 2);
    addRtx(app, invocation);
    plain("fail", "make requests fail: OPERATION[:TYPE] RESULT [COUNT]; RESULT 0 ends it",
          "OPERATION", 2, 3);
    plain("delay", "make requests late: OPERATION[:TYPE] MS [COUNT]; 0 ends it", "OPERATION", 2, 3);
    plain("answer", "answer with these bytes: OPERATION[:TYPE] HEX|none [COUNT]", "OPERATION", 2,
          3);
    plain("uevent", "send a uevent with these NAME=VALUE lines", "LINE", 1, 16);
    plain("reset", "the dock as it was at the start, without faults", "", 0, 0);
    CLI::App* const log = app->add_subcommand("log", "the requests the dock saw, decoded");
    auto follow = std::make_shared<bool>(false);
    log->add_flag("-f,--follow", *follow, "those that come from now on, until interrupted");
    log->callback([=] {
        invocation->words = {*follow ? "follow" : "log"};
        invocation->show = *follow ? Show::kFollow : Show::kLog;
    });
}

// A negative number is an argument here, never an option. CLI11 sees it with this in front, and the
// dock never does.
constexpr char kNumberMark = '\x01';

std::vector<std::string> withMarkedNumbers(int argc, char** argv) {
    std::vector<std::string> arguments;  // last first, as CLI11 wants them
    for (int i = argc - 1; i > 0; --i) {
        arguments.emplace_back(argv[i]);
        std::string& last = arguments.back();
        const bool negative =
            last.size() > 1 && last[0] == '-' && std::isdigit(static_cast<unsigned char>(last[1]));
        if (negative) last.insert(0, 1, kNumberMark);
    }
    return arguments;
}

int run(int argc, char** argv) {
    Invocation invocation;
    CLI::App app("Steers the virtual dock behind the wireless-charger service on this machine.",
                 "dockctl");
    app.add_flag("--json", invocation.json, "one JSON object (one line each for log)");
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 done, 1 refused by the dock or output failed, 2 wrong usage, 3 no dock.");
    addCommands(&app, &invocation);
    try {
        app.parse(withMarkedNumbers(argc, argv));
        for (std::string& word : invocation.words) std::erase(word, kNumberMark);
    } catch (const CLI::CallForHelp&) {
        std::fputs(app.help().c_str(), stdout);
        return kDone;
    } catch (const CLI::ParseError& error) {
        std::vector<std::string> names;
        for (const CLI::App* command : app.get_subcommands(nullptr)) {
            names.push_back(command->get_name());
        }
        std::string message = error.what();
        for (int i = 1; i < argc; ++i) {
            const std::string word = argv[i];
            if (word.empty() || word[0] == '-') continue;
            if (std::find(names.begin(), names.end(), word) == names.end()) {
                message = virtual_dock::unknownName("command", word, names);
            }
            break;
        }
        invocation.json = invocation.json || (argc > 1 && std::string(argv[1]) == "--json");
        return report(invocation, "usage", message + " (see dockctl --help)", kUsage);
    }
    try {
        return carryOut(invocation);
    } catch (const NoDock& error) {
        return report(invocation, "no-dock", error.what(), kNoDock);
    } catch (const Json::exception& error) {
        return report(invocation, "no-dock",
                      fmt::format("the dock's reply makes no sense: {}", error.what()), kNoDock);
    }
}

}  // namespace
}  // namespace dockctl

int main(int argc, char** argv) {
    const int status = dockctl::run(argc, argv);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    std::perror("dockctl: cannot write to standard output");
    return dockctl::kRefused;
}
