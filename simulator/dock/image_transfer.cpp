// SPDX-License-Identifier: Apache-2.0
#include "image_transfer.h"

namespace virtual_dock {
namespace {

uint64_t chunksOf(const TransferRequest& request) {
    return (uint64_t{request.sentSize()} + request.chunkSize - 1) / request.chunkSize;
}

}  // namespace

bool ImageTransfer::isPossible(const TransferRequest& request) {
    return request.imageSize != 0 && request.chunkSize != 0 && chunksOf(request) <= kMaxChunks;
}

ImageTransfer::ImageTransfer(const TransferRequest& request)
    : mRequest(request),
      mBytes(request.sentSize()),
      mReceived(static_cast<size_t>(chunksOf(request))),
      mMissing(static_cast<uint32_t>(mReceived.size())) {}

Bytes ImageTransfer::chunk(uint32_t number) const {
    const size_t begin = size_t{number} * mRequest.chunkSize;
    return bytes().subspan(begin, std::min<size_t>(mRequest.chunkSize, mBytes.size() - begin));
}

bool ImageTransfer::expects(uint32_t number, size_t size) const {
    return number < chunkCount() && size == chunk(number).size();
}

void ImageTransfer::store(uint32_t number, Bytes data) {
    std::memcpy(mBytes.data() + size_t{number} * mRequest.chunkSize, data.data(), data.size());
    if (mReceived[number]) return;
    mReceived[number] = true;
    --mMissing;
}

uint32_t ImageTransfer::firstMissing() const {
    while (mFirstMissing < chunkCount() && mReceived[mFirstMissing]) ++mFirstMissing;
    return mFirstMissing;
}

uint32_t ImageTransfer::missingRun() const {
    uint32_t end = firstMissing();
    while (end < chunkCount() && !mReceived[end]) ++end;
    return end - firstMissing();
}

uint8_t ImageTransfer::percent() const {
    if (chunkCount() == 0) return 0;
    return static_cast<uint8_t>(uint64_t{chunkCount() - mMissing} * 100 / chunkCount());
}

}  // namespace virtual_dock
