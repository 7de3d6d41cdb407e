// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "packet.h"
#include "protocol.h"

namespace virtual_dock {

// What a client announces when it opens a transfer.
struct TransferRequest {
    uint32_t imageSize = 0;       // bytes, expanded
    uint32_t compressedSize = 0;  // bytes; 0: sent as it is
    uint8_t chunkSize = 0;        // bytes of every chunk but the last
    uint8_t major = 0;            // version of the image
    uint8_t minor = 0;

    uint32_t sentSize() const { return compressedSize != 0 ? compressedSize : imageSize; }
    bool operator==(const TransferRequest&) const = default;
};

// An image that arrives in numbered chunks, from 0, in any order, any of them more than once. A
// value type; it holds as much memory as the image is large.
class ImageTransfer {
  public:
    static constexpr uint32_t kMaxChunks = 65535;

    // Whether such a transfer can be opened: sizes that are not 0 and not too many chunks.
    static bool isPossible(const TransferRequest& request);

    ImageTransfer() = default;  // none is open
    explicit ImageTransfer(const TransferRequest& request);

    bool isOpen() const { return mRequest.imageSize != 0; }
    const TransferRequest& request() const { return mRequest; }

    // Whether the transfer has such a chunk with that many bytes.
    bool expects(uint32_t number, size_t size) const;

    // Stores an expected chunk.
    void store(uint32_t number, Bytes data);

    // Whether a chunk of the transfer has arrived; the bytes of a chunk of the transfer.
    bool has(uint32_t number) const { return mReceived[number]; }
    Bytes chunk(uint32_t number) const;

    uint32_t chunkCount() const { return static_cast<uint32_t>(mReceived.size()); }
    uint32_t missingCount() const { return mMissing; }
    bool isComplete() const { return isOpen() && mMissing == 0; }

    // The first chunk that is missing, chunkCount() when none is, and how many are missing one
    // after another from there.
    uint32_t firstMissing() const;
    uint32_t missingRun() const;

    // What has arrived, in percent, rounded down.
    uint8_t percent() const;

    Bytes bytes() const { return mBytes; }

  private:
    TransferRequest mRequest;
    std::vector<uint8_t> mBytes;
    std::vector<bool> mReceived;
    uint32_t mMissing = 0;
    mutable uint32_t mFirstMissing = 0;  // no chunk before it is missing
};

}  // namespace virtual_dock
