// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <functional>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "files.h"
#include "firmware_update.h"
#include "text.h"

namespace wlc {
namespace {

// Above the limit of any dock, which is checked before anything is sent.
constexpr size_t kLargestImage = 64 * 1024 * 1024;
// What a start request has room for.
constexpr size_t kLongestName = 247;

struct FirmwareArguments {
    std::string target = "0";
    std::string image;
    std::string version;
    std::string name;
    bool compress = false;
    bool resume = false;
    bool unverified = false;
    bool force = false;
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
    request.unverified = arguments.unverified;
    request.force = arguments.force;
    request.reboot = arguments.reboot;
    request.name = arguments.name;
    if (request.name.size() > kLongestName) {
        throw badUsage(fmt::format("--name is too long: {} bytes, the limit is {}",
                                   request.name.size(), kLongestName));
    }
    if (request.image.empty()) throw badUsage(request.path + " is empty");
    updateFirmware(context, *open(), request);
}

// The commands common to both sets. Returns `update`, which has more options.
CLI::App* addCommands(CLI::App* family, Context& context, const ArgumentsPtr& arguments,
                      const OpenChannel& open) {
    family->require_subcommand(1);
    family->add_subcommand("info", "Print what images the dock accepts")
        ->callback([&context, open] { context.print(open()->info()); });
    family->add_subcommand("status", "Print the progress of applying an image")
        ->callback([&context, open] { context.print(open()->status()); });
    family->add_subcommand("reboot", "Restart the dock, which then runs the installed image")
        ->callback([&context, open] {
            open()->reboot();
            Report report;
            report.field("rebooted", true);
            context.print(report);
        });
    CLI::App* command = family->add_subcommand("update", "Install a firmware image");
    command->footer(
        "The service logs every chunk. Start it with ANDROID_LOG_TAGS='*:W' to log only warnings.");
    command->add_option("IMAGE", arguments->image, "Image file")->type_name("")->required();
    CLI::Option* resume =
        command->add_flag("--resume", arguments->resume, "Continue an interrupted transfer");
    command
        ->add_flag("--unverified", arguments->unverified,
                   "With --resume: continue although nothing shows which image the transfer is of")
        ->needs(resume);
    command->add_flag("--force", arguments->force,
                      "Update although another update of this dock is running");
    command->add_flag("--reboot", arguments->reboot, "Restart the dock at the end");
    command
        ->add_option("--fw-version", arguments->version,
                     "Version of the image; default: the running version")
        ->type_name("M.m");
    command->callback([&context, arguments, open] { update(context, *arguments, open); });
    return command;
}

}  // namespace

void addFirmwareCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FirmwareArguments>();
    CLI::App* family = app.add_subcommand("firmware", "Query and update the dock's firmware");
    family->add_option("--target", arguments->target, "Firmware target of the dock; default 0")
        ->type_name("N");
    CLI::App* command = addCommands(family, context, arguments, [&context, arguments] {
        const auto target =
            static_cast<int8_t>(toNumber(arguments->target, "--target", INT8_MIN, INT8_MAX));
        return targetedChannel(context, target, arguments->compress);
    });
    command->add_flag("--compress", arguments->compress, "Send the image compressed");
}

void addLegacyFirmwareCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FirmwareArguments>();
    CLI::App* family = app.add_subcommand(
        "legacy-firmware",
        "Query and update the dock's firmware by the older commands, without targets");
    CLI::App* command =
        addCommands(family, context, arguments, [&context] { return untargetedChannel(context); });
    command->add_option("--name", arguments->name, "Name of the version, up to 247 bytes")
        ->type_name("TEXT");
}

}  // namespace wlc
