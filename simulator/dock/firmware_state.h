// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "firmware.h"

namespace virtual_dock {

// Keeps a dock's firmware in the file `firmware` of a folder; kept_firmware.h has its format. A
// process that is killed at any moment leaves the state before or after a request. Guarded by its
// owner. Its functions block for the file system.
class FirmwareState {
  public:
    // Opens the folder, made with mode 0700 when it is missing, for this dock alone until the
    // object goes away, and brings *firmware, which is a new one, to what is kept there after a
    // restart. False leaves *firmware and *problem tells what to do.
    [[nodiscard]] bool open(const std::string& folder, int64_t nowNs, FirmwareUpdater* firmware,
                            std::string* problem);

    // Writes what changed since the last call. Without a folder it does nothing. After an error,
    // which is logged, nothing is kept any more.
    void save(FirmwareUpdater* firmware) {
        if (mFile >= 0) saveChange(firmware);
    }

    // Saves when it goes away.
    class Saving {
      public:
        Saving(FirmwareState* state, FirmwareUpdater* firmware)
            : mState(state), mFirmware(firmware) {}
        ~Saving() { mState->save(mFirmware); }
        Saving(const Saving&) = delete;
        Saving& operator=(const Saving&) = delete;

      private:
        FirmwareState* const mState;
        FirmwareUpdater* const mFirmware;
    };

  private:
    bool lockFolder(const std::string& folder, std::string* problem);
    bool load(int64_t nowNs, FirmwareUpdater* firmware, std::string* problem);
    bool writeSnapshot(const FirmwareUpdater& firmware, std::string* problem);
    bool append(const std::vector<uint8_t>& record, std::string* problem);
    void saveChange(FirmwareUpdater* firmware);

    std::string mPath;  // of the file, for messages
    android::base::unique_fd mFolder;
    android::base::unique_fd mLock;
    android::base::unique_fd mFile;  // not open: nothing is kept
    size_t mRecordBytes = 0;         // behind the snapshot
    std::array<FirmwareVersionNumber, FirmwareUpdater::kSlots> mVersions;  // in the snapshot
};

}  // namespace virtual_dock
