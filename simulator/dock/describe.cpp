// SPDX-License-Identifier: Apache-2.0
#include "commands.h"
#include "settings.h"

namespace virtual_dock {
namespace {

void describeFans(const Fans& fans, int64_t nowNs, JsonWriter* json) {
    json->key("fans").beginArray();
    for (size_t i = 0; i < fans.count; ++i) {
        const FanReading reading = fans.fan(i).read(nowNs);
        json->beginObject().text("mode", fans.fan(i).isManual() ? "manual" : "auto");
        json->member("level", reading.level).member("speed", reading.speed);
        json->member("drive", reading.drive).member("current", reading.current).endObject();
    }
    json->endArray();
}

void describeFeatures(const Features& features, JsonWriter* json) {
    json->key("features").beginArray();
    for (const auto& [query, value] : features.all()) {
        json->beginObject().member("query", query).member("value", value).endObject();
    }
    json->endArray();
}

void describeCertificates(const WpcAuthenticator& authenticator, JsonWriter* json) {
    json->key("certificates").beginArray();
    for (size_t i = 0; i < WpcAuthenticator::kSlots; ++i) {
        const bool present = (authenticator.populatedMask() & 1 << i) != 0;
        json->beginObject().flag("present", present);
        if (present) {
            json->member("length", static_cast<int64_t>(authenticator.slots[i].chain.size()));
            json->key("digest").hex(authenticator.digest(i));
        }
        json->endObject();
    }
    json->endArray();
}

void describeFirmware(const FirmwareSlot& slot, int64_t nowNs, JsonWriter* json) {
    const ImageTransfer& transfer = slot.transfer();
    const FirmwareSlot::Progress progress = slot.progress(nowNs);
    json->flag("transferOpen", transfer.isOpen());
    if (transfer.isOpen()) {
        json->member("imageSize", transfer.request().imageSize);
        json->member("compressedSize", transfer.request().compressedSize);
        json->member("chunkSize", transfer.request().chunkSize);
        json->member("newMajor", transfer.request().major);
        json->member("newMinor", transfer.request().minor);
        json->member("chunks", transfer.chunkCount()).member("missing", transfer.missingCount());
        json->member("firstMissing", transfer.firstMissing());
    }
    json->member("state", static_cast<int64_t>(progress.state))
        .member("progress", progress.percent);
    if (slot.imageDigest()) {
        json->member("executedSize", slot.imageSize());
        json->key("executedDigest").hex(*slot.imageDigest());
    }
}

void describeUploads(const ProgressUploads& uploads, JsonWriter* json) {
    json->member("uploadCount", static_cast<int64_t>(uploads.total())).key("uploads").beginArray();
    for (uint64_t number = uploads.oldest(); number < uploads.total(); ++number) {
        const FwUpdateData& data = uploads.record(number);
        json->beginObject().member("state", data.state).member("targetCode", data.targetCode);
        json->member("currentMajor", data.currentMajor).member("currentMinor", data.currentMinor);
        json->member("newMajor", data.newMajor).member("newMinor", data.newMinor);
        json->member("result", data.result).member("startCount", data.startCount);
        json->member("chunkNumber", data.chunkNumber).member("dockId", data.dockId);
        json->key("bytes").hex({reinterpret_cast<const uint8_t*>(&data), sizeof(data)});
        json->endObject();
    }
    json->endArray();
}

void describeFault(const Fault& fault, JsonWriter* json) {
    json->beginObject().text("operation", operationName(fault.operation));
    if (fault.type) json->member("type", *fault.type);
    switch (fault.kind) {
        case Fault::Kind::kFail:
            json->member("result", fault.result);
            break;
        case Fault::Kind::kDelay:
            json->member("delayMs", fault.delayMs);
            break;
        case Fault::Kind::kAnswer:
            json->key("answer").hex(fault.answer);
            break;
    }
    if (fault.remaining) json->member("remaining", *fault.remaining);
    json->endObject();
}

}  // namespace

void describeDock(VirtualDock* dock, JsonWriter* json) {
    dock->withModel([&](DockModel& model, int64_t nowNs) {
        json->key("settings").beginObject();
        for (const Setting& setting : settingsOf(&model, nowNs)) {
            setting.write(&json->key(setting.key));
        }
        json->endObject();
        describeFans(model.fans, nowNs, json);
        describeFeatures(model.features, json);
        describeCertificates(model.authenticator, json);
        json->key("firmware").beginArray();
        for (const FirmwareSlot& target : model.firmware.targets) {
            json->beginObject();
            describeFirmware(target, nowNs, json);
            json->endObject();
        }
        json->endArray().key("legacyFirmware").beginObject();
        describeFirmware(model.firmware.legacy, nowNs, json);
        json->text("runningName", model.firmware.legacyName).endObject();
        describeUploads(model.uploads, json);
        json->member("qiId", model.qiId).member("authStarts", model.authStarts);
    });
    json->key("faults").beginArray();
    dock->withFaults([&](const Faults& faults) {
        for (const Fault& fault : faults.all()) describeFault(fault, json);
    });
    json->endArray();
    dock->withLog([&](const RequestLog& log) {
        json->member("requests", static_cast<int64_t>(log.newest()));
    });
}

}  // namespace virtual_dock
