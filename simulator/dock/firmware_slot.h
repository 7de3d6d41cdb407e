// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "extras.h"
#include "image_transfer.h"
#include "protocol.h"

namespace virtual_dock {

struct FirmwareVersionNumber {
    uint8_t major = 1;
    uint8_t minor = 0;

    bool operator==(const FirmwareVersionNumber&) const = default;
};

// What a slot knows beside its settings and the version that runs.
struct KeptSlot {
    // The settings that apply to an execution are those at its start.
    struct Execution {
        int64_t startNs;
        uint32_t durationMs;
        int32_t failAt;
        bool aborted = false;
    };

    ImageTransfer transfer;
    std::optional<Execution> execution;
    FirmwareVersionNumber newVersion;  // runs after the execution and a restart
    std::optional<Digest> imageDigest;
    uint32_t imageSize = 0;
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

    // Takes a chunk of the open transfer. *expected tells whether it has a place there, *stored
    // whether the dock has it now.
    Result takeChunk(uint32_t number, Bytes data, int64_t nowNs, bool* expected, bool* stored);

    Verdict execute(int64_t nowNs);
    Progress progress(int64_t nowNs) const;

    // The dock restarts: an image that was applied runs, one that is being applied fails.
    void reboot(int64_t nowNs);

    const ImageTransfer& transfer() const { return mKept.transfer; }

    // Of the expanded image that was executed last; with its size.
    const std::optional<Digest>& imageDigest() const { return mKept.imageDigest; }
    uint32_t imageSize() const { return mKept.imageSize; }

    // What outlasts the dock's process, and its return: a transfer that exceeds the settings is
    // closed, an execution from the future (the clock began anew) fails. reboot() comes next.
    const KeptSlot& kept() const { return mKept; }
    void restore(KeptSlot kept, int64_t nowNs);

  private:
    bool isApplying(int64_t nowNs) const { return progress(nowNs).state == State::kApplying; }
    bool takes(const TransferRequest& request) const;

    KeptSlot mKept;
    uint32_t mChunksTaken = 0;
};

}  // namespace virtual_dock
