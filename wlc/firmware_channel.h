// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "context.h"

namespace wlc {

// The version an image is announced with.
struct ImageVersion {
    uint8_t major = 0;
    uint8_t minor = 0;
};

// What the dock accepts.
struct FirmwareLimits {
    uint32_t maxSize = 0;
    uint32_t maxChunk = 0;  // from 1 to what fits a request
    std::optional<ImageVersion> running;
};

struct FirmwareStart {
    uint32_t size = 0;        // of the image as it will run
    uint32_t compressed = 0;  // of what is sent; 0 when that is the image itself
    uint32_t chunkSize = 0;
    bool fresh = true;
    ImageVersion version;
    std::string name;  // only the untargeted command set sends it
};

struct MissingChunks {
    uint32_t first = 0;
    uint32_t count = 0;
};

struct ApplyStatus {
    // As reported by the dock; kUnknown for any other value.
    enum State { kIdle = 0, kApplying = 1, kFailed = 2, kUnknown = 16 };
    State state = kUnknown;
    int percent = 0;
};

// One of the two firmware command sets, so that the update procedure is written once. Every method
// makes one call to the service, blocks until the dock has answered, and throws Failure.
class FirmwareChannel {
  public:
    virtual ~FirmwareChannel() = default;

    virtual Report info() = 0;    // for `firmware info`
    virtual Report status() = 0;  // for `firmware status`

    // withVersion: the running version as well, which the untargeted command set has to ask the
    // dock for with requests of their own; none if the dock does not report it.
    virtual FirmwareLimits limits(bool withVersion) = 0;
    // Returns the chunk size that the dock asks for; 0 when it does not say.
    virtual uint32_t start(const FirmwareStart& start) = 0;
    // Returns the number of the chunk that the dock expects next.
    virtual uint32_t sendChunk(uint32_t number, std::span<const uint8_t> data) = 0;
    virtual MissingChunks missing() = 0;
    virtual charger::ExecuteStatus execute() = 0;
    virtual ApplyStatus applyStatus() = 0;
    virtual void reboot() = 0;

    // The command of this set as the user types it, with the target if it is not the default.
    virtual std::string command() const = 0;
    // The part of the dock that it updates, as a word of its own: "target0", "legacy".
    virtual std::string target() const = 0;
};

// target: known docks have 0 and 1. compressed: the chunks are those of a compressed image.
std::unique_ptr<FirmwareChannel> targetedChannel(Context& context, int8_t target, bool compressed);
std::unique_ptr<FirmwareChannel> untargetedChannel(Context& context);

}  // namespace wlc
