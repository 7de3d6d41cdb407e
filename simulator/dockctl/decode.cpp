// SPDX-License-Identifier: Apache-2.0
#include "decode.h"

#include <fmt/core.h>

#include "dock/dock_information.h"

namespace dockctl {
namespace {

using virtual_dock::Operation;
using virtual_dock::firmware::isFirmware;

std::string describeFanRequest(const ByteVector& request) {
    using namespace virtual_dock::fan_frame;
    if (request.size() < 2 || request[0] != kFunction) return "unknown fan frame";
    const int fan = request[1] & kFanMask;
    switch (request[1] & ~kFanMask) {
        case kGet:
            return fmt::format("get fan {}", fan);
        case kSetAuto:
            return fmt::format("set fan {} automatic", fan);
        case kSetManual:
            return fmt::format("set fan {} manual, level {}", fan, numberAt(request, 2, 2));
        default:
            return "unknown fan command";
    }
}

std::string describeFanAnswer(const ByteVector& answer) {
    const bool valid = numberAt(answer, 1, 1) == virtual_dock::fan_frame::kValid;
    std::string text =
        fmt::format("{}, level {}", valid ? "valid" : "invalid", numberAt(answer, 2, 2));
    if (answer.size() > 4) {
        text += fmt::format(", speed {} rpm, drive {} per mille, {} mA", numberAt(answer, 4, 2),
                            numberAt(answer, 6, 2), numberAt(answer, 8, 2));
    }
    return text;
}

std::string describeDockInformation(const ByteVector& answer) {
    using namespace virtual_dock::element;
    std::string text;
    for (int tag = 0; tag <= kVersion; ++tag) {
        virtual_dock::Bytes value;
        if (virtual_dock::findElement(answer, tag, &value) != virtual_dock::kOk) continue;
        const ByteVector bytes(value.begin(), value.end());
        if (!text.empty()) text += ", ";
        if (tag < kFlags) text += fmt::format("text {} \"{}\"", tag, printable(bytes));
        if (tag == kFlags) text += fmt::format("flags 0x{:02x}", numberAt(bytes, 0, 1));
        if (tag == kVersion) {
            text += fmt::format("version {}.{} \"{}\"", numberAt(bytes, 0, 1),
                                numberAt(bytes, 1, 1), printable(bytes, 2));
        }
    }
    return text.empty() ? "no known element" : text;
}

std::string describeAuthRequest(const LoggedRequest& logged) {
    using namespace virtual_dock::wpc_auth;
    const ByteVector& request = logged.request;
    const std::string name = nameOf(logged);
    const uint64_t bits = numberAt(request, 1, 1);
    switch (logged.type) {
        case kGetDigests:
            return fmt::format("{}, slots 0x{:x}", name, bits & 0x0F);
        case kGetCertificate:
            return fmt::format("{}, slot {}, offset {}, length {}", name, bits & 0x03,
                               (bits & 0xE0) << 3 | numberAt(request, 2, 1),
                               (bits & 0x1C) << 6 | numberAt(request, 3, 1));
        case kChallenge:
            return fmt::format("{}, slot {}", name, bits & 0x03);
        default:
            return name;
    }
}

std::string describeAuthAnswer(const ByteVector& answer) {
    using namespace virtual_dock::wpc_auth;
    switch (numberAt(answer, 0, 1)) {
        case kDigests:
            return fmt::format("digests, populated 0x{:x}, given 0x{:x}",
                               numberAt(answer, 1, 1) >> 4, numberAt(answer, 1, 1) & 0x0F);
        case kCertificate:
            return "certificate piece";
        case kChallengeAuth:
            return fmt::format("signed challenge, chain hash ends in 0x{:02x}",
                               numberAt(answer, 2, 1));
        case kError:
            return fmt::format("error 0x{:02x}, data 0x{:02x}", numberAt(answer, 1, 1),
                               numberAt(answer, 2, 1));
        default:
            return "unknown authentication answer";
    }
}

std::string describeBidiRequest(const LoggedRequest& logged) {
    using namespace virtual_dock::bidi;
    if (isFirmware(logged.type)) return describeFirmwareRequest(logged);
    if (logged.type == kFan) return describeFanRequest(logged.request);
    const std::string name = nameOf(logged);
    if (logged.type != kChallenge) return name;
    return fmt::format("{}, value {}", name, numberAt(logged.request, 0, 1));
}

std::string describeBidiAnswer(const LoggedRequest& logged) {
    using namespace virtual_dock::bidi;
    switch (logged.type) {
        case kDockInformation:
            return describeDockInformation(logged.answer);
        case kFan:
            return describeFanAnswer(logged.answer);
        case kKeyExchange:
            return fmt::format("header 0x{:02x} and a key", numberAt(logged.answer, 0, 1));
        case kChallenge:
            return fmt::format("{} bytes", numberAt(logged.answer, 0, 1));
        default:
            return isFirmware(logged.type) ? describeFirmwareAnswer(logged) : "";
    }
}

std::string describePropRequest(const LoggedRequest& logged) {
    using namespace virtual_dock::prop;
    if (isFirmware(logged.type)) return describeFirmwareRequest(logged);
    const std::string name = nameOf(logged);
    if (logged.type != kEdsTest) return name;
    const bool loopback = numberAt(logged.request, 0, 1) == kEdsLoopback;
    return fmt::format("{}, {}", name, loopback ? "loopback" : "data");
}

std::string describePropAnswer(const LoggedRequest& logged) {
    using namespace virtual_dock::prop;
    if (isFirmware(logged.type)) return describeFirmwareAnswer(logged);
    if (logged.type == kEdsTest) return logged.answer == logged.request ? "the same bytes" : "";
    if (logged.type != kSkinTemperature) return "";
    return fmt::format("boost {} C, puck {} C", static_cast<int8_t>(numberAt(logged.answer, 0, 1)),
                       static_cast<int8_t>(numberAt(logged.answer, 1, 1)));
}

}  // namespace

uint64_t numberAt(const ByteVector& bytes, size_t at, size_t size) {
    uint64_t number = 0;
    for (size_t i = 0; i < size && at + i < bytes.size(); ++i) {
        number |= uint64_t{bytes[at + i]} << (8 * i);
    }
    return number;
}

std::string printable(const ByteVector& bytes, size_t from) {
    std::string text;
    for (size_t i = from; i < bytes.size(); ++i) {
        if (bytes[i] >= 0x20 && bytes[i] < 0x7F) {
            text += static_cast<char>(bytes[i]);
        } else {
            text += fmt::format("\\x{:02x}", bytes[i]);
        }
    }
    return text;
}

std::string nameOf(const LoggedRequest& logged) {
    const char* const name = virtual_dock::typeName(logged.operation, logged.type);
    return name != nullptr ? name : "unknown request";
}

std::string describeResult(uint32_t result) {
    const char* const name = virtual_dock::resultName(result);
    if (result == virtual_dock::kOk) return name;
    if (name != nullptr) return fmt::format("{} {}", result, name);
    return fmt::format("{}", static_cast<int32_t>(result));
}

std::string describeRequest(const LoggedRequest& logged) {
    switch (logged.operation) {
        case Operation::kGetWlcInfo:
        case Operation::kRtxRequest:
            return nameOf(logged);
        case Operation::kGetFeature:
            return fmt::format("query {}", static_cast<int64_t>(numberAt(logged.request, 0, 8)));
        case Operation::kSetFeature:
            return fmt::format("query {}, value 0x{:x}",
                               static_cast<int64_t>(numberAt(logged.request, 0, 8)),
                               numberAt(logged.request, 8, 8));
        case Operation::kBidiRequest:
            return describeBidiRequest(logged);
        case Operation::kPropRequest:
            return describePropRequest(logged);
        case Operation::kWpcAuthRequest:
            return describeAuthRequest(logged);
        case Operation::kSetQiId:
            return fmt::format("Qi ID {}", numberAt(logged.request, 0, 2));
        case Operation::kUploadFwUpdateData:
            return fmt::format("state {}, target code {}, result {}, starts {}, chunk {}",
                               numberAt(logged.request, 0, 1), numberAt(logged.request, 1, 1),
                               static_cast<int32_t>(numberAt(logged.request, 8, 4)),
                               numberAt(logged.request, 12, 4), numberAt(logged.request, 16, 4));
        case Operation::kGetPacketTlv:
            return fmt::format("element {} of {} bytes", logged.type, logged.request.size());
        case Operation::kGetAlignment:
        case Operation::kSetAuthStart:
            return {};
    }
    return {};
}

std::string describeAnswer(const LoggedRequest& logged) {
    if (logged.result != 0) return {};
    switch (logged.operation) {
        case Operation::kGetWlcInfo: {
            const auto value = static_cast<uint32_t>(numberAt(logged.answer, 0, 4));
            return fmt::format("{} (0x{:x})", static_cast<int32_t>(value), value);
        }
        case Operation::kGetAlignment:
            return fmt::format("state {}, sub-state {}, values {} {}",
                               numberAt(logged.answer, 0, 1), numberAt(logged.answer, 1, 1),
                               static_cast<int32_t>(numberAt(logged.answer, 2, 4)),
                               static_cast<int32_t>(numberAt(logged.answer, 6, 4)));
        case Operation::kGetFeature:
            return fmt::format("0x{:x}", numberAt(logged.answer, 0, 8));
        case Operation::kBidiRequest:
            return describeBidiAnswer(logged);
        case Operation::kPropRequest:
            return describePropAnswer(logged);
        case Operation::kWpcAuthRequest:
            return describeAuthAnswer(logged.answer);
        case Operation::kRtxRequest:
            return fmt::format("\"{}\"", printable(logged.answer));
        case Operation::kGetPacketTlv:
            return fmt::format("{} bytes at {}", numberAt(logged.answer, 4, 1),
                               numberAt(logged.answer, 0, 4));
        default:
            return {};
    }
}

}  // namespace dockctl
