// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace wlc {

// What a dock compares before it continues a transfer. The dock sees no more of an image than this,
// so it takes chunks of another image of the same size and version for its own.
struct TransferKey {
    std::string dock;    // identifies the dock
    std::string target;  // the part of the dock that is updated
    size_t size = 0;     // of the image, bytes
    std::string version;
};

// What was sent to the dock under a key.
struct TransferRecord {
    std::string digest;  // SHA-256 of the data to send, in hexadecimal
    bool compressed = false;
    uint64_t sent = 0;   // bytes that the dock has acknowledged
    uint64_t total = 0;  // bytes to send
};

// Remembers on disk which data the open transfer of a dock belongs to, one file per key in
// $XDG_STATE_HOME/wlc, by default ~/.local/state/wlc. One thread.
class TransferJournal {
  public:
    explicit TransferJournal(TransferKey key);

    // Makes sure that no other update of this dock and target runs until this object is destroyed.
    // Detects the updates of this user on this machine. Returns false if there is one; its process
    // ID is in *other, 0 if unknown. Without a state folder it always succeeds.
    [[nodiscard]] bool lock(int* other);

    // The record of the key; none if the file is missing or damaged.
    std::optional<TransferRecord> read() const;

    // Removes the record, if there is one.
    void remove();
    // Replaces the record. On failure returns false and sets *error to the reason.
    [[nodiscard]] bool write(const TransferRecord& record, std::string* error);
    // Updates the number of bytes acknowledged since write(). Cheap: the file may lag by a second
    // unless `now` is set. Does nothing without write(); ignores errors.
    void progress(uint64_t sent, bool now = false);

  private:
    std::string file(const std::string& name) const { return mFolder + "/" + name; }

    const TransferKey mKey;
    const std::string mFolder;  // empty: there is none
    const std::string mName;
    ndk::ScopedFileDescriptor mLock;
    std::optional<TransferRecord> mRecord;
    std::chrono::steady_clock::time_point mWritten;
};

}  // namespace wlc
