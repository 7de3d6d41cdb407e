// SPDX-License-Identifier: Apache-2.0
// What the charger itself reports: phone, dock, power, presence, alignment, temperatures, features.
#include <android-base/logging.h>
#include <android/log.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "WirelessCharger.h"
#include "dock_kind.h"
#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

constexpr int32_t kSelectorPtmc = 5;
constexpr int32_t kSelectorIdentifier = 7;
constexpr int32_t kSelectorProduct = 8;

constexpr int32_t kPropSkinTemperature = 23;
constexpr size_t kBoostTempAt = 0;
constexpr size_t kPuckTempAt = 1;

// The values that the interface defines; every other is reported as 0.
constexpr int32_t kQiSpecs[] = {-1, 0x1200, 0x1201, 0x1300, 0x1301, 0x2003, 0x2102, 0x2203};
constexpr int32_t kCompatibilities[] = {1, 2, 3, 4, 5, 6, 7, 127, -1, -2};
constexpr int32_t kLimitReasons[] = {2, 3, 4, 5, 6, 7, 8, 10, 11};

constexpr uint8_t kMaxAlignment = 3;

// The maker's own docks: their identifiers have 24 bits.
constexpr uint32_t kOwnPtmc = 0x72;
constexpr uint32_t kOwnIdentifierMask = 0x00FFFFFF;
constexpr uint8_t kFlagsOfNoIdentifier = 7;

template <size_t Size>
int32_t reduce(const int32_t (&defined)[Size], int32_t value) {
    return std::find(std::begin(defined), std::end(defined), value) != std::end(defined) ? value
                                                                                         : 0;
}

std::optional<uint32_t> readSelector(int32_t selector) {
    uint32_t value = 0;
    if (getWlcInfo(selector, &value) != 0) return std::nullopt;
    return value;
}

/** Whether the dock is one of the maker's own, whose code may be unknown yet. */
bool isOwnDock(uint32_t ptmc, uint8_t flags) {
    return ptmc == kOwnPtmc || (ptmc == 0 && (flags == 0xA0 || flags == 0xE0));
}

/** Logs a presence that differs from the last one logged, by whichever thread. */
void logPresence(uint32_t ptmc, uint32_t product, uint32_t id) {
    static constexpr auto kRelaxed = std::memory_order_relaxed;
    static std::atomic<uint32_t> lastPtmc = 0xFFFFFFFF;
    static std::atomic<uint32_t> lastProduct = 0xFFFFFFFF;
    static std::atomic<uint32_t> lastId = 0xFFFFFFFF;
    if (lastPtmc.load(kRelaxed) == ptmc && lastProduct.load(kRelaxed) == product &&
        lastId.load(kRelaxed) == id) {
        return;
    }
    lastPtmc.store(ptmc, kRelaxed);
    lastProduct.store(product, kRelaxed);
    lastId.store(id, kRelaxed);
    __android_log_print(ANDROID_LOG_INFO, nullptr, "dockpresent: ptmc=0x%x, product=%d, id=0x%x\n",
                        ptmc, static_cast<int32_t>(product), id);
}

}  // namespace

std::optional<int32_t> WirelessCharger::readValue(DiagType type) {
    {
        std::lock_guard lock(mDiagOverridesLock);
        const auto found = mDiagOverrides.find(type);
        if (found != mDiagOverrides.end() && found->second != 0) {
            return static_cast<int32_t>(found->second);
        }
    }
    return readSelector(static_cast<int32_t>(type));
}

ScopedAStatus WirelessCharger::getPhoneInformation(PhoneInfo* out) {
    out->qiSpec = reduce(kQiSpecs, readValue(DiagType::QI_SPEC).value_or(0));
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getDockInformation(DockInfo* out) {
    const auto compatibility = static_cast<int8_t>(
        reduce(kCompatibilities, readValue(DiagType::COMPATIBILITY).value_or(0)));
    std::lock_guard lock(mDockInfoLock);
    mDockInfo.compatibility = compatibility;
    copyDockInfo(out);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getPowerInformation(PowerInfo* out) {
    if (auto power = readValue(DiagType::MAX_POWER)) out->maxPower = *power;
    if (auto power = readValue(DiagType::NEGO_POWER)) out->negotiatedPower = *power;
    if (auto reason = readValue(DiagType::LIMIT_REASON)) {
        out->limitReason = static_cast<int8_t>(reduce(kLimitReasons, *reason));
    }
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::isDockPresent(DockPresent* out) {
    LOG(DEBUG) << "isDockPresent is called...";
    *out = DockPresent();
    const std::optional<uint32_t> identifier = readSelector(kSelectorIdentifier);
    if (!identifier) return ScopedAStatus::ok();

    const uint8_t flags = *identifier != 0 ? *identifier >> 24 : kFlagsOfNoIdentifier;
    out->docked = true;
    out->dockKind = dockKindOf(flags);
    out->dockClass = dockClassOf(flags);

    uint32_t product = 0;
    const std::optional<uint32_t> ptmc = readSelector(kSelectorPtmc);
    if (ptmc) product = readSelector(kSelectorProduct).value_or(0);
    out->ptmc = static_cast<int32_t>(ptmc.value_or(0));
    out->product = static_cast<int32_t>(product);

    uint32_t id = *identifier;
    if (isOwnDock(ptmc.value_or(0), flags)) {
        id &= kOwnIdentifierMask;
        out->getInfoSupported = infoSupportedOf(flags);
    }
    out->id = static_cast<int32_t>(id);
    logPresence(ptmc.value_or(0), product, id);
    return ScopedAStatus::ok();
}

ErrorCode WirelessCharger::readAlignment(AlignInfo& info) {
    uint8_t status = 0;
    const uint32_t result = getWLCAlignment(&status, reinterpret_cast<uint8_t*>(&info.subStatus),
                                            &info.value1, &info.value2);
    info.status = static_cast<int8_t>(std::min(status, kMaxAlignment));
    return errorOfResult(result);
}

ScopedAStatus WirelessCharger::getAlignInfo(AlignInfo* out) {
    return statusOf(readAlignment(*out));
}

ScopedAStatus WirelessCharger::getSkinTemperature(SkinTemp* out) {
    Request request;
    const ErrorCode error = sendPropUnderLock(kPropSkinTemperature, request);
    if (error != kNoError) return statusOf(error);
    out->boostTemp = request.getSigned8(kBoostTempAt);
    out->puckTemp = request.getSigned8(kPuckTempAt);
    __android_log_print(ANDROID_LOG_INFO, nullptr, "boostTemp: %d, puckTemp:%d", out->boostTemp,
                        out->puckTemp);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getFeatures(int64_t query, WirelessChargerFeature* out) {
    int64_t value = 0;
    const uint32_t result = getFeature(query, &value);
    *out = static_cast<WirelessChargerFeature>(result == 0 ? value : 0);
    return statusOf(errorOfResult(result));
}

ScopedAStatus WirelessCharger::setFeatures(int64_t query, WirelessChargerFeature features) {
    return statusOf(errorOfResult(setFeature(query, static_cast<int64_t>(features))));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
