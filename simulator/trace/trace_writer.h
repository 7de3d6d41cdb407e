// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "trace_line.h"

namespace virtual_dock {

// The file of a trace (docs/traces.md). Each line is one write(2), so that a killed process loses
// at most the one being written. A line that cannot be written ends the recording, is cut off again
// as far as it got there, and is logged; callers are not told, since a recording disturbs nothing.
//
// Any thread. One lock, held for a write.
class TraceWriter {
  public:
    struct State {
        bool writing = false;
        std::string path;     // empty before the first open()
        uint64_t lines = 0;   // in the file, its header included
        std::string problem;  // why it ended; empty when nobody but close() ended it
    };

    TraceWriter() = default;
    // Closes the file.
    ~TraceWriter();
    TraceWriter(const TraceWriter&) = delete;
    TraceWriter& operator=(const TraceWriter&) = delete;

    // Creates the file, readable for its user alone, and writes the header. False with the problem,
    // for a person, when that fails, something of that name exists, or one is being written.
    bool open(const std::string& path, const std::vector<std::string>& libraries,
              std::string* problem) EXCLUDES(mLock);

    bool isWriting() const { return mWriting.load(std::memory_order_relaxed); }

    // Appends the line, if a file is being written.
    void write(const TraceLine& line) EXCLUDES(mLock);

    // Ends the recording and forgets it; returns how it was just before.
    State close() EXCLUDES(mLock);
    State state() const EXCLUDES(mLock);

  private:
    // Empty when the line is there, else what went wrong; nothing of the line is there then.
    std::string append(const TraceLine& line) REQUIRES(mLock);
    void closeFile() REQUIRES(mLock);

    std::atomic<bool> mWriting = false;  // changes under the lock: mFile is open
    mutable std::mutex mLock;
    int mFile GUARDED_BY(mLock) = -1;
    uint64_t mSize GUARDED_BY(mLock) = 0;  // bytes in the file
    State mState GUARDED_BY(mLock);
};

}  // namespace virtual_dock
