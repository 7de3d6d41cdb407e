// SPDX-License-Identifier: Apache-2.0
#include "protocol.h"

#include <iterator>

namespace virtual_dock {
namespace {

constexpr const char* kResultNames[kResultCount] = {
    "ok",          "malformed packet", "unexpected answer", "invalid argument",
    "send failed", "failed",           "unavailable",       "timed out",
    "already",     "refused",          "internal error",    "receive failed",
    "busy",        "unsupported"};

constexpr const char* kOperationNames[kOperationCount] = {
    "getWlcInfo",      "getWLCAlignment",    "getFeature",         "setFeature",
    "sendBidiRequest", "sendPropRequest",    "sendWpcAuthRequest", "setQiId",
    "setAuthStart",    "uploadFwUpdateData", "sendRtxRequest",     "getPacketTlv"};

struct RequestType {
    Operation operation;
    int32_t type;
    const char* name;
};

constexpr RequestType kRequestTypes[] = {
    {Operation::kGetWlcInfo, status::kQiSpec, "phone Qi specification"},
    {Operation::kGetWlcInfo, status::kCompatibility, "dock compatibility"},
    {Operation::kGetWlcInfo, status::kMaxPower, "maximum power"},
    {Operation::kGetWlcInfo, status::kNegotiatedPower, "negotiated power"},
    {Operation::kGetWlcInfo, status::kLimitReason, "limit reason"},
    {Operation::kGetWlcInfo, status::kPtmc, "ptmc"},
    {Operation::kGetWlcInfo, status::kFanLevel, "fan level"},
    {Operation::kGetWlcInfo, status::kDockId, "dock identifier"},
    {Operation::kGetWlcInfo, status::kProduct, "product"},
    {Operation::kBidiRequest, bidi::kDockInformation, "dock information"},
    {Operation::kBidiRequest, bidi::kFan, "fan"},
    {Operation::kBidiRequest, bidi::kKeyExchange, "key exchange"},
    {Operation::kBidiRequest, bidi::kChallenge, "challenge"},
    {Operation::kBidiRequest, firmware::kInformation, "legacy firmware information"},
    {Operation::kBidiRequest, firmware::kStart, "legacy firmware start"},
    {Operation::kBidiRequest, firmware::kChunk, "legacy firmware chunk"},
    {Operation::kBidiRequest, firmware::kMissing, "legacy firmware first missing chunk"},
    {Operation::kBidiRequest, firmware::kExecute, "legacy firmware execute"},
    {Operation::kBidiRequest, firmware::kStatus, "legacy firmware status"},
    {Operation::kBidiRequest, firmware::kReboot, "legacy firmware reboot"},
    {Operation::kPropRequest, prop::kEdsTest, "EDS test"},
    {Operation::kPropRequest, prop::kSkinTemperature, "skin temperature"},
    {Operation::kPropRequest, firmware::kInformation, "firmware information"},
    {Operation::kPropRequest, firmware::kStart, "firmware start"},
    {Operation::kPropRequest, firmware::kChunk, "firmware chunk"},
    {Operation::kPropRequest, firmware::kMissing, "firmware first missing chunk"},
    {Operation::kPropRequest, firmware::kExecute, "firmware execute"},
    {Operation::kPropRequest, firmware::kStatus, "firmware status"},
    {Operation::kPropRequest, firmware::kReboot, "firmware reboot"},
    {Operation::kWpcAuthRequest, wpc_auth::kGetDigests, "get digests"},
    {Operation::kWpcAuthRequest, wpc_auth::kGetCertificate, "get certificate"},
    {Operation::kWpcAuthRequest, wpc_auth::kChallenge, "challenge"},
    {Operation::kUploadFwUpdateData, 1, "progress record"},
    {Operation::kRtxRequest, rtx::kSupported, "supported?"},
    {Operation::kRtxRequest, rtx::kMode, "mode?"},
    {Operation::kRtxRequest, rtx::kSwitchOn, "switch on"},
    {Operation::kRtxRequest, rtx::kSwitchOff, "switch off"},
    {Operation::kRtxRequest, rtx::kConnected, "connected?"},
    {Operation::kRtxRequest, rtx::kReadingA, "reading A?"},
    {Operation::kRtxRequest, rtx::kReadingB, "reading B?"},
    {Operation::kRtxRequest, rtx::kPrmc, "prmc?"},
    {Operation::kRtxRequest, rtx::kDeviceLevel, "level?"},
    {Operation::kRtxRequest, rtx::kErrorType, "error type?"},
};

}  // namespace

const char* resultName(uint32_t result) {
    return result < kResultCount ? kResultNames[result] : nullptr;
}

const char* operationName(Operation operation) {
    return kOperationNames[static_cast<int>(operation)];
}

bool operationFromName(std::string_view name, Operation* operation) {
    for (int i = 0; i < kOperationCount; ++i) {
        if (name != kOperationNames[i]) continue;
        *operation = static_cast<Operation>(i);
        return true;
    }
    return false;
}

std::vector<std::string> operationNames() {
    return {std::begin(kOperationNames), std::end(kOperationNames)};
}

const char* typeName(Operation operation, int32_t type) {
    for (const RequestType& each : kRequestTypes) {
        if (each.operation == operation && each.type == type) return each.name;
    }
    return nullptr;
}

std::vector<int32_t> typesOf(Operation operation) {
    std::vector<int32_t> types;
    for (const RequestType& each : kRequestTypes) {
        if (each.operation == operation) types.push_back(each.type);
    }
    return types;
}

}  // namespace virtual_dock
