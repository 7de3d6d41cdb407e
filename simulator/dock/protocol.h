// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// The operations of the two libraries and the numbers of the charging protocol, each with its name:
// for the dock, which answers them, and for dockctl, which explains them.
namespace virtual_dock {

// The outcomes of a request.
enum Result : uint32_t {
    kOk = 0,
    kMalformedPacket = 1,
    kUnexpectedAnswer = 2,
    kInvalidArgument = 3,
    kSendFailed = 4,
    kFailed = 5,
    kUnavailable = 6,  // no dock is there, or it has no such value
    kTimedOut = 7,
    kAlreadyDone = 8,
    kRefused = 9,  // not in the present state
    kInternalError = 10,
    kReceiveFailed = 11,
    kBusy = 12,
    kUnsupported = 13,
};
constexpr uint32_t kResultCount = 14;
const char* resultName(uint32_t result);  // null beyond the table

// The operations of the two libraries. The numbers are those of the dock process's protocol.
enum class Operation : uint8_t {
    kGetWlcInfo,
    kGetAlignment,
    kGetFeature,
    kSetFeature,
    kBidiRequest,
    kPropRequest,
    kWpcAuthRequest,
    kSetQiId,
    kSetAuthStart,
    kUploadFwUpdateData,
    kRtxRequest,
    kGetPacketTlv,
};
constexpr int kOperationCount = 12;

// The name of the C function.
const char* operationName(Operation operation);
bool operationFromName(std::string_view name, Operation* operation);
std::vector<std::string> operationNames();

// What a request type of an operation is called; null when there is no such type. Operations
// without request types have none at all.
const char* typeName(Operation operation, int32_t type);
std::vector<int32_t> typesOf(Operation operation);

// Request types: getWlcInfo.
namespace status {
enum Type : int32_t {
    kQiSpec = 0,
    kCompatibility = 1,
    kMaxPower = 2,
    kNegotiatedPower = 3,
    kLimitReason = 4,
    kPtmc = 5,
    kFanLevel = 6,
    kDockId = 7,
    kProduct = 8,
};
}  // namespace status

// sendBidiRequest, beside firmware::Type.
namespace bidi {
enum Type : int32_t { kDockInformation = 0, kFan = 12, kKeyExchange = 16, kChallenge = 18 };
}  // namespace bidi

// sendPropRequest, beside firmware::Type.
namespace prop {
enum Type : int32_t { kEdsTest = 14, kSkinTemperature = 23 };

// Byte 0 of an EDS test packet.
constexpr uint8_t kEdsData = 0;
constexpr uint8_t kEdsLoopback = 1;
}  // namespace prop

// Firmware update by sendPropRequest (with a target), the older one by sendBidiRequest.
namespace firmware {
enum Type : int32_t {
    kInformation = 24,
    kStart = 25,
    kChunk = 26,
    kMissing = 27,
    kExecute = 28,
    kStatus = 29,
    kReboot = 30,
};
constexpr bool isFirmware(int32_t type) {
    return type >= kInformation && type <= kReboot;
}

// Flags of a start; of the target in a chunk's answer.
constexpr uint8_t kFlagFresh = 0x80;
constexpr uint8_t kFlagCompressed = 0x40;
constexpr uint8_t kUnexpectedChunk = 0x80;
}  // namespace firmware

// sendWpcAuthRequest. Also byte 0 of the request: protocol version 1 above, message type below.
namespace wpc_auth {
enum Type : int32_t { kGetDigests = 0x19, kGetCertificate = 0x1A, kChallenge = 0x1B };

// Byte 0 of the answer.
constexpr uint8_t kDigests = 0x11;
constexpr uint8_t kCertificate = 0x12;
constexpr uint8_t kChallengeAuth = 0x13;
constexpr uint8_t kError = 0x17;
}  // namespace wpc_auth

// sendRtxRequest.
namespace rtx {
enum Type : int32_t {
    kSupported = 1,
    kMode = 2,
    kSwitchOn = 3,
    kSwitchOff = 4,
    kConnected = 5,
    kReadingA = 6,
    kReadingB = 7,
    kPrmc = 8,
    kDeviceLevel = 9,
    kErrorType = 10,
};
}  // namespace rtx

// The fan frame: byte 0 the function, byte 1 the command in its upper five bits and the fan in the
// lower three, bytes 2 and 3 the level of a manual setting.
namespace fan_frame {
constexpr uint8_t kFunction = 0x0F;
constexpr uint8_t kFanMask = 0x07;
constexpr uint8_t kSetAuto = 0x00;
constexpr uint8_t kSetManual = 0x08;
constexpr uint8_t kGet = 0xF8;

// Byte 1 of the answer.
constexpr uint8_t kValid = 0;
constexpr uint8_t kInvalid = 1;
}  // namespace fan_frame

// The elements of the dock information; texts have the tags below these.
namespace element {
constexpr uint8_t kFlags = 3;
constexpr uint8_t kVersion = 4;
}  // namespace element

}  // namespace virtual_dock
