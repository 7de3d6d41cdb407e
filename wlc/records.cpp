// SPDX-License-Identifier: Apache-2.0
#include "records.h"

#include <fmt/format.h>

#include <utility>

#include "names.h"
#include "text.h"

namespace wlc {
namespace {

Report& degrees(Report& report, const std::string& key, int8_t value) {
    return report.field(key, value, fmt::format("{} °C", value));
}

Report& bytes(Report& report, const std::string& key, int32_t value) {
    return report.field(key, value, fmt::format("{} bytes", value));
}

Report& percent(Report& report, const std::string& key, int32_t value) {
    return report.field(key, value, fmt::format("{} %", value));
}

// Slots of a 4-bit mask: "0, 2" or "none".
std::string slotNames(int8_t mask) {
    std::string text;
    for (int slot = 0; slot < 4; ++slot) {
        if ((mask >> slot & 1) != 0) text += fmt::format("{}{}", text.empty() ? "" : ", ", slot);
    }
    return text.empty() ? "none" : text;
}

}  // namespace

Report describe(const charger::AlignInfo& info) {
    Report report;
    report.code("status", info.status, alignmentName(info.status));
    report.field("subStatus", info.subStatus);
    report.reading("value1", info.value1, "1");
    report.reading("value2", info.value2, "2");
    return report;
}

Report describe(const charger::FirmwareVersion& version) {
    Report report;
    report.field("major", version.major);
    report.field("minor", version.minor);
    report.field("name", version.name);
    return report;
}

Report describe(const charger::DockInfo& info) {
    Report report;
    report.field("infoText0", info.infoText0);
    report.field("infoText1", info.infoText1);
    report.field("infoText2", info.infoText2);
    report.field("dockValue", info.dockValue);
    report.field("getInfoSupported", info.getInfoSupported);
    report.nested("firmwareVersion", describe(info.firmwareVersion));
    report.field("flagBits", info.flagBits);
    report.code("dockKind", info.dockKind, dockKindName(info.dockKind));
    report.field("qiId", info.qiId);
    report.field("extraText", info.extraText);
    report.code("compatibility", info.compatibility, compatibilityName(info.compatibility));
    if (info.extraFirmwareVersion.has_value()) {
        report.nested("extraFirmwareVersion", describe(*info.extraFirmwareVersion));
    } else {
        report.field("extraFirmwareVersion", nullptr);
    }
    return report;
}

Report describe(const charger::DockPresent& present) {
    Report report;
    report.field("docked", present.docked);
    report.code("dockKind", present.dockKind, dockKindName(present.dockKind));
    report.field("dockClass", present.dockClass);
    report.field("getInfoSupported", present.getInfoSupported);
    report.field("id", present.id, fmt::format("0x{:x}", static_cast<uint32_t>(present.id)));
    report.field("ptmc", present.ptmc, manufacturerName(present.ptmc));
    report.field("product", present.product);
    return report;
}

Report describe(const charger::FanInfo& info) {
    Report report;
    report.field("valid", info.valid);
    report.field("level", static_cast<uint16_t>(info.level));
    report.reading("fanValue1", info.fanValue1, "1");
    report.reading("fanValue2", info.fanValue2, "2");
    report.reading("fanValue3", info.fanValue3, "3");
    return report;
}

Report describe(const charger::FwUpdateInfo& info) {
    Report report;
    report.field("target", info.target);
    bytes(report, "maxSize", info.maxSize);
    bytes(report, "maxChunkSize", static_cast<uint8_t>(info.maxChunkSize));
    report.nested("version", describe(info.version));
    return report;
}

Report describe(const charger::FwUpdateStatus& status) {
    Report report;
    report.code("status", status.status, updateStatusName(status.status));
    percent(report, "progress", static_cast<uint8_t>(status.progress));
    report.field("target", status.target);
    return report;
}

Report describe(const charger::KeyExchangeResponse& response) {
    Report report;
    report.field("header", response.header);
    report.field("key", toHex(response.key));
    return report;
}

Report describe(const charger::PhoneInfo& info) {
    Report report;
    report.field("model", info.model);
    report.field("receiverId", info.receiverId);
    report.hexCode("qiSpec", info.qiSpec, qiSpecName(info.qiSpec));
    return report;
}

Report describe(const charger::PowerInfo& info) {
    Report report;
    for (const auto& [key, value] : {std::pair("maxPower", info.maxPower),
                                     std::pair("negotiatedPower", info.negotiatedPower)}) {
        report.field(key, value, powerText(value));
    }
    report.code("limitReason", info.limitReason, limitReasonName(info.limitReason));
    return report;
}

Report describe(const charger::RtxStatusInfo& info) {
    Report report;
    report.code("mode", info.mode, rtxModeName(info.mode));
    report.field("prmc", info.prmc, manufacturerName(info.prmc));
    report.field("connected", info.connected);
    report.reading("readingA", info.readingA, "A");
    report.reading("readingB", info.readingB, "B");
    report.field("deviceLevel", info.deviceLevel);
    report.code("errorType", info.errorType, rtxErrorName(info.errorType));
    return report;
}

Report describe(const charger::SkinTemp& temperatures) {
    Report report;
    degrees(report, "boostTemp", temperatures.boostTemp);
    degrees(report, "puckTemp", temperatures.puckTemp);
    return report;
}

Report describe(const charger::UpdateInfo& info) {
    Report report;
    bytes(report, "maxSize", info.maxSize);
    report.reading("infoByte4", static_cast<uint8_t>(info.infoByte4), "1");
    report.reading("infoByte5", static_cast<uint8_t>(info.infoByte5), "2");
    return report;
}

Report describe(const charger::UpdateStatus& status) {
    Report report;
    report.code("status", status.status, updateStatusName(status.status));
    percent(report, "progress", static_cast<uint8_t>(status.progress));
    return report;
}

Report describe(const charger::WpcAuthChallengeResponse& response) {
    Report report;
    report.field("maxProtocolVersion", response.maxProtocolVersion);
    report.field("slotPopulatedMask", response.slotPopulatedMask,
                 slotNames(response.slotPopulatedMask));
    report.field("certChainHashLsb", static_cast<uint8_t>(response.certChainHashLsb));
    report.field("signatureR", toHex(response.signatureR));
    report.field("signatureS", toHex(response.signatureS));
    return report;
}

Report describe(const charger::WpcAuthDigests& digests) {
    Report report;
    report.field("slotPopulatedMask", digests.slotPopulatedMask,
                 slotNames(digests.slotPopulatedMask));
    report.field("digestMask", digests.digestMask, slotNames(digests.digestMask));
    report.field("digest0", toHex(digests.digest0));
    report.field("digest1", toHex(digests.digest1));
    report.field("digest2", toHex(digests.digest2));
    report.field("digest3", toHex(digests.digest3));
    return report;
}

}  // namespace wlc
