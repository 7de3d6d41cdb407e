// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstdint>
#include <memory>

#include "commands.h"
#include "failure.h"
#include "names.h"
#include "text.h"

namespace wlc {
namespace {

using charger::WirelessChargerFeature;

struct FeatureArguments {
    std::string query;
    std::string value;
    std::string text;
};

// "FAN_CONTROL | 0x100", as `features get` prints it, or a number.
int64_t featureBits(const std::string& text) {
    int64_t bits = 0;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find('|', at), text.size());
        std::string word = text.substr(at, end - at);
        word.erase(0, word.find_first_not_of(' '));
        word.erase(word.find_last_not_of(' ') + 1);
        const bool isNumber = word.find_first_of("0123456789") <= 1;
        bits |= isNumber ? toBits64(word, "VALUE") : featureBit(word);
        at = end + 1;
    }
    return bits;
}

void printFeatures(Context& context, int64_t query, int64_t features) {
    Report report;
    report.field("query", query);
    report.field("features", features, featureNames(features));
    context.print(report);
}

}  // namespace

void addFeatureCommands(CLI::App& app, Context& context) {
    const auto arguments = std::make_shared<FeatureArguments>();
    CLI::App* features =
        app.add_subcommand("features", "Read and write the charger's feature flags");
    features->require_subcommand(1);

    CLI::App* get = features->add_subcommand("get", "Read the feature flags of a query");
    get->add_option("QUERY", arguments->query, "Query number, passed to the charger unchanged")
        ->type_name("")
        ->required();
    get->callback([&context, arguments] {
        const int64_t query = toBits64(arguments->query, "QUERY");
        auto value = WirelessChargerFeature::NONE;
        check(context.service()->getFeatures(query, &value), "features get");
        printFeatures(context, query, static_cast<int64_t>(value));
    });

    CLI::App* set = features->add_subcommand("set", "Write the feature flags of a query");
    set->add_option("QUERY", arguments->query, "Query number, passed to the charger unchanged")
        ->type_name("")
        ->required();
    set->add_option("VALUE", arguments->value,
                    "Names or numbers joined by |, such as 'FAN_CONTROL | 0x100'; none for 0")
        ->type_name("")
        ->required();
    set->callback([&context, arguments] {
        const int64_t query = toBits64(arguments->query, "QUERY");
        const int64_t value = featureBits(arguments->value);
        check(context.service()->setFeatures(query, static_cast<WirelessChargerFeature>(value)),
              "features set");
        printFeatures(context, query, value);
    });

    CLI::App* qiId = app.add_subcommand("qi-id", "Set the dock's Qi ID in the service");
    qiId->add_option("TEXT", arguments->text, "Qi ID, decimal")->type_name("")->required();
    qiId->callback([&context, arguments] {
        charger::DockInfo dock;
        dock.qiId = arguments->text;
        check(context.service()->updateInformation(
                  charger::WlcInfo::make<charger::WlcInfo::dockInfo>(dock)),
              "qi-id");
        Report report;
        report.field("qiId", arguments->text);
        context.print(report);
    });
}

}  // namespace wlc
