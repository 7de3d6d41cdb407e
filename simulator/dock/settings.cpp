// SPDX-License-Identifier: Apache-2.0
#include "settings.h"

#include <limits>
#include <utility>

#include "words.h"

namespace virtual_dock {
namespace {

// Collects the settings; one function for each kind of value.
class SettingList {
  public:
    template <typename Int>
    void number(std::string key, Event event, Int* target,
                int64_t min = std::numeric_limits<Int>::min(),
                int64_t max = std::numeric_limits<Int>::max()) {
        add({std::move(key), event, std::to_string(min) + ".." + std::to_string(max),
             [target] { return Json(*target); },
             [target, min, max](const std::string& word) {
                 const auto value = parseNumber(word, min, max);
                 if (value) *target = static_cast<Int>(*value);
                 return value.has_value();
             }});
    }

    // A 32-bit value that the protocol reads as signed or unsigned; negative numbers are taken.
    void word32(std::string key, Event event, uint32_t* target) {
        number(std::move(key), event, target, std::numeric_limits<int32_t>::min(),
               std::numeric_limits<uint32_t>::max());
    }

    void boolean(std::string key, Event event, bool* target) {
        add({std::move(key), event, "true, false", [target] { return Json(*target); },
             [target](const std::string& word) {
                 if (word != "true" && word != "false") return false;
                 *target = word == "true";
                 return true;
             }});
    }

    template <typename Enum>
    void choice(std::string key, Event event, Enum* target, const std::vector<std::string>& names) {
        std::string values;
        for (const std::string& name : names) values += (values.empty() ? "" : ", ") + name;
        add({std::move(key), event, values,
             [target, names] { return Json(names[static_cast<size_t>(*target)]); },
             [target, names](const std::string& word) {
                 for (size_t i = 0; i < names.size(); ++i) {
                     if (word != names[i]) continue;
                     *target = static_cast<Enum>(i);
                     return true;
                 }
                 return false;
             }});
    }

    void informationText(std::string key, DockInformation* information, std::string* target) {
        add({std::move(key), Event::kWlc, "bytes; all texts together at most 240",
             [target] { return textJson(*target); },
             [information, target](const std::string& word) {
                 std::string before = std::exchange(*target, word);
                 if (information->fits()) return true;
                 *target = std::move(before);
                 return false;
             }});
    }

    void add(Setting setting) { mSettings.push_back(std::move(setting)); }
    std::vector<Setting> take() { return std::move(mSettings); }

  private:
    std::vector<Setting> mSettings;
};

void addCharger(Charger* charger, SettingList* list) {
    list->boolean("dock.placed", Event::kWlc, &charger->docked);
    list->boolean("dock.charging", Event::kWlc, &charger->charging);
    list->word32("phone.qi-spec", Event::kWlc, &charger->qiSpec);
    list->word32("dock.compatibility", Event::kWlc, &charger->compatibility);
    list->word32("power.max", Event::kWlc, &charger->maxPower);
    list->word32("power.negotiated", Event::kWlc, &charger->negotiatedPower);
    list->word32("power.limit-reason", Event::kWlc, &charger->limitReason);
    list->word32("dock.ptmc", Event::kWlc, &charger->ptmc);
    list->word32("dock.id", Event::kWlc, &charger->dockId);
    list->word32("dock.product", Event::kWlc, &charger->product);
    list->number("align.state", Event::kWlc, &charger->alignment.state);
    list->number("align.sub", Event::kWlc, &charger->alignment.subState);
    list->number("align.value1", Event::kWlc, &charger->alignment.value1);
    list->number("align.value2", Event::kWlc, &charger->alignment.value2);
    list->number("temperature.boost", Event::kNone, &charger->boostTemperature);
    list->number("temperature.puck", Event::kNone, &charger->puckTemperature);
}

void addFans(Fans* fans, int64_t nowNs, SettingList* list) {
    list->add({"fan.level", Event::kFan, "0..4294967295", [fans] { return Json(fans->fanLevel()); },
               [fans, nowNs](const std::string& word) {
                   const auto level = parseNumber(word, 0, std::numeric_limits<uint32_t>::max());
                   if (level) fans->setFanLevel(static_cast<uint32_t>(*level), nowNs);
                   return level.has_value();
               }});
    list->number("fan.count", Event::kFan, &fans->count, 0, Fans::kMaxFans);
    for (size_t i = 0; i < Fans::kMaxFans; ++i) {
        Fan* const fan = &fans->fan(i);
        list->add(
            {"fan." + std::to_string(i), Event::kFan, "auto, 0..65535",
             [fan, nowNs] { return fan->isManual() ? Json(fan->read(nowNs).level) : Json("auto"); },
             [fans, fan, nowNs](const std::string& word) {
                 if (word == "auto") {
                     fan->setAuto(fans->autoLevel(), nowNs);
                     return true;
                 }
                 const auto level = parseNumber(word, 0, 0xFFFF);
                 if (level) fan->setManual(static_cast<uint16_t>(*level), nowNs);
                 return level.has_value();
             }});
    }
}

void addRtx(ReverseTransmit* rtx, SettingList* list) {
    list->boolean("rtx.supported", Event::kRtx, &rtx->supported);
    list->choice("rtx.mode", Event::kRtx, &rtx->mode,
                 {std::begin(kRtxModeNames), std::end(kRtxModeNames)});
    list->boolean("rtx.connected", Event::kRtx, &rtx->connected);
    list->number("rtx.reading-a", Event::kRtx, &rtx->readingA);
    list->number("rtx.reading-b", Event::kRtx, &rtx->readingB);
    list->word32("rtx.prmc", Event::kRtx, &rtx->prmc);
    list->number("rtx.device-level", Event::kRtx, &rtx->deviceLevel);
    list->number("rtx.error", Event::kRtx, &rtx->errorType);
    list->choice("rtx.texts", Event::kNone, &rtx->textStyle,
                 {"plain", "newline", "unterminated", "garbage"});
}

void addInformation(DockInformation* information, SettingList* list) {
    for (size_t i = 0; i < std::size(information->texts); ++i) {
        list->informationText("info.text" + std::to_string(i), information, &information->texts[i]);
    }
    list->number("info.flags", Event::kWlc, &information->flags);
    list->number("info.major", Event::kWlc, &information->major);
    list->number("info.minor", Event::kWlc, &information->minor);
    list->informationText("info.version-name", information, &information->versionName);
}

void addAuthentication(WpcAuthenticator* authenticator, SettingList* list) {
    list->number("auth.error", Event::kNone, &authenticator->error);
    list->number("auth.max-piece", Event::kNone, &authenticator->maxPiece);
    list->number("auth.claimed-length", Event::kNone, &authenticator->claimedLength, -1, 0xFFFF);
    list->choice("auth.signature", Event::kNone, &authenticator->signing,
                 {"right", "replayed", "wrong-slot", "garbage"});
    for (size_t i = 0; i < WpcAuthenticator::kSlots; ++i) {
        CertificateSlot* const slot = &authenticator->slots[i];
        const std::string prefix = "cert." + std::to_string(i);
        list->boolean(prefix + ".present", Event::kNone, &slot->present);
        list->number(prefix + ".flip", Event::kNone, &slot->flippedByte, -1, 0xFFFF);
    }
}

void addFirmwareSlot(const std::string& prefix, FirmwareSlot* slot, SettingList* list) {
    constexpr uint32_t kMaxImage = 16 * 1024 * 1024;
    list->number(prefix + ".major", Event::kNone, &slot->version.major);
    list->number(prefix + ".minor", Event::kNone, &slot->version.minor);
    list->number(prefix + ".max-size", Event::kNone, &slot->maxSize, 0, kMaxImage);
    list->number(prefix + ".max-chunk", Event::kNone, &slot->maxChunk);
    list->number(prefix + ".execute-ms", Event::kNone, &slot->executeMs);
    list->number(prefix + ".fail-at", Event::kNone, &slot->failAt, -1, 100);
    list->boolean(prefix + ".reject", Event::kNone, &slot->rejectsImages);
    list->number(prefix + ".forget-every", Event::kNone, &slot->forgetEvery);
}

void addFirmware(FirmwareUpdater* firmware, SettingList* list) {
    list->number("firmware.power-off-after", Event::kNone, &firmware->powerOffAfter, -1);
    for (size_t i = 0; i < FirmwareUpdater::kTargets; ++i) {
        addFirmwareSlot("firmware." + std::to_string(i), &firmware->targets[i], list);
    }
    addFirmwareSlot("legacy", &firmware->legacy, list);
}

}  // namespace

std::vector<Setting> settingsOf(DockModel* model, int64_t nowNs) {
    SettingList list;
    addCharger(&model->charger, &list);
    addFans(&model->fans, nowNs, &list);
    addRtx(&model->rtx, &list);
    addInformation(&model->information, &list);
    list.number("features.default", Event::kNone, &model->features.defaultValue);
    list.boolean("auth.ready", Event::kNone, &model->authReady);
    addAuthentication(&model->authenticator, &list);
    addFirmware(&model->firmware, &list);
    return list.take();
}

}  // namespace virtual_dock
