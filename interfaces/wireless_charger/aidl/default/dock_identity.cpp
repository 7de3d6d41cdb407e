// SPDX-License-Identifier: Apache-2.0
// What the dock says of itself, and the Qi ID a client found out.
#include <android/log.h>
#include <stdlib.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "WirelessCharger.h"
#include "dock_kind.h"
#include "protocol/chargelink.h"
#include "result_status.h"
#include "utf8_text.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

constexpr int32_t kBidiDockInformation = 0;

// Elements of the dock's information: three texts, then flags (1 byte), then the firmware version
// (major, minor, the rest is the name).
enum InfoTag : int32_t { TAG_TEXT0 = 0, TAG_TEXT1, TAG_TEXT2, TAG_FLAGS, TAG_FIRMWARE, TAG_COUNT };
constexpr size_t kFlagsSize = 1;
constexpr size_t kMajorAt = 0;
constexpr size_t kMinorAt = 1;
constexpr size_t kNameAt = 2;
constexpr uint8_t kFlagBitsMask = 0x03;

struct Element {
    const uint8_t* value = nullptr;
    uint8_t length = 0;

    std::string_view text(size_t from = 0) const {
        return {reinterpret_cast<const char*>(value) + from, length - from};
    }
};

/** The elements found before the first fault, and the error that this means. */
struct Elements {
    Element element[TAG_COUNT];
    int32_t count = 0;
    ErrorCode error = kNoError;
};

bool hasRightLength(int32_t tag, const Element& element) {
    if (tag == TAG_FLAGS) return element.length == kFlagsSize;
    return tag != TAG_FIRMWARE || element.length >= kNameAt;
}

Elements readElements(const Request& answer) {
    Elements found;
    for (; found.count < TAG_COUNT; found.count++) {
        Element& element = found.element[found.count];
        found.error = errorOfResult(getPacketTlv(answer.at(0), answer.answerLength(), found.count,
                                                 &element.value, &element.length));
        if (found.error == kNoError && !hasRightLength(found.count, element)) {
            found.error = ErrorCode::INVALID_RESPONSE;
        }
        if (found.error != kNoError) break;
    }
    return found;
}

void store(const Elements& found, DockInfo& info) {
    if (found.count > TAG_TEXT0) info.infoText0 = found.element[TAG_TEXT0].text();
    if (found.count > TAG_TEXT1) info.infoText1 = found.element[TAG_TEXT1].text();
    if (found.count > TAG_TEXT2) info.infoText2 = found.element[TAG_TEXT2].text();
    if (found.count > TAG_FLAGS) {
        const uint8_t flags = found.element[TAG_FLAGS].value[0];
        info.getInfoSupported = infoSupportedOf(flags);
        info.dockKind = dockKindOf(flags);
        info.flagBits = static_cast<int8_t>(flags & kFlagBitsMask);
    }
    if (found.count > TAG_FIRMWARE) {
        const Element& firmware = found.element[TAG_FIRMWARE];
        info.firmwareVersion.major = firmware.value[kMajorAt];
        info.firmwareVersion.minor = firmware.value[kMinorAt];
        if (firmware.length > kNameAt) info.firmwareVersion.name = firmware.text(kNameAt);
    }
}

}  // namespace

ScopedAStatus WirelessCharger::getInformation(DockInfo* out) {
    Request request;
    const ErrorCode error = sendBidiUnderLock(kBidiDockInformation, request);
    if (error != kNoError) return statusOf(error);
    const Elements found = readElements(request);
    // All at once, so that no reader sees the texts of one dock with the version of another.
    std::lock_guard lock(mDockInfoLock);
    store(found, mDockInfo);
    if (found.error != kNoError) return statusOf(found.error);
    copyDockInfo(out);
    return ScopedAStatus::ok();
}

void WirelessCharger::copyDockInfo(DockInfo* out) const {
    *out = mDockInfo;
    for (std::string* text : {&out->infoText0, &out->infoText1, &out->infoText2,
                              &out->firmwareVersion.name, &out->qiId}) {
        makeValidUtf8(*text);
    }
}

ScopedAStatus WirelessCharger::updateInformation(const WlcInfo& info) {
    if (info.getTag() != WlcInfo::Tag::dockInfo) return ScopedAStatus::ok();
    const std::string& text = info.get<WlcInfo::Tag::dockInfo>().qiId;
    {
        std::lock_guard lock(mDockInfoLock);
        mDockInfo.qiId = text;
    }
    char* end = nullptr;
    const auto qiId = static_cast<uint16_t>(strtoul(text.c_str(), &end, 10));
    if (*end != '\0') {
        __android_log_print(ANDROID_LOG_WARN, nullptr, "fail to convert qi id");
        return ScopedAStatus::ok();
    }
    __android_log_print(ANDROID_LOG_INFO, nullptr, "set qi id: %u", qiId);
    setQiId(qiId);
    return ScopedAStatus::ok();
}

}  // namespace aidl::vendor::zorvak::wireless_charger
