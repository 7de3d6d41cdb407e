// SPDX-License-Identifier: Apache-2.0
// New firmware for a target of the dock. The client drives the transfer; the service keeps no more
// than the progress record that it uploads at each change of phase.
#include <android/log.h>

#include <cstddef>

#include "WirelessCharger.h"
#include "protocol/chargelink.h"
#include "result_status.h"

namespace aidl::vendor::zorvak::wireless_charger {

using ndk::ScopedAStatus;

namespace {

enum FwRequest : int32_t {
    FW_INFORMATION = 24,
    FW_START = 25,
    FW_CHUNK = 26,
    FW_FIRST_MISSING_CHUNK = 27,
    FW_EXECUTE = 28,
    FW_EXECUTION_STATUS = 29,
    FW_REBOOT = 30,
};

// Every request begins with the target; every answer but a chunk's repeats it.
constexpr size_t kTargetAt = 0;

// Information answer.
constexpr size_t kInfoMaxSizeAt = 1;  // 32 bits
constexpr size_t kInfoMaxChunkSizeAt = 5;
constexpr size_t kInfoMajorAt = 6;
constexpr size_t kInfoMinorAt = 7;

// Start: flags of the request; the answer.
constexpr uint8_t kStartFresh = 0x80;
constexpr uint8_t kStartCompressed = 0x40;
constexpr size_t kStartResumeAt = 1;
constexpr size_t kStartChunkSizeAt = 2;
constexpr size_t kStartMissingPercentAt = 3;

// Chunk: target, number (16 bits), tag, data; the answer.
constexpr size_t kChunkHeaderSize = 4;
constexpr size_t kMaxChunkData = Request::kSize - kChunkHeaderSize;
constexpr size_t kChunkFlagsAt = 0;
constexpr uint8_t kChunkUnexpected = 0x80;
constexpr uint8_t kChunkTargetBit = 0x01;
constexpr size_t kChunkNextAt = 1;  // 16 bits
constexpr size_t kChunkBoostTempAt = 3;
constexpr size_t kChunkPuckTempAt = 4;

// Missing-chunk answer.
constexpr size_t kMissingNumberAt = 1;  // 16 bits
constexpr size_t kMissingCountAt = 3;   // 16 bits

// Execute answer.
constexpr size_t kExecuteStatusAt = 1;
constexpr uint8_t kMaxExecuteStatus = 3;

// Execution-status answer.
constexpr size_t kStatusAt = 1;
constexpr size_t kProgressAt = 2;
constexpr uint8_t kMaxStatus = 2;
constexpr int8_t kStatusOther = 16;

// Outcomes in the progress record; an execute status n above 0 is -n.
constexpr int32_t kResultNone = 0;
constexpr int32_t kResultAccepted = 1;
constexpr int32_t kResultStarted = 2;
constexpr int32_t kResultResumed = 3;

uint8_t targetCodeOf(int8_t target) {
    return target == 1 ? 3 : 2;
}

uint8_t lowByte(int32_t value) {
    return static_cast<uint8_t>(value);
}

/** A request that begins with its target. */
Request requestTo(int8_t target) {
    Request request;
    request.put8(static_cast<uint8_t>(target));
    return request;
}

// The error of the two internal functions is a byte.
uint8_t codeOf(ErrorCode error) {
    return static_cast<uint8_t>(error);
}

ScopedAStatus statusOfCode(uint8_t code) {
    return statusOf(static_cast<ErrorCode>(code));
}

}  // namespace

void WirelessCharger::uploadFwUpdate() {
    const FwUpdateData copy = mFwUpdateData;
    uploadFwUpdateData(&copy, 1);
}

ScopedAStatus WirelessCharger::getFwUpdateInformation(int8_t target, FwUpdateInfo* out) {
    Request request = requestTo(target);
    const ErrorCode error = sendPropUnderLock(FW_INFORMATION, request);
    if (error != kNoError) return statusOf(error);
    out->target = request.getSigned8(kTargetAt);
    out->maxSize = static_cast<int32_t>(request.get32(kInfoMaxSizeAt));
    out->maxChunkSize = request.getSigned8(kInfoMaxChunkSizeAt);
    out->version.major = request.get8(kInfoMajorAt);
    out->version.minor = request.get8(kInfoMinorAt);
    {
        std::lock_guard lock(mFwUpdateLock);
        mFwUpdateData.currentMajor = request.get8(kInfoMajorAt);
        mFwUpdateData.currentMinor = request.get8(kInfoMinorAt);
        if (const uint8_t code = targetCodeOf(out->target); code != mFwUpdateData.targetCode) {
            mFwUpdateData.targetCode = code;
            mFwUpdateData.startCount = 0;
        }
        if (mFwUpdateData.state == kFwStateIdle) {
            if (DockPresent dock; isDockPresent(&dock).isOk()) mFwUpdateData.dockId = dock.id;
            mFwUpdateData.result = kResultNone;
            mFwUpdateData.state = kFwStateReported;
            uploadFwUpdate();
            mFwUpdateData.state = kFwStateIdle;
        }
    }
    __android_log_print(
        ANDROID_LOG_INFO, nullptr,
        "getFwUpdateInfo: target=%d, maxSize=%d, maxChunkSize=%d, version=0x%02x 0x%02x",
        out->target, out->maxSize, out->maxChunkSize, out->version.major, out->version.minor);
    return ScopedAStatus::ok();
}

uint8_t WirelessCharger::updateStartInternal(int8_t target, int32_t size, int8_t chunkSize,
                                             bool freshStart, int32_t compressSize,
                                             const FirmwareVersion& newVersion,
                                             FwUpdateStartResponse* response) {
    const bool compressed = compressSize != 0;
    Request request = requestTo(target);
    request.put32(static_cast<uint32_t>(size));
    request.put8(static_cast<uint8_t>(chunkSize));
    request.put8((freshStart ? kStartFresh : 0) | (compressed ? kStartCompressed : 0));
    request.put8(lowByte(newVersion.major));
    request.put8(lowByte(newVersion.minor));
    if (compressed) request.put32(static_cast<uint32_t>(compressSize));
    {
        std::lock_guard lock(mFwUpdateLock);
        mFwUpdateData.newMajor = lowByte(newVersion.major);
        mFwUpdateData.newMinor = lowByte(newVersion.minor);
        mFwUpdateData.startCount++;
        if (freshStart) {
            mFwUpdateData.chunkNumber = 0;
            if (mFwUpdateData.state != kFwStateTransfer) {
                mFwUpdateData.state = kFwStateTransfer;
                mFwUpdateData.result = kResultStarted;
                uploadFwUpdate();
            }
        }
    }
    __android_log_print(ANDROID_LOG_INFO, nullptr,
                        "fwUpdateStart s: target=%d, uncompressSize=%d, chunkSize=%d, resume=%d, "
                        "version=0x%02x 0x%02x, compressSize=%d",
                        target, size, chunkSize, freshStart ? 0 : 1, newVersion.major,
                        newVersion.minor, compressSize);
    const ErrorCode error = sendPropUnderLock(FW_START, request);
    if (error != kNoError) return codeOf(error);
    const uint8_t resume = request.get8(kStartResumeAt);
    if (resume > 1) return codeOf(ErrorCode::INVALID_RESPONSE);
    response->resume = static_cast<int8_t>(resume);
    response->chunkSize = request.getSigned8(kStartChunkSizeAt);
    response->progress = 100 - request.get8(kStartMissingPercentAt);
    response->target = request.getSigned8(kTargetAt);
    __android_log_print(ANDROID_LOG_INFO, nullptr,
                        "fwUpdateStart r: target=%d, chunkSize=%d, progress=%d, resume=%d, "
                        "result=%d",
                        response->target, response->chunkSize, response->progress, resume, resume);
    return codeOf(kNoError);
}

ScopedAStatus WirelessCharger::fwUpdateStart(int8_t target, int32_t size, int8_t chunkSize,
                                             bool freshStart, const FirmwareVersion& newVersion,
                                             FwUpdateStartResponse* out) {
    return statusOfCode(
        updateStartInternal(target, size, chunkSize, freshStart, 0, newVersion, out));
}

ScopedAStatus WirelessCharger::compressFwUpdateStart(int8_t target, int32_t size, int8_t chunkSize,
                                                     bool freshStart, int32_t compressSize,
                                                     const FirmwareVersion& newVersion,
                                                     FwUpdateStartResponse* out) {
    return statusOfCode(
        updateStartInternal(target, size, chunkSize, freshStart, compressSize, newVersion, out));
}

uint8_t WirelessCharger::sendChunkInternal(int8_t target, int32_t chunkNumber, int8_t chunkTag,
                                           const std::vector<uint8_t>& data,
                                           ChunkResponse* response) {
    if (data.size() > kMaxChunkData) return codeOf(ErrorCode::INVALID_ARGUMENT);
    Request request = requestTo(target);
    request.put16(static_cast<uint16_t>(chunkNumber));
    request.put8(static_cast<uint8_t>(chunkTag));
    request.putBytes(data);
    const ErrorCode error = sendPropUnderLock(FW_CHUNK, request);
    if (error != kNoError) return codeOf(error);
    const uint8_t flags = request.get8(kChunkFlagsAt);
    if (flags & kChunkUnexpected) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "sendFwChunk: unexpected chunk");
        return codeOf(ErrorCode::INVALID_RESPONSE);
    }
    if ((flags & kChunkTargetBit) != static_cast<uint8_t>(target)) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr, "sendFwChunk: target not match");
        return codeOf(ErrorCode::INVALID_RESPONSE);
    }
    response->boostTemp = request.getSigned8(kChunkBoostTempAt);
    response->puckTemp = request.getSigned8(kChunkPuckTempAt);
    response->next = request.get16(kChunkNextAt);
    {
        std::lock_guard lock(mFwUpdateLock);
        mFwUpdateData.chunkNumber = chunkNumber;
    }
    __android_log_print(ANDROID_LOG_INFO, nullptr, "sendFwChunk: target=%d, next=%d", target,
                        response->next);
    __android_log_print(ANDROID_LOG_INFO, nullptr, "boostTemp: %d, puckTemp:%d",
                        response->boostTemp, response->puckTemp);
    return codeOf(kNoError);
}

ScopedAStatus WirelessCharger::sendFwChunk(int8_t target, int32_t chunkNumber, int8_t chunkTag,
                                           const std::vector<uint8_t>& data, int32_t* next) {
    *next = 0;
    ChunkResponse response;
    const uint8_t code = sendChunkInternal(target, chunkNumber, chunkTag, data, &response);
    if (code == codeOf(kNoError)) *next = response.next;
    return statusOfCode(code);
}

ScopedAStatus WirelessCharger::sendCompressFwChunk(int8_t target, int32_t chunkNumber,
                                                   int8_t chunkTag,
                                                   const std::vector<uint8_t>& data,
                                                   ChunkResponse* out) {
    return statusOfCode(sendChunkInternal(target, chunkNumber, chunkTag, data, out));
}

ScopedAStatus WirelessCharger::getFirstFwMissingChunk(int8_t target, FwMissingChunk* out) {
    Request request = requestTo(target);
    const ErrorCode error = sendPropUnderLock(FW_FIRST_MISSING_CHUNK, request);
    if (error != kNoError) return statusOf(error);
    out->target = request.getSigned8(kTargetAt);
    out->chunkNumber = request.get16(kMissingNumberAt);
    out->numChunks = request.get16(kMissingCountAt);
    {
        std::lock_guard lock(mFwUpdateLock);
        mFwUpdateData.chunkNumber = out->chunkNumber;
        if (mFwUpdateData.state != kFwStateTransfer) {
            mFwUpdateData.state = kFwStateTransfer;
            mFwUpdateData.result = kResultResumed;
            uploadFwUpdate();
        }
    }
    __android_log_print(ANDROID_LOG_INFO, nullptr,
                        "getFirstFwMissingChunk: target=%d, chunkNumber=%d, numChunks=%d",
                        out->target, out->chunkNumber, out->numChunks);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::fwExecuteUpdate(int8_t target, ExecuteStatus* out) {
    __android_log_print(ANDROID_LOG_INFO, nullptr, "fwExecuteUpdate: target=%d", target);
    Request request = requestTo(target);
    ErrorCode error = sendPropUnderLock(FW_EXECUTE, request);
    const int answeredTarget = request.get8(kTargetAt);
    const uint8_t status = request.get8(kExecuteStatusAt);
    if (error == kNoError && answeredTarget != target) {
        __android_log_print(ANDROID_LOG_ERROR, nullptr,
                            "update target not match! rx send=0x%02x, tx response=0x%02x",
                            static_cast<unsigned int>(target),
                            static_cast<unsigned int>(answeredTarget));
        error = ErrorCode::INVALID_RESPONSE;
    } else if (error == kNoError) {
        __android_log_print(ANDROID_LOG_INFO, nullptr, "fwExecuteUpdate: target=%d, status=%d",
                            target, status);
        if (status > kMaxExecuteStatus) error = ErrorCode::INVALID_RESPONSE;
    }
    int32_t recordResult = kResultNone;
    if (error == kNoError) {
        *out = static_cast<ExecuteStatus>(status);
        recordResult = status == 0 ? kResultAccepted : -static_cast<int32_t>(status);
    }
    std::lock_guard lock(mFwUpdateLock);
    mFwUpdateData.targetCode = targetCodeOf(target);
    mFwUpdateData.result = recordResult;
    mFwUpdateData.state = kFwStateExecuted;
    uploadFwUpdate();
    return statusOf(error);
}

ScopedAStatus WirelessCharger::getFwUpdateExecutionStatus(int8_t target, FwUpdateStatus* out) {
    Request request = requestTo(target);
    const ErrorCode error = sendPropUnderLock(FW_EXECUTION_STATUS, request);
    if (error != kNoError) return statusOf(error);
    out->status =
        request.get8(kStatusAt) <= kMaxStatus ? request.getSigned8(kStatusAt) : kStatusOther;
    out->progress = request.getSigned8(kProgressAt);
    out->target = request.getSigned8(kTargetAt);
    __android_log_print(ANDROID_LOG_INFO, nullptr,
                        "getFwUpdateExeStatus: target=%d, status=%d, progress=%d", out->target,
                        out->status, out->progress);
    return ScopedAStatus::ok();
}

ScopedAStatus WirelessCharger::sendReboot() {
    std::lock_guard lock(mRequestLock);
    return statusOf(
        errorOfResult(sendPropRequest(FW_REBOOT, nullptr, 0, nullptr, nullptr, kPropTimeLimit)));
}

}  // namespace aidl::vendor::zorvak::wireless_charger
