// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "firmware_channel.h"

namespace wlc {

// An update as requested by the user.
struct UpdateRequest {
    std::string path;                     // of the image
    std::vector<uint8_t> image;           // as the dock will run it
    bool compress = false;                // send it deflated (zlib); the dock inflates it
    bool resume = false;                  // continue an interrupted transfer
    bool unverified = false;              // even if it may be that of another image
    bool force = false;                   // even if another update is running
    bool reboot = false;                  // restart the dock at the end
    std::optional<ImageVersion> version;  // default: the running version
    std::string name;
};

// "M.m", each 0 to 255. Throws badUsage.
ImageVersion parseVersion(const std::string& text);

// Installs a firmware image: queries the dock's limits, sends the missing chunks, has the image
// applied and waits for the outcome. Shows progress. Throws Failure: for an impossible image before
// anything is sent, later with a message that says how to continue. Blocks until done.
//
// A dock cannot tell two images of the same size and version apart. A journal (transfer_journal.h)
// remembers which image its chunks belong to: resuming with another one, or without a record, is
// refused.
void updateFirmware(Context& context, FirmwareChannel& channel, const UpdateRequest& request);

}  // namespace wlc
