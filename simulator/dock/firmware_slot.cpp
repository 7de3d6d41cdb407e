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

Result FirmwareSlot::start(const TransferRequest& request, bool fresh, int64_t nowNs,
                           bool* resumed) {
    if (isApplying(nowNs)) return kBusy;
    if (!ImageTransfer::isPossible(request) || request.imageSize > maxSize ||
        request.compressedSize > maxSize || request.chunkSize > maxChunk) {
        return kInvalidArgument;
    }
    *resumed = !fresh && mTransfer.isOpen() && mTransfer.request() == request;
    if (*resumed) return kOk;
    mTransfer = ImageTransfer(request);
    mExecution.reset();
    return kOk;
}

Result FirmwareSlot::takeChunk(uint32_t number, Bytes data, int64_t nowNs, bool* expected) {
    if (isApplying(nowNs)) return kBusy;
    if (!mTransfer.isOpen()) return kRefused;
    *expected = mTransfer.expects(number, data.size());
    if (!*expected) return kOk;
    ++mChunksTaken;
    if (forgetEvery == 0 || mChunksTaken % forgetEvery != 0) mTransfer.store(number, data);
    return kOk;
}

FirmwareSlot::Verdict FirmwareSlot::execute(int64_t nowNs) {
    if (!mTransfer.isOpen() || isApplying(nowNs)) return Verdict::kRefused;
    if (!mTransfer.isComplete()) return Verdict::kIncomplete;
    std::vector<uint8_t> image;
    if (rejectsImages || !expand(mTransfer, &image)) return Verdict::kInvalid;
    mImageDigest = extras().sha256({image});
    mImageSize = static_cast<uint32_t>(image.size());
    mNewVersion = {mTransfer.request().major, mTransfer.request().minor};
    mExecution = Execution{nowNs, executeMs, failAt};
    return Verdict::kAccepted;
}

FirmwareSlot::Progress FirmwareSlot::progress(int64_t nowNs) const {
    if (!mExecution) return {};
    const int64_t elapsedMs = std::max<int64_t>(0, nowNs - mExecution->startNs) / kNsPerMs;
    int64_t percent = 100;
    if (elapsedMs < mExecution->durationMs) percent = elapsedMs * 100 / mExecution->durationMs;
    const int32_t failAtPercent = mExecution->failAt;
    if (failAtPercent >= 0 && percent >= failAtPercent) {
        return {State::kFailed, static_cast<uint8_t>(failAtPercent)};
    }
    if (mExecution->aborted) return {State::kFailed, 0};
    return {percent < 100 ? State::kApplying : State::kIdle, static_cast<uint8_t>(percent)};
}

void FirmwareSlot::reboot(int64_t nowNs) {
    if (!mExecution) return;
    const Progress reached = progress(nowNs);
    if (reached.state == State::kIdle && reached.percent == 100) {
        version = mNewVersion;
        mTransfer = ImageTransfer();
        mExecution.reset();
    } else {
        mExecution->aborted = true;
    }
}

}  // namespace virtual_dock
