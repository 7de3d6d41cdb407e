// SPDX-License-Identifier: Apache-2.0
#include "firmware_slot.h"

#include "extras.h"

namespace virtual_dock {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;

// The image as it runs. False when it cannot be expanded to exactly the announced size.
bool expand(const ImageTransfer& transfer, std::vector<uint8_t>* image) {
    const Bytes sent = transfer.bytes();
    if (transfer.request().compressedSize == 0) {
        image->assign(sent.begin(), sent.end());
        return true;
    }
    image->resize(transfer.request().imageSize);
    return extras().inflate(sent, image->data(), image->size());
}

}  // namespace

bool FirmwareSlot::takes(const TransferRequest& request) const {
    return ImageTransfer::isPossible(request) && request.imageSize <= maxSize &&
           request.compressedSize <= maxSize && request.chunkSize <= maxChunk;
}

Result FirmwareSlot::start(const TransferRequest& request, bool fresh, int64_t nowNs,
                           bool* resumed) {
    if (isApplying(nowNs)) return kBusy;
    if (!takes(request)) return kInvalidArgument;
    *resumed = !fresh && mKept.transfer.isOpen() && mKept.transfer.request() == request;
    if (*resumed) return kOk;
    mKept.transfer = ImageTransfer(request);
    mKept.execution.reset();
    return kOk;
}

Result FirmwareSlot::takeChunk(uint32_t number, Bytes data, int64_t nowNs, bool* expected,
                               bool* stored) {
    *stored = false;
    if (isApplying(nowNs)) return kBusy;
    if (!mKept.transfer.isOpen()) return kRefused;
    *expected = mKept.transfer.expects(number, data.size());
    if (!*expected) return kOk;
    ++mChunksTaken;
    *stored = forgetEvery == 0 || mChunksTaken % forgetEvery != 0;
    if (*stored) mKept.transfer.store(number, data);
    return kOk;
}

FirmwareSlot::Verdict FirmwareSlot::execute(int64_t nowNs) {
    if (!mKept.transfer.isOpen() || isApplying(nowNs)) return Verdict::kRefused;
    if (!mKept.transfer.isComplete()) return Verdict::kIncomplete;
    std::vector<uint8_t> image;
    if (rejectsImages || !expand(mKept.transfer, &image)) return Verdict::kInvalid;
    mKept.imageDigest = extras().sha256({image});
    mKept.imageSize = static_cast<uint32_t>(image.size());
    mKept.newVersion = {mKept.transfer.request().major, mKept.transfer.request().minor};
    mKept.execution = KeptSlot::Execution{nowNs, executeMs, failAt};
    return Verdict::kAccepted;
}

FirmwareSlot::Progress FirmwareSlot::progress(int64_t nowNs) const {
    if (!mKept.execution) return {};
    const KeptSlot::Execution& execution = *mKept.execution;
    const int64_t elapsedMs = std::max<int64_t>(0, nowNs - execution.startNs) / kNsPerMs;
    int64_t percent = 100;
    if (elapsedMs < execution.durationMs) percent = elapsedMs * 100 / execution.durationMs;
    const int32_t failAtPercent = execution.failAt;
    if (failAtPercent >= 0 && percent >= failAtPercent) {
        return {State::kFailed, static_cast<uint8_t>(failAtPercent)};
    }
    if (execution.aborted) return {State::kFailed, 0};
    return {percent < 100 ? State::kApplying : State::kIdle, static_cast<uint8_t>(percent)};
}

void FirmwareSlot::reboot(int64_t nowNs) {
    if (!mKept.execution) return;
    const Progress reached = progress(nowNs);
    if (reached.state == State::kIdle && reached.percent == 100) {
        version = mKept.newVersion;
        mKept.transfer = ImageTransfer();
        mKept.execution.reset();
    } else {
        mKept.execution->aborted = true;
    }
}

void FirmwareSlot::restore(KeptSlot kept, int64_t nowNs) {
    mKept = std::move(kept);
    if (mKept.transfer.isOpen() && !takes(mKept.transfer.request())) {
        mKept.transfer = ImageTransfer();
    }
    if (mKept.execution && mKept.execution->startNs > nowNs) {
        mKept.execution->startNs = nowNs;
        mKept.execution->aborted = true;
    }
}

}  // namespace virtual_dock
