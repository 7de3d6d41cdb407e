// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "firmware.h"
#include "packet.h"

// The file that keeps a dock's firmware, little-endian: a snapshot, then records of the chunks that
// arrived after it. Snapshot: magic (8), format (4), length of the body (4), body, checksum (8).
// Record: slot, size of the data, chunk number (2), data, checksum (8). A checksum is the FNV-1a of
// everything before it, from where its snapshot or record begins.
namespace virtual_dock {

// Holds every file that a dock writes: three transfers of the largest size and kMaxRecordBytes.
constexpr size_t kMaxKeptFile = 64 * 1024 * 1024;

// A writer begins a new file beyond so many bytes of records.
constexpr size_t kMaxRecordBytes = 4 * 1024 * 1024;

// What a file holds. A value type.
struct KeptFirmware {
    struct Slot {
        FirmwareVersionNumber version;
        KeptSlot kept;
    };
    std::array<Slot, FirmwareUpdater::kSlots> slots;
    std::string legacyName;
    std::string newLegacyName;
};

std::vector<uint8_t> encodeSnapshot(const FirmwareUpdater& firmware);
std::vector<uint8_t> encodeRecord(const FirmwareUpdater& firmware, const FirmwareChange& chunk);

enum class KeptFileState : uint8_t { kOk, kDamaged, kOtherFormat };

// Reads a file, whatever it holds. With kOk the bytes from *intact on are the torn or damaged
// tail, which is left out: usually none.
KeptFileState decodeKeptFile(Bytes file, KeptFirmware* kept, size_t* intact);

}  // namespace virtual_dock
