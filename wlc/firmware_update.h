// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "firmware_channel.h"

namespace wlc {

// An update as the user asked for it.
struct UpdateRequest {
    std::string path;                     // of the image
    std::vector<uint8_t> image;           // as it will run
    bool compress = false;                // send it deflated (zlib); the dock expands it
    bool resume = false;                  // continue a transfer that was broken off
    bool reboot = false;                  // restart the dock in the end
    std::optional<ImageVersion> version;  // else the version that runs now
    std::string name;
};

// "M.m", each 0 to 255. Throws badUsage.
ImageVersion parseVersion(const std::string& text);

// Brings an image into the dock: asks what it takes, sends what is missing, has it applied, waits
// for the outcome. Shows progress. Throws Failure: for an image that cannot be right before
// anything is sent; later with a message that says how to resume. Blocks for as long as all that
// takes.
void updateFirmware(Context& context, FirmwareChannel& channel, const UpdateRequest& request);

}  // namespace wlc
