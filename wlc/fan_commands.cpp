// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <cstdint>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "records.h"
#include "text.h"

namespace wlc {
namespace {

using charger::FanInfo;
using charger::FanMode;

struct FanArguments {
    std::string fan;
    std::string mode;
    std::string level;
    std::string modeValue;
    bool anyIndex = false;
};

// The service refuses fans above 7, but passes negative indices on to the dock.
int8_t fanIndex(const FanArguments& arguments) {
    const int lowest = arguments.anyIndex ? INT8_MIN : 0;
    return static_cast<int8_t>(toNumber(arguments.fan, "N", lowest, INT8_MAX));
}

std::string fanName(int fan) {
    return fmt::format("fan {}", fan);
}

Report describeFan(int fan, const FanInfo& info) {
    Report report;
    report.field("fan", fan);
    const Report rest = describe(info);
    report.append(rest);
    return report;
}

void listFans(Context& context) {
    Json fans = Json::array();
    std::string table = "fan  valid  level  reading 1  reading 2  reading 3  (vendor-defined)\n";
    for (int8_t fan = 0; fan < kFans; ++fan) {
        FanInfo info;
        check(context.service()->getFanInfo(fan, &info), fanName(fan));
        fans.push_back(describeFan(fan, info).json());
        table += fmt::format(
            "{:3}  {:5}  {:5}  {:9}  {:9}  {:9}\n", fan, info.valid ? "yes" : "no",
            static_cast<unsigned>(info.level), static_cast<unsigned>(info.fanValue1),
            static_cast<unsigned>(info.fanValue2), static_cast<unsigned>(info.fanValue3));
    }
    context.printText(table);
    context.printJson({{"fans", fans}});
}

FanMode modeOf(const FanArguments& arguments) {
    if (!arguments.modeValue.empty()) {
        if (!arguments.mode.empty()) throw badUsage("--mode-value replaces auto or manual");
        return static_cast<FanMode>(
            toNumber(arguments.modeValue, "--mode-value", INT8_MIN, INT8_MAX));
    }
    if (arguments.mode == "auto") {
        if (!arguments.level.empty()) throw badUsage("auto takes no LEVEL");
        return FanMode::AUTO;
    }
    if (arguments.mode == "manual") {
        if (arguments.level.empty()) throw badUsage("manual needs a LEVEL from 0 to 65535");
        return FanMode::MANUAL;
    }
    const std::string meant = nearest(arguments.mode, {"auto", "manual"});
    throw badUsage(arguments.mode.empty()
                       ? "missing mode: auto, or manual LEVEL"
                       : fmt::format("unknown mode '{}'{}", printable(arguments.mode),
                                     meant.empty() ? ": auto, or manual LEVEL"
                                                   : fmt::format("; did you mean '{}'?", meant)));
}

void setFan(Context& context, const FanArguments& arguments) {
    const int8_t fan = fanIndex(arguments);
    const FanMode mode = modeOf(arguments);
    const int64_t level =
        arguments.level.empty() ? 0 : toNumber(arguments.level, "LEVEL", 0, 65535);
    FanInfo info;
    check(context.service()->setFan(fan, mode, static_cast<char16_t>(level), &info), fanName(fan));
    Report report;
    report.field("fan", fan);
    report.field("valid", info.valid);
    report.field("level", static_cast<uint16_t>(info.level));
    context.print(report);
}

}  // namespace

void addFanCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FanArguments>();
    const auto addIndex = [arguments](CLI::App* command) {
        command->add_option("N", arguments->fan, "Fan number, 0 to 7")->type_name("")->required();
        command->add_flag("--any-index", arguments->anyIndex,
                          "Accept an N from -128 to 127, to test how a dock handles it");
    };
    CLI::App* fan = app.add_subcommand("fan", "Read and set the dock's fans, 0 to 7");
    fan->require_subcommand(1);

    fan->add_subcommand("list", "Print the state of every fan")->callback([&context] {
        listFans(context);
    });

    CLI::App* get = fan->add_subcommand("get", "Print the state of one fan");
    addIndex(get);
    get->callback([&context, arguments] {
        const int8_t index = fanIndex(*arguments);
        FanInfo info;
        check(context.service()->getFanInfo(index, &info), fanName(index));
        context.print(describeFan(index, info));
    });

    CLI::App* set = fan->add_subcommand("set", "Set a fan: N auto, or N manual LEVEL");
    addIndex(set);
    set->add_option("MODE", arguments->mode, "auto or manual")->type_name("");
    set->add_option("LEVEL", arguments->level, "Level for manual, 0 to 65535")->type_name("");
    set->add_option("--mode-value", arguments->modeValue,
                    "Send N as the mode, to test how a dock handles it")
        ->type_name("N");
    set->callback([&context, arguments] { setFan(context, *arguments); });

    fan->add_subcommand("level", "Print the fan level as the charger reports it")
        ->callback([&context] {
            int32_t level = 0;
            check(context.service()->getFanLevel(&level), "fan level");
            Report report;
            report.field("level", level);
            context.print(report);
        });
}

}  // namespace wlc
