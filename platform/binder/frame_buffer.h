// SPDX-License-Identifier: Apache-2.0
//
// Cuts the byte stream of one connection into frames. Knows nothing of sockets or of what a frame
// means, so that it can be tested and fuzzed on bytes alone. Not thread-safe: its owner's.
#pragma once

#include <android-base/unique_fd.h>

#include <memory>
#include <span>
#include <vector>

#include "rpc_wire.h"

namespace android::host {

struct Frame {
    WireHeader header;
    std::span<const uint8_t> body;  // valid until the next FrameBuffer::space()
    std::vector<android::base::unique_fd> fds;
    bool fdsMisplaced = false;  // descriptors came with bytes that begin no frame
};

class FrameBuffer {
  public:
    enum class Result { kFrame, kIncomplete, kTooLarge, kTooManyFds };

    // Where the next bytes go; never empty. Grows with what really arrives, not with what a header
    // promises.
    std::span<uint8_t> space();

    // `bytes` bytes of space() were filled by one read.
    void commit(size_t bytes) { mEnd += bytes; }
    // By one that also brought these descriptors.
    void commit(size_t bytes, std::vector<android::base::unique_fd> fds);

    // Takes the next whole frame off the stream.
    Result next(Frame* frame);

    bool empty() const { return mBegin == mEnd; }
    // Descriptors that wait for the rest of their frame.
    size_t heldFds() const { return mFdCount; }

  private:
    // Descriptors travel with the first byte of their frame, and one read ends with the message
    // that brought them: they belong to the last frame that begins inside that read.
    struct FdBatch {
        uint64_t readBegin;
        uint64_t readEnd;
        std::vector<android::base::unique_fd> fds;
    };

    void takeFds(uint64_t frameBegin, uint64_t frameEnd, Frame* frame);

    std::unique_ptr<uint8_t[]> mData;
    size_t mCapacity = 0;
    size_t mBegin = 0;
    size_t mEnd = 0;
    uint64_t mStreamBegin = 0;  // offset in the stream of mData[mBegin]
    std::vector<FdBatch> mFdBatches;
    size_t mFdCount = 0;
};

}  // namespace android::host
