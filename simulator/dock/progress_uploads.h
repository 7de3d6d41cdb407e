// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fw_update_data.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace virtual_dock {

// The latest firmware-update progress records that the service published. A value type.
class ProgressUploads {
  public:
    static constexpr size_t kKept = 16;

    void add(const FwUpdateData& data) { mRecords[mTotal++ % kKept] = data; }

    uint64_t total() const { return mTotal; }
    uint64_t oldest() const { return mTotal < kKept ? 0 : mTotal - kKept; }

    // The record with a number from oldest() to total() - 1.
    const FwUpdateData& record(uint64_t number) const { return mRecords[number % kKept]; }

  private:
    std::array<FwUpdateData, kKept> mRecords{};
    uint64_t mTotal = 0;
};

}  // namespace virtual_dock
