// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "settings.h"

namespace virtual_dock {
namespace {

Json fansJson(const Fans& fans, int64_t nowNs) {
    Json list = Json::array();
    for (size_t i = 0; i < fans.count; ++i) {
        const FanReading reading = fans.fan(i).read(nowNs);
        list.push_back({{"mode", fans.fan(i).isManual() ? "manual" : "auto"},
                        {"level", reading.level},
                        {"speed", reading.speed},
                        {"drive", reading.drive},
                        {"current", reading.current}});
    }
    return list;
}

Json featuresJson(const Features& features) {
    Json list = Json::array();
    for (const auto& [query, value] : features.all()) {
        list.push_back({{"query", query}, {"value", value}});
    }
    return list;
}

Json certificatesJson(const WpcAuthenticator& authenticator) {
    Json list = Json::array();
    for (size_t i = 0; i < WpcAuthenticator::kSlots; ++i) {
        const bool present = (authenticator.populatedMask() & 1 << i) != 0;
        list.push_back(Json::object({{"present", present}}));
        if (!present) continue;
        list.back()["length"] = authenticator.slots[i].chain.size();
        list.back()["digest"] = hexJson(authenticator.digest(i));
    }
    return list;
}

Json firmwareJson(const FirmwareSlot& slot, int64_t nowNs) {
    const ImageTransfer& transfer = slot.transfer();
    const FirmwareSlot::Progress progress = slot.progress(nowNs);
    Json json = {{"transferOpen", transfer.isOpen()}};
    if (transfer.isOpen()) {
        json.update({{"imageSize", transfer.request().imageSize},
                     {"compressedSize", transfer.request().compressedSize},
                     {"chunkSize", transfer.request().chunkSize},
                     {"newMajor", transfer.request().major},
                     {"newMinor", transfer.request().minor},
                     {"chunks", transfer.chunkCount()},
                     {"missing", transfer.missingCount()},
                     {"firstMissing", transfer.firstMissing()}});
    }
    json["state"] = static_cast<int>(progress.state);
    json["progress"] = progress.percent;
    if (slot.imageDigest()) {
        json["executedSize"] = slot.imageSize();
        json["executedDigest"] = hexJson(*slot.imageDigest());
    }
    return json;
}

Json uploadsJson(const ProgressUploads& uploads) {
    Json list = Json::array();
    for (uint64_t number = uploads.oldest(); number < uploads.total(); ++number) {
        const FwUpdateData& data = uploads.record(number);
        list.push_back(
            {{"state", data.state},
             {"targetCode", data.targetCode},
             {"currentMajor", data.currentMajor},
             {"currentMinor", data.currentMinor},
             {"newMajor", data.newMajor},
             {"newMinor", data.newMinor},
             {"result", data.result},
             {"startCount", data.startCount},
             {"chunkNumber", data.chunkNumber},
             {"dockId", data.dockId},
             {"bytes", hexJson({reinterpret_cast<const uint8_t*>(&data), sizeof(data)})}});
    }
    return list;
}

Json faultsJson(const Faults& faults) {
    Json list = Json::array();
    for (const Fault& fault : faults.all()) {
        Json json = {{"operation", operationName(fault.operation)}};
        if (fault.type) json["type"] = *fault.type;
        if (fault.kind == Fault::Kind::kFail) json["result"] = fault.result;
        if (fault.kind == Fault::Kind::kDelay) json["delayMs"] = fault.delayMs;
        if (fault.kind == Fault::Kind::kAnswer) json["answer"] = hexJson(fault.answer);
        if (fault.remaining) json["remaining"] = *fault.remaining;
        if (fault.skipped > 0) json["after"] = fault.skipped;
        list.push_back(std::move(json));
    }
    return list;
}

Json recordingJson(const TraceWriter::State& state) {
    Json json = {{"file", textJson(state.path)}, {"lines", state.lines}};
    if (!state.problem.empty()) json["ended"] = textJson(state.problem);
    return json;
}

}  // namespace

Json dockJson(VirtualDock* dock) {
    Json json = dock->withModel([](DockModel& model, int64_t nowNs) {
        Json settings = Json::object();
        for (const Setting& setting : settingsOf(&model, nowNs)) {
            settings[setting.key] = setting.get();
        }
        Json firmware = Json::array();
        for (const FirmwareSlot& target : model.firmware.targets) {
            firmware.push_back(firmwareJson(target, nowNs));
        }
        Json legacy = firmwareJson(model.firmware.legacy, nowNs);
        legacy["runningName"] = textJson(model.firmware.legacyName);
        return Json({{"settings", std::move(settings)},
                     {"fans", fansJson(model.fans, nowNs)},
                     {"features", featuresJson(model.features)},
                     {"certificates", certificatesJson(model.authenticator)},
                     {"firmware", std::move(firmware)},
                     {"legacyFirmware", std::move(legacy)},
                     {"uploadCount", model.uploads.total()},
                     {"uploads", uploadsJson(model.uploads)},
                     {"qiId", model.qiId},
                     {"authStarts", model.authStarts}});
    });
    json["faults"] = dock->withFaults(faultsJson);
    json["requests"] = dock->withLog([](const RequestLog& log) { return log.newest(); });
    const TraceWriter::State recording = dock->recorder().state();
    if (!recording.path.empty()) json["recording"] = recordingJson(recording);
    return json;
}

Json entryJson(const LogEntry& entry) {
    return {{"number", entry.number},
            {"timeNs", entry.timeNs},
            {"wallTimeNs", entry.wallTimeNs},
            {"operation", operationName(entry.operation)},
            {"type", entry.type},
            {"result", entry.result},
            {"request", hexJson(entry.storedRequest())},
            {"answer", hexJson(entry.storedAnswer())},
            {"requestLength", entry.requestLength},
            {"answerLength", entry.answerLength}};
}

}  // namespace virtual_dock
