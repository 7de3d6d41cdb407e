// SPDX-License-Identifier: Apache-2.0
#include "frame_buffer.h"

#include <string.h>

#include <algorithm>
#include <iterator>

namespace android::host {
namespace {

constexpr size_t kUsualCapacity = 4096;
constexpr size_t kMaxCapacity = sizeof(WireHeader) + kMaxBodySize;

}  // namespace

std::span<uint8_t> FrameBuffer::space() {
    if (mBegin == mEnd) {
        mBegin = mEnd = 0;
        if (mCapacity > kUsualCapacity) {
            mData.reset();
            mCapacity = 0;
        }
    }
    if (mEnd == mCapacity && mBegin > 0) {
        memmove(mData.get(), mData.get() + mBegin, mEnd - mBegin);
        mEnd -= mBegin;
        mBegin = 0;
    } else if (mEnd == mCapacity) {
        size_t capacity = std::min(std::max(mCapacity * 2, kUsualCapacity), kMaxCapacity);
        std::unique_ptr<uint8_t[]> data(new uint8_t[capacity]);
        if (mEnd > 0) memcpy(data.get(), mData.get(), mEnd);
        mData = std::move(data);
        mCapacity = capacity;
    }
    return {mData.get() + mEnd, mCapacity - mEnd};
}

void FrameBuffer::commit(size_t bytes, std::vector<android::base::unique_fd> fds) {
    uint64_t readBegin = mStreamBegin + (mEnd - mBegin);
    commit(bytes);
    if (fds.empty()) return;
    mFdCount += fds.size();
    mFdBatches.push_back({readBegin, readBegin + bytes, std::move(fds)});
}

FrameBuffer::Result FrameBuffer::next(Frame* frame) {
    // A frame takes all that came before its end, so a peer can only pile descriptors up by never
    // finishing one.
    if (mFdCount > kMaxFdsPerMessage) return Result::kTooManyFds;
    size_t available = mEnd - mBegin;
    if (available < sizeof(WireHeader)) return Result::kIncomplete;
    memcpy(&frame->header, mData.get() + mBegin, sizeof(WireHeader));
    if (frame->header.bodySize > kMaxBodySize) return Result::kTooLarge;
    size_t size = sizeof(WireHeader) + frame->header.bodySize;
    if (available < size) return Result::kIncomplete;

    frame->body = {mData.get() + mBegin + sizeof(WireHeader), frame->header.bodySize};
    frame->fds.clear();
    frame->fdsMisplaced = false;
    if (!mFdBatches.empty()) takeFds(mStreamBegin, mStreamBegin + size, frame);
    mBegin += size;
    mStreamBegin += size;
    return Result::kFrame;
}

void FrameBuffer::takeFds(uint64_t frameBegin, uint64_t frameEnd, Frame* frame) {
    auto batch = mFdBatches.begin();
    for (; batch != mFdBatches.end() && batch->readEnd <= frameEnd; ++batch) {
        if (frameBegin < batch->readBegin) frame->fdsMisplaced = true;
        std::move(batch->fds.begin(), batch->fds.end(), std::back_inserter(frame->fds));
    }
    mFdBatches.erase(mFdBatches.begin(), batch);
    mFdCount -= frame->fds.size();
}

}  // namespace android::host
