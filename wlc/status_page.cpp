// SPDX-License-Identifier: Apache-2.0
#include "status_page.h"

#include <fmt/format.h>

#include <cstdlib>
#include <utility>

#include "commands.h"
#include "failure.h"
#include "names.h"
#include "records.h"
#include "service_dump.h"
#include "text.h"

namespace wlc {
namespace {

using charger::IWirelessCharger;

// What one line of the page shows.
struct Section {
    Json json;
    std::string text;
};

template <typename Record>
Record ask(Context& context, const char* what,
           ndk::ScopedAStatus (IWirelessCharger::*question)(Record*)) {
    Record record{};
    check((*context.service().*question)(&record), what);
    return record;
}

Section presence(Context& context) {
    const auto dock = ask(context, "presence", &IWirelessCharger::isDockPresent);
    const std::string text = fmt::format(
        "on a dock, id 0x{:x}, {}, manufacturer {}, product {}", static_cast<uint32_t>(dock.id),
        dockKindName(dock.dockKind), manufacturerName(dock.ptmc), dock.product);
    return {describe(dock).json(), dock.docked ? text : "not on a dock"};
}

Section dockInformation(Context& context) {
    const auto dock = ask(context, "dock", &IWirelessCharger::getInformation);
    std::string text;
    for (const std::string& part : {dock.infoText0, dock.infoText1, dock.infoText2}) {
        if (!part.empty()) text += printable(part) + ", ";
    }
    text += fmt::format("firmware {}.{} {}", dock.firmwareVersion.major, dock.firmwareVersion.minor,
                        printable(dock.firmwareVersion.name));
    return {describe(dock).json(), text};
}

Section authentication(Context& context) {
    const bool ready = ask(context, "authentication", &IWirelessCharger::isAuthReady);
    return {{{"ready", ready}}, ready ? "ready, not checked (use wlc auth)" : "not ready"};
}

Section power(Context& context) {
    const auto info = ask(context, "power", &IWirelessCharger::getPowerInformation);
    return {describe(info).json(),
            fmt::format("negotiated {}, maximum {}, {}", powerText(info.negotiatedPower),
                        powerText(info.maxPower), limitReasonName(info.limitReason))};
}

Section alignment(Context& context) {
    const auto info = ask(context, "align", &IWirelessCharger::getAlignInfo);
    return {describe(info).json(),
            fmt::format("{}, readings {} {} {} (vendor-defined)", alignmentName(info.status),
                        info.subStatus, info.value1, info.value2)};
}

Section temperatures(Context& context) {
    const Report report =
        describe(ask(context, "temperature", &IWirelessCharger::getSkinTemperature));
    return {report.json(), report.line()};
}

Section fans(Context& context) {
    Json json = {{"level", ask(context, "fan level", &IWirelessCharger::getFanLevel)},
                 {"fans", Json::array()}};
    std::string text = fmt::format("charger level {}, dock levels", json["level"].get<int>());
    for (int8_t fan = 0; fan < kFans; ++fan) {
        charger::FanInfo info;
        check(context.service()->getFanInfo(fan, &info), "fan");
        json["fans"].push_back(describe(info).json());
        text += info.valid ? fmt::format(" {}", static_cast<unsigned>(info.level)) : " -";
    }
    return {json, text};
}

Section reverseCharging(Context& context) {
    const auto info = ask(context, "rtx", &IWirelessCharger::getRtxInformation);
    std::string text = rtxModeName(info.mode);
    if (info.connected) text += fmt::format(", device connected, level {}", info.deviceLevel);
    if (info.errorType != 0) text += fmt::format(", error: {}", rtxErrorName(info.errorType));
    return {describe(info).json(), text};
}

Section firmware(Context& context) {
    charger::FwUpdateStatus status;
    check(context.service()->getFwUpdateExecutionStatus(0, &status), "firmware");
    return {describe(status).json(),
            fmt::format("update {}, {} %", updateStatusName(status.status),
                        static_cast<unsigned>(static_cast<uint8_t>(status.progress)))};
}

// Only the state report has the numbers.
Section subscribers(Context& context) {
    const std::string dump = dumpText(context, {});
    Section section;
    for (const auto& [key, label] :
         {std::pair("align", "    Alignment: "), std::pair("rtx", "    RTx: "),
          std::pair("fan", "    Fan level: ")}) {
        const size_t at = dump.find(label);
        if (at == std::string::npos) throw refused("the state report has no number of subscribers");
        const int count = std::atoi(dump.c_str() + at + std::string(label).size());
        section.json[key] = count;
        section.text += fmt::format("{}{} {}", section.text.empty() ? "" : ", ", key, count);
    }
    return section;
}

}  // namespace

void readStatus(Context& context, const std::function<void(const StatusLine&)>& take) {
    const struct {
        const char* key;
        const char* label;
        std::function<Section(Context&)> read;
    } kSections[] = {{"presence", "presence", presence},
                     {"dock", "dock", dockInformation},
                     {"authentication", "authentication", authentication},
                     {"power", "power", power},
                     {"alignment", "alignment", alignment},
                     {"temperature", "temperatures", temperatures},
                     {"fan", "fans", fans},
                     {"rtx", "reverse charging", reverseCharging},
                     {"firmware", "firmware", firmware},
                     {"subscribers", "subscribers", subscribers}};
    for (const auto& entry : kSections) {
        StatusLine line;
        line.key = entry.key;
        line.label = entry.label;
        try {
            Section section = entry.read(context);
            line.json = std::move(section.json);
            line.text = std::move(section.text);
        } catch (const Failure& failure) {
            if (failure.exitCode() == kNoService) throw;
            line.failed = true;
            line.json = errorJson(failure);
            line.text = failure.code() > 0
                            ? fmt::format("error {} ({})", failure.code(), failure.name())
                            : failure.what();
        }
        take(line);
    }
}

}  // namespace wlc
