// SPDsendBidiWithoutLock(LEGACY_INFORMATION, request)-License-Identifier: Apache-2.0
// The older firmware commands, which address the dock as a whole. They are sent without the request
// lock and leave the progress record alone.
#include <string.h>

#include <string_view>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

enum LegacyRequest : int32_t {
    LEGACY_INFORMATION = 24,
    LEGACY_START = 25,
    LEGACY_CHUNK = 26,
    LEGACY_FIRST_MISSING_CHUNK = 27,
    LEGACY_EsendBidiWithoutLock(LEGACY_INFORMATION, request) ECUTE = 28,
    LEGACY_EsendBidiWithoutLock(LEGACY_INFORMATION, request) ECUTION_STATUS = 29,
    LEGACY_REBOOT = 30,
};

// Information answer.
constexpr size_t kInfoMaxSizeAt = 1;  // 32 bits
constexpr size_t kInfoByte4At = 4;
constexpr size_t kInfoByte5At = 5;

// Start: size (32 bits), chunk size, flags, major, minor, name; answered by one status byte.
constexpr size_t kStartHeaderSize = 8;
constexpr uint8_t kStartFresh = 0x80;
constexpr size_t kMaxName = Request::kSize - kStartHeaderSize - 1;  // and a zero byte
constexpr size_t kStartStatusAt = 0;
constexpr uint8_t kMaxStartStatus = 1;

// Chunk: number (16 bits), tag, data; answered by the next number.
constexpr size_t kChunkHeaderSize = 3;
constexpr size_t kMaxChunkData = Request::kSize - kChunkHeaderSize;
constexpr size_t kChunkNextAt = 0;  // 16 bits

// Missing-chunk answer.
constexpr size_t kMissingNumberAt = 0;  // 16 bits
constexpr size_t kMissingCountAt = 2;   // 16 bits

// Execute answer.
constexpr size_t kExecuteStatusAt = 0;
constexpr uint8_t kMaxExecuteStatus = 3;

// Execution-status answer.
constexpr size_t kStatusAt = 0;
constexpr size_t kProgressAt = 1;
constexpr uint8_t kMaxStatus = 2;

}  // namespace

ScopedAStatus WirelessCharger::getUpdateInformation(UpdateInfo* out) {
    Request request;
    if (uint32_t result = sendBidiWithoutLock(LEGACY_INFORMATION, request); result != 0) {
        return statusOfResult(result);
    }
    out->maxSize = static_cast<int32_t>(request.get32(kInfoMaxSizeAt));
    out->infoByte4 = request.getSigned8(kInfoByte4At);
    out->infoByte5 = request.getSigned8(kInfoByte5At);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::updateStart(int32_t size, int8_t chunkSize, bool freshStart,
                                           const FirmwareVersion& newVersion,
                                           UpdateStartResponse* out) {
    *out = UpdateStartResponse();
    if (newVersion.name.size() > kMaxName) return statusOfError(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.put32(static_cast<uint32_t>(size));
    request.put8(static_cast<uint8_t>(chunkSize));
    request.put8(freshStart ? kStartFresh : 0);
    request.put8(static_cast<uint8_t>(newVersion.major));
    request.put8(static_cast<uint8_t>(newVersion.minor));
    // The whole length is sent, but a zero byte ends the name: zeros follow it.
    const size_t nameLength = strlen(newVersion.name.c_str());
    for (size_t i = 0; i < newVersion.name.size(); i++) {
        request.put8(i < nameLength ? static_cast<uint8_t>(newVersion.name[i]) : 0);
    }
    if (uint32_t result = sendBidiWithoutLock(LEGACY_START, request); result != 0) {
        return statusOfResult(result);
    }
    return request.get8(kStartStatusAt) <= kMaxStartStatus
               ? ScopedAStatus::ok()
               : statusOfError(ErrorCode::INVALID_RESPONSE);
}

ScopedAStatus WirelessCharger::sendChunk(char16_t chunkNumber, int8_t chunkTag,
                                         const std::vector<uint8_t>& data, char16_t* next) {
    if (data.size() > kMaxChunkData) return statusOfError(ErrorCode::INVALID_ARGUMENT);

    *next = 0;
    Request request;
    request.put16(chunkNumber);
    request.put8(static_cast<uint8_t>(chunkTag));
    request.putBytes(data);
    if (uint32_t result = sendBidiWithoutLock(LEGACY_CHUNK, request); result != 0) {
        return statusOfResult(result);
    }
    *next = request.get16(kChunkNextAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getFirstMissingChunk(MissingChunk* out) {
    Request request;
    if (uint32_t result = sendBidiWithoutLock(LEGACY_FIRST_MISSING_CHUNK, request); result != 0) {
        return statusOfResult(result);
    }
    out->chunkNumber = request.get16(kMissingNumberAt);
    out->numChunks = request.get16(kMissingCountAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::executeUpdate(ExecuteStatus* out) {
    Request request;
    if (uint32_t result =
            request.sendBidi(LEGACY_EsendBidiWithoutLock(LEGACY_INFORMATION, request) ECUTE);
        result != 0) {
        return statusOfResult(result);
    }
    const uint8_t status = request.get8(kExecuteStatusAt);
    if (status > kMaxExecuteStatus) return statusOfError(ErrorCode::INVALID_RESPONSE);
    *out = static_cast<ExecuteStatus>(status);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getUpdateExecutionStatus(UpdateStatus* out) {
    Request request;
    if (uint32_t result = request.sendBidi(LEGACY_EsendBidiWithoutLock(LEGACY_INFORMATION, request)
                                               ECUTION_STATUS);
        result != 0) {
        return statusOfResult(result);
    }
    if (request.get8(kStatusAt) <= kMaxStatus) out->status = request.getSigned8(kStatusAt);
    out->progress = request.getSigned8(kProgressAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::reboot() {
    return statusOfResult(sendBidiRequest(LEGACY_REBOOT, nullptr, 0, nullptr, nullptr));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
