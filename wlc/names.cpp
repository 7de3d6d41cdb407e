// SPDX-License-Identifier: Apache-2.0
#include "names.h"

#include <aidl/vendor/zorvak/wireless_charger/ErrorCode.h>
#include <aidl/vendor/zorvak/wireless_charger/ExecuteStatus.h>
#include <aidl/vendor/zorvak/wireless_charger/WirelessChargerFeature.h>
#include <fmt/format.h>
#include <strings.h>

#include <vector>

#include "failure.h"
#include "text.h"

namespace wlc {

using aidl::vendor::zorvak::wireless_charger::ErrorCode;
using aidl::vendor::zorvak::wireless_charger::ExecuteStatus;
using aidl::vendor::zorvak::wireless_charger::WirelessChargerFeature;

std::string errorName(int code) {
    for (const ErrorCode known : ndk::enum_range<ErrorCode>()) {
        if (static_cast<int>(known) == code) return toString(known);
    }
    return fmt::format("ERROR_{}", code);
}

std::string errorMeaning(int code) {
    switch (static_cast<ErrorCode>(code)) {
        case ErrorCode::INVALID_ARGUMENT:
            return "an argument is out of range, or the dock rejected the request as invalid";
        case ErrorCode::INVALID_RESPONSE:
            return "the dock's response does not match the request";
        case ErrorCode::REFUSED:
            return "the charger refuses this in its current state";
        case ErrorCode::UNAVAILABLE:
            return "the value is not available; is the phone on a dock?";
        case ErrorCode::ALREADY_EXISTS:
            return "already registered or already in progress";
        case ErrorCode::TIMED_OUT:
            return "the dock or the charger did not respond in time";
        case ErrorCode::FAILED:
            return "the charger reported an unspecified failure";
        case ErrorCode::IO_ERROR:
            return "communication with the dock failed";
        case ErrorCode::UNSUPPORTED:
            return "the dock does not support this request";
        case ErrorCode::BUSY:
            return "the dock is busy; try again later";
    }
    return "unknown error";
}

std::string qiSpecName(int32_t code) {
    if (code == -1) return "no receiver";
    if (code == 0) return "unknown";
    const int major = code >> 12;

    return fmt::format("Qi {}.{}.{}", major, (code >> 8) & 15, code & 255);
}

std::string compatibilityName(int8_t code) {
    switch (code) {
        case -2:
            return "incompatible";
        case -1:
            return "none or not read yet";
        case 0:
            return "unknown";
        default:
            return fmt::format("compatible, level {}", code);
    }
}

std::string limitReasonName(int8_t code) {
    return code == 0 ? "no limit or unknown" : fmt::format("limited, reason {}", code);
}

std::string dockKindName(int8_t code) {
    return code == 15 ? "unknown" : fmt::format("kind {}", code);
}

std::string alignmentName(int8_t code) {
    switch (code) {
        case 0:
            return "misaligned";
        case 1:
            return "aligned";
        case 2:
            return "not known yet";
        case 3:
            return "not charging";
        default:
            return fmt::format("state {}", code);
    }
}

std::string rtxModeName(int8_t code) {
    switch (code) {
        case 1:
            return "active";
        case 2:
            return "available";
        default:
            return "off or unknown";
    }
}

std::string rtxErrorName(int8_t code) {
    switch (code) {
        case 0:
            return "none";
        case 15:
            return "other or not read yet";
        default:
            return fmt::format("error {}", code);
    }
}

std::string manufacturerName(int32_t code) {
    return code == 0 ? "unknown" : fmt::format("0x{:04x}", static_cast<uint32_t>(code));
}

std::string executeStatusName(int8_t code) {
    switch (static_cast<ExecuteStatus>(code)) {
        case ExecuteStatus::ACCEPTED:
            return "accepted; the image is being applied";
        case ExecuteStatus::INCOMPLETE:
            return "chunks are missing";
        case ExecuteStatus::INVALID_IMAGE:
            return "the image is not valid for this dock";
        case ExecuteStatus::REFUSED:
            return "the dock cannot apply an image now";
    }
    return fmt::format("status {}", code);
}

std::string updateStatusName(int8_t code) {
    switch (code) {
        case 0:
            return "idle";
        case 1:
            return "applying";
        case 2:
            return "failed";
        default:
            return "unknown";
    }
}

std::string powerText(int32_t power) {
    return power == -1 ? "unknown" : fmt::format("{} (vendor-defined unit)", power);
}

int64_t featureBit(const std::string& name) {
    std::vector<std::string> names;
    for (const auto known : ndk::enum_range<WirelessChargerFeature>()) {
        names.push_back(toString(known));
        if (strcasecmp(name.c_str(), names.back().c_str()) == 0) return static_cast<int64_t>(known);
    }
    throw badUsage(fmt::format("unknown feature '{}'; the features are {}", printable(name),
                               fmt::join(names, ", ")));
}

std::string featureNames(int64_t features) {
    std::string text;
    int64_t rest = features;
    for (const auto known : ndk::enum_range<WirelessChargerFeature>()) {
        const auto bit = static_cast<int64_t>(known);
        if (bit == 0 || (rest & bit) == 0) continue;
        text += (text.empty() ? "" : " | ") + toString(known);
        rest &= ~bit;
    }
    if (rest != 0) {
        text += fmt::format("{}0x{:x}", text.empty() ? "" : " | ", static_cast<uint64_t>(rest));
    }
    return text.empty() ? "none" : text;
}

}  // namespace wlc
