// SPDX-License-Identifier: Apache-2.0
// The older firmware commands, which address the dock as a whole. They are sent without the request
// lock and leave the progress record alone.
#include <string.h>

#include <cstddef>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

enum LegacyRequest : int32_t {
    LEGACY_INFORMATION = 24,
    LEGACY_START = 25,
    LEGACY_CHUNK = 26,
    LEGACY_FIRST_MISSING_CHUNK = 27,
    LEGACY_EXECUTE = 28,
    LEGACY_EXECUTION_STATUS = 29,
    LEGACY_REBOOT = 30,
};

// Information answer.
constexpr size_t kLegacyInfoMaxSizeAt = 1;  // 32 bits
constexpr size_t kLegacyInfoByte4At = 4;
constexpr size_t kLegacyInfoByte5At = 5;

// Start: size (32 bits), chunk size, flags, major, minor, name; answered by one status byte.
constexpr size_t kLegacyStartHeaderSize = 8;
constexpr uint8_t kLegacyStartFresh = 0x80;
constexpr size_t kLegacyMaxName = Request::kSize - kLegacyStartHeaderSize - 1;  // and a zero byte
constexpr size_t kLegacyStartStatusAt = 0;
constexpr uint8_t kLegacyMaxStartStatus = 1;

// Chunk: number (16 bits), tag, data; answered by the next number.
constexpr size_t kLegacyChunkHeaderSize = 3;
constexpr size_t kLegacyMaxChunkData = Request::kSize - kLegacyChunkHeaderSize;
constexpr size_t kLegacyChunkNextAt = 0;  // 16 bits

// Missing-chunk answer.
constexpr size_t kLegacyMissingNumberAt = 0;  // 16 bits
constexpr size_t kLegacyMissingCountAt = 2;   // 16 bits

// Execute answer.
constexpr size_t kLegacyExecuteStatusAt = 0;
constexpr uint8_t kLegacyMaxExecuteStatus = 3;

// Execution-status answer.
constexpr size_t kLegacyStatusAt = 0;
constexpr size_t kLegacyProgressAt = 1;
constexpr int8_t kLegacyMaxStatus = 2;

}  // namespace

ScopedAStatus WirelessCharger::getUpdateInformation(UpdateInfo* out) {
    Request request;
    const ErrorCode error = sendBidiWithoutLock(LEGACY_INFORMATION, request);
    if (error != kNoError) return statusOf(error);
    out->maxSize = static_cast<int32_t>(request.get32(kLegacyInfoMaxSizeAt));
    out->infoByte4 = request.getSigned8(kLegacyInfoByte4At);
    out->infoByte5 = request.getSigned8(kLegacyInfoByte5At);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::updateStart(int32_t size, int8_t chunkSize, bool freshStart,
                                           const FirmwareVersion& newVersion,
                                           UpdateStartResponse* out) {
    *out = UpdateStartResponse();
    if (newVersion.name.size() > kLegacyMaxName) return statusOf(ErrorCode::INVALID_ARGUMENT);

    Request request;
    request.put32(static_cast<uint32_t>(size));
    request.put8(static_cast<uint8_t>(chunkSize));
    request.put8(freshStart ? kLegacyStartFresh : 0);
    request.put8(static_cast<uint8_t>(newVersion.major));
    request.put8(static_cast<uint8_t>(newVersion.minor));
    // The whole length is sent, but a zero byte ends the name: zeros follow it.
    const size_t nameLength = strlen(newVersion.name.c_str());
    for (size_t i = 0; i < newVersion.name.size(); i++) {
        request.put8(i < nameLength ? static_cast<uint8_t>(newVersion.name[i]) : 0);
    }
    const ErrorCode error = sendBidiWithoutLock(LEGACY_START, request);
    if (error != kNoError) return statusOf(error);
    return request.get8(kLegacyStartStatusAt) <= kLegacyMaxStartStatus
               ? ScopedAStatus::ok()
               : statusOf(ErrorCode::INVALID_RESPONSE);
}

ScopedAStatus WirelessCharger::sendChunk(char16_t chunkNumber, int8_t chunkTag,
                                         const std::vector<uint8_t>& data, char16_t* next) {
    if (data.size() > kLegacyMaxChunkData) return statusOf(ErrorCode::INVALID_ARGUMENT);

    *next = 0;
    Request request;
    request.put16(chunkNumber);
    request.put8(static_cast<uint8_t>(chunkTag));
    request.putBytes(data);
    const ErrorCode error = sendBidiWithoutLock(LEGACY_CHUNK, request);
    if (error != kNoError) return statusOf(error);
    *next = request.get16(kLegacyChunkNextAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getFirstMissingChunk(MissingChunk* out) {
    Request request;
    const ErrorCode error = sendBidiWithoutLock(LEGACY_FIRST_MISSING_CHUNK, request);
    if (error != kNoError) return statusOf(error);
    out->chunkNumber = request.get16(kLegacyMissingNumberAt);
    out->numChunks = request.get16(kLegacyMissingCountAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::executeUpdate(ExecuteStatus* out) {
    Request request;
    const ErrorCode error = sendBidiWithoutLock(LEGACY_EXECUTE, request);
    if (error != kNoError) return statusOf(error);
    const uint8_t status = request.get8(kLegacyExecuteStatusAt);
    if (status > kLegacyMaxExecuteStatus) return statusOf(ErrorCode::INVALID_RESPONSE);
    *out = static_cast<ExecuteStatus>(status);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::getUpdateExecutionStatus(UpdateStatus* out) {
    Request request;
    const ErrorCode error = sendBidiWithoutLock(LEGACY_EXECUTION_STATUS, request);
    if (error != kNoError) return statusOf(error);
    const int8_t status = request.getSigned8(kLegacyStatusAt);
    if (status >= 0 && status <= kLegacyMaxStatus) out->status = status;
    out->progress = request.getSigned8(kLegacyProgressAt);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::reboot() {
    return statusOf(errorOfResult(sendBidiRequest(LEGACY_REBOOT, nullptr, 0, nullptr, nullptr)));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
