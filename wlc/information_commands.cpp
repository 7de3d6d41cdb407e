// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "failure.h"
#include "records.h"

namespace wlc {
namespace {

// A command that makes one call and prints the returned record.
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
    app.add_subcommand("version", "Print the interface version of the service")
        ->callback([&context] { printVersion(context); });
    addQuestion(app, context, "phone", "Print the phone's Qi receiver",
                &IWirelessCharger::getPhoneInformation);
    addQuestion(app, context, "dock",
                "Print what the service knows about the dock, without a request",
                &IWirelessCharger::getDockInformation);
    addQuestion(app, context, "info", "Request the dock's description of itself",
                &IWirelessCharger::getInformation);
    addQuestion(app, context, "power", "Print the charging power and its limit",
                &IWirelessCharger::getPowerInformation);
    addQuestion(app, context, "presence", "Print whether the phone is on a dock, and which one",
                &IWirelessCharger::isDockPresent);
    addQuestion(app, context, "align", "Print the alignment of the phone on the dock",
                &IWirelessCharger::getAlignInfo);
    addQuestion(app, context, "temperature", "Print the dock's temperatures",
                &IWirelessCharger::getSkinTemperature);
}

}  // namespace wlc
