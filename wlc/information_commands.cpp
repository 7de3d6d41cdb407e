// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "failure.h"
#include "records.h"

namespace wlc {
namespace {

// A command that asks one question and prints the record that comes back.
template <typename Record>
void addQuestion(CLI::App& app, Context& context, const char* name, const char* help,
                 ndk::ScopedAStatus (charger::IWirelessCharger::*ask)(Record*)) {
    app.add_subcommand(name, help)->callback([&context, name, ask] {
        Record record;
        check((*context.service().*ask)(&record), name);
        context.print(describe(record));
    });
}

void printVersion(Context& context) {
    int32_t version = 0;
    std::string hash;
    check(context.service()->getInterfaceVersion(&version), "version");
    check(context.service()->getInterfaceHash(&hash), "version");
    Report report;
    report.field("version", version);
    report.field("hash", hash);
    report.field("clientVersion", charger::IWirelessCharger::version);
    report.field("service", instanceName());
    context.print(report);
}

}  // namespace

void addInformationCommands(CLI::App& app, Context& context) {
    using charger::IWirelessCharger;
    app.add_subcommand("version", "The interface version that the service speaks")
        ->callback([&context] { printVersion(context); });
    addQuestion(app, context, "phone", "The phone's receiver",
                &IWirelessCharger::getPhoneInformation);
    addQuestion(app, context, "dock", "What the service knows of the dock, without asking it",
                &IWirelessCharger::getDockInformation);
    addQuestion(app, context, "info", "Ask the dock to describe itself",
                &IWirelessCharger::getInformation);
    addQuestion(app, context, "power", "Charging power and what limits it",
                &IWirelessCharger::getPowerInformation);
    addQuestion(app, context, "presence", "Whether the phone lies on a dock, and on which",
                &IWirelessCharger::isDockPresent);
    addQuestion(app, context, "align", "How the phone lies on the dock",
                &IWirelessCharger::getAlignInfo);
    addQuestion(app, context, "temperature", "The dock's temperatures",
                &IWirelessCharger::getSkinTemperature);
}

}  // namespace wlc
