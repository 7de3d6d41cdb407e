// SPDX-License-Identifier: Apache-2.0
#include "decode.h"

#include <fmt/core.h>

#include "dock/dock_information.h"

namespace dockctl {
namespace {

using virtual_dock::Operation;

std::string describeFanRequest(const ByteVector& request) {
    if (request.size() < 2 || request[0] != 0x0F) return "unknown fan frame";
    const int fan = request[1] & 0x07;
    switch (request[1] & 0xF8) {
        case 0xF8:
            return fmt::format("get fan {}", fan);
        case 0x00:
            return fmt::format("set fan {} automatic", fan);
        case 0x08:
            return fmt::format("set fan {} manual, level {}", fan, numberAt(request, 2, 2));
        default:
            return "unknown fan command";
    }
}

std::string describeFanAnswer(const ByteVector& answer) {
    std::string text = fmt::format(
        "{}, level {}", numberAt(answer, 1, 1) == 0 ? "valid" : "invalid", numberAt(answer, 2, 2));
    if (answer.size() > 4) {
        text += fmt::format(", speed {} rpm, drive {} per mille, {} mA", numberAt(answer, 4, 2),
                            numberAt(answer, 6, 2), numberAt(answer, 8, 2));
    }
    return text;
}

std::string describeDockInformation(const ByteVector& answer) {
    std::string text;
    for (int tag = 0; tag <= 4; ++tag) {
        virtual_dock::Bytes value;
        if (virtual_dock::findElement(answer, tag, &value) != virtual_dock::kOk) continue;
        const ByteVector bytes(value.begin(), value.end());
        if (!text.empty()) text += ", ";
        if (tag <= 2) text += fmt::format("text {} \"{}\"", tag, printable(bytes));
        if (tag == 3) text += fmt::format("flags 0x{:02x}", numberAt(bytes, 0, 1));
        if (tag == 4) {
            text += fmt::format("version {}.{} \"{}\"", numberAt(bytes, 0, 1),
                                numberAt(bytes, 1, 1), printable(bytes, 2));
        }
    }
    return text.empty() ? "no known element" : text;
}

std::string describeAuthRequest(const ByteVector& request) {
    switch (numberAt(request, 0, 1)) {
        case 0x19:
            return fmt::format("get digests, slots 0x{:x}", numberAt(request, 1, 1) & 0x0F);
        case 0x1A: {
            const uint64_t bits = numberAt(request, 1, 1);
            return fmt::format("get certificate, slot {}, offset {}, length {}", bits & 0x03,
                               (bits & 0xE0) << 3 | numberAt(request, 2, 1),
                               (bits & 0x1C) << 6 | numberAt(request, 3, 1));
        }
        case 0x1B:
            return fmt::format("challenge, slot {}", numberAt(request, 1, 1) & 0x03);
        default:
            return "unknown authentication request";
    }
}

std::string describeAuthAnswer(const ByteVector& answer) {
    switch (numberAt(answer, 0, 1)) {
        case 0x11:
            return fmt::format("digests, populated 0x{:x}, given 0x{:x}",
                               numberAt(answer, 1, 1) >> 4, numberAt(answer, 1, 1) & 0x0F);
        case 0x12:
            return "certificate piece";
        case 0x13:
            return fmt::format("signed challenge, chain hash ends in 0x{:02x}",
                               numberAt(answer, 2, 1));
        case 0x17:
            return fmt::format("error 0x{:02x}, data 0x{:02x}", numberAt(answer, 1, 1),
                               numberAt(answer, 2, 1));
        default:
            return "unknown authentication answer";
    }
}

std::string describeStatus(const LoggedRequest& logged) {
    constexpr const char* kSelectors[] = {"phone Qi specification",
                                          "dock compatibility",
                                          "maximum power",
                                          "negotiated power",
                                          "limit reason",
                                          "ptmc",
                                          "fan level",
                                          "dock identifier",
                                          "product"};
    if (logged.type < 0 || logged.type > 8) return "unknown selector";
    return kSelectors[logged.type];
}

std::string describeRtx(int32_t type) {
    constexpr const char* kRequests[] = {"supported?", "mode?",      "switch on",  "switch off",
                                         "connected?", "reading A?", "reading B?", "prmc?",
                                         "level?",     "error type?"};
    if (type < 1 || type > 10) return "unknown reverse-transmit request";
    return kRequests[type - 1];
}

bool isFirmware(int32_t type) {
    return type >= 24 && type <= 30;
}

std::string describeBidiRequest(const LoggedRequest& logged) {
    switch (logged.type) {
        case 0:
            return "dock information";
        case 12:
            return describeFanRequest(logged.request);
        case 16:
            return "key exchange";
        case 18:
            return fmt::format("challenge, value {}", numberAt(logged.request, 0, 1));
        default:
            return isFirmware(logged.type) ? describeFirmwareRequest(logged) : "unknown request";
    }
}

std::string describeBidiAnswer(const LoggedRequest& logged) {
    switch (logged.type) {
        case 0:
            return describeDockInformation(logged.answer);
        case 12:
            return describeFanAnswer(logged.answer);
        case 16:
            return fmt::format("header 0x{:02x} and a key", numberAt(logged.answer, 0, 1));
        case 18:
            return fmt::format("{} bytes", numberAt(logged.answer, 0, 1));
        default:
            return isFirmware(logged.type) ? describeFirmwareAnswer(logged) : "";
    }
}

std::string describePropRequest(const LoggedRequest& logged) {
    if (logged.type == 14) {
        return fmt::format("EDS test, {}",
                           numberAt(logged.request, 0, 1) == 1 ? "loopback" : "data");
    }
    if (logged.type == 23) return "skin temperature";
    return isFirmware(logged.type) ? describeFirmwareRequest(logged) : "unknown request";
}

std::string describePropAnswer(const LoggedRequest& logged) {
    if (logged.type == 14) return logged.answer == logged.request ? "the same bytes" : "";
    if (logged.type == 23) {
        return fmt::format("boost {} C, puck {} C",
                           static_cast<int8_t>(numberAt(logged.answer, 0, 1)),
                           static_cast<int8_t>(numberAt(logged.answer, 1, 1)));
    }
    return isFirmware(logged.type) ? describeFirmwareAnswer(logged) : "";
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

std::string describeResult(uint32_t result) {
    constexpr const char* kNames[] = {
        "ok",          "malformed packet", "unexpected answer", "invalid argument",
        "send failed", "failed",           "unavailable",       "timed out",
        "already",     "refused",          "internal error",    "receive failed",
        "busy",        "unsupported"};
    if (result == 0) return "ok";
    if (result < std::size(kNames)) return fmt::format("{} {}", result, kNames[result]);
    return fmt::format("{}", static_cast<int32_t>(result));
}

std::string describeRequest(const LoggedRequest& logged) {
    switch (logged.operation) {
        case Operation::kGetWlcInfo:
            return describeStatus(logged);
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
            return describeAuthRequest(logged.request);
        case Operation::kSetQiId:
            return fmt::format("Qi ID {}", numberAt(logged.request, 0, 2));
        case Operation::kUploadFwUpdateData:
            return fmt::format("state {}, target code {}, result {}, starts {}, chunk {}",
                               numberAt(logged.request, 0, 1), numberAt(logged.request, 1, 1),
                               static_cast<int32_t>(numberAt(logged.request, 8, 4)),
                               numberAt(logged.request, 12, 4), numberAt(logged.request, 16, 4));
        case Operation::kRtxRequest:
            return describeRtx(logged.type);
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
        default:
            return {};
    }
}

}  // namespace dockctl
