// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <limits>
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

int64_t number(const std::string& text, const char* what) {
    return toNumber(text, what, std::numeric_limits<int64_t>::min(),
                    std::numeric_limits<int64_t>::max());
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
        ->required();
    get->callback([&context, arguments] {
        const int64_t query = number(arguments->query, "QUERY");
        auto value = WirelessChargerFeature::NONE;
        check(context.service()->getFeatures(query, &value), "features get");
        printFeatures(context, query, static_cast<int64_t>(value));
    });

    CLI::App* set = features->add_subcommand("set", "Write the feature flags of a query");
    set->add_option("QUERY", arguments->query, "Query number, passed to the charger unchanged")
        ->required();
    set->add_option("VALUE", arguments->value, "The bits, decimal or 0x...")->required();
    set->callback([&context, arguments] {
        const int64_t query = number(arguments->query, "QUERY");
        const int64_t value = number(arguments->value, "VALUE");
        check(context.service()->setFeatures(query, static_cast<WirelessChargerFeature>(value)),
              "features set");
        printFeatures(context, query, value);
    });

    CLI::App* qiId = app.add_subcommand("qi-id", "Set the dock's Qi ID in the service");
    qiId->add_option("TEXT", arguments->text, "Qi ID, decimal")->required();
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
