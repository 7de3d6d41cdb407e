// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "extras.h"
#include "image_transfer.h"
#include "protocol.h"

namespace virtual_dock {

struct FirmwareVersionNumber {
    uint8_t major = 1;
    uint8_t minor = 0;
};

// Receives, checks and runs one firmware image. FirmwareUpdater handles the frames around it. Times
// are nanoseconds of one monotonic clock. A value type.
class FirmwareSlot {
  public:
    // The answer to an execute request.
    enum class Verdict : uint8_t { kAccepted = 0, kIncomplete = 1, kInvalid = 2, kRefused = 3 };

    // The answer to a status request: idle with 100 % after an image was applied, with 0 % before.
    enum class State : uint8_t { kIdle = 0, kApplying = 1, kFailed = 2 };

    struct Progress {
        State state = State::kIdle;
        uint8_t percent = 0;
    };

    // --- settings ---
    uint32_t maxSize = 2 * 1024 * 1024;  // of an image, bytes
    uint8_t maxChunk = 252;              // bytes
    uint32_t executeMs = 1500;           // how long applying takes
    int32_t failAt = -1;                 // applying fails at this percent; -1: it does not
    bool rejectsImages = false;          // every image is invalid
    uint32_t forgetEvery = 0;            // every Nth chunk is acknowledged and lost; 0: none
    FirmwareVersionNumber version;       // what runs

    // Opens a transfer or, not fresh and for the same image, continues the one that is open.
    Result start(const TransferRequest& request, bool fresh, int64_t nowNs, bool* resumed);

    // Takes a chunk of the open transfer. *expected tells whether it has a place there.
    Result takeChunk(uint32_t number, Bytes data, int64_t nowNs, bool* expected);

    Verdict execute(int64_t nowNs);
    Progress progress(int64_t nowNs) const;

    // The dock restarts: an image that was applied runs, one that is being applied fails.
    void reboot(int64_t nowNs);

    const ImageTransfer& transfer() const { return mTransfer; }

    // Of the expanded image that was executed last; with its size.
    const std::optional<Digest>& imageDigest() const { return mImageDigest; }
    uint32_t imageSize() const { return mImageSize; }

  private:
    bool isApplying(int64_t nowNs) const { return progress(nowNs).state == State::kApplying; }

    // The settings that apply to an execution are those at its start.
    struct Execution {
        int64_t startNs;
        uint32_t durationMs;
        int32_t failAt;
        bool aborted = false;
    };

    ImageTransfer mTransfer;
    uint32_t mChunksTaken = 0;
    std::optional<Execution> mExecution;
    FirmwareVersionNumber mNewVersion;
    std::optional<Digest> mImageDigest;
    uint32_t mImageSize = 0;
};

}  // namespace virtual_dock
