// SPDX-License-Identifier: Apache-2.0
#include <functional>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "firmware_update.h"
#include "text.h"

namespace wlc {
namespace {

// More than any dock takes; the dock's own limit is checked before anything is sent.
constexpr size_t kLargestImage = 64 * 1024 * 1024;

struct FirmwareArguments {
    std::string target = "0";
    std::string image;
    std::string version;
    std::string name;
    bool compress = false;
    bool resume = false;
    bool reboot = false;
};

using ArgumentsPtr = std::shared_ptr<FirmwareArguments>;
using OpenChannel = std::function<std::unique_ptr<FirmwareChannel>()>;

void update(Context& context, const FirmwareArguments& arguments, const OpenChannel& open) {
    UpdateRequest request;
    request.path = arguments.image;
    if (!arguments.version.empty()) request.version = parseVersion(arguments.version);
    request.image = readFile(arguments.image, kLargestImage);
    request.compress = arguments.compress;
    request.resume = arguments.resume;
    request.reboot = arguments.reboot;
    request.name = arguments.name;
    if (request.image.empty()) throw badUsage(request.path + " is empty");
    updateFirmware(context, *open(), request);
}

// The four commands that both sets have. Returns `update`, for the options of its own.
CLI::App* addCommands(CLI::App* family, Context& context, const ArgumentsPtr& arguments,
                      const OpenChannel& open) {
    family->require_subcommand(1);
    family->add_subcommand("info", "What the dock takes")->callback([&context, open] {
        context.print(open()->info());
    });
    family->add_subcommand("status", "How far the dock is with applying an image")
        ->callback([&context, open] { context.print(open()->status()); });
    family->add_subcommand("reboot", "Restart the dock")->callback([&context, open] {
        open()->reboot();
        Report report;
        report.field("rebooted", true);
        context.print(report);
    });
    CLI::App* command = family->add_subcommand("update", "Bring an image into the dock");
    command->add_option("IMAGE", arguments->image, "File with the image")->required();
    command->add_flag("--resume", arguments->resume, "Go on where a transfer was broken off");
    command->add_flag("--reboot", arguments->reboot, "Restart the dock in the end");
    command
        ->add_option("--fw-version", arguments->version,
                     "Version of the image; without it the one that runs now")
        ->type_name("M.m");
    command->callback([&context, arguments, open] { update(context, *arguments, open); });
    return command;
}

}  // namespace

void addFirmwareCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FirmwareArguments>();
    CLI::App* family = app.add_subcommand("firmware", "The dock's firmware, by target");
    family->add_option("--target", arguments->target, "Which of the dock's parts; 0 without it")
        ->type_name("N");
    CLI::App* command = addCommands(family, context, arguments, [&context, arguments] {
        const auto target =
            static_cast<int8_t>(toNumber(arguments->target, "--target", INT8_MIN, INT8_MAX));
        return targetedChannel(context, target, arguments->compress);
    });
    command->add_flag("--compress", arguments->compress, "Send it compressed");
}

void addLegacyFirmwareCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FirmwareArguments>();
    CLI::App* family =
        app.add_subcommand("legacy-firmware", "The same by the older commands, without targets");
    CLI::App* command =
        addCommands(family, context, arguments, [&context] { return untargetedChannel(context); });
    command->add_option("--name", arguments->name, "Name of the version, at most 247 bytes")
        ->type_name("TEXT");
}

}  // namespace wlc
