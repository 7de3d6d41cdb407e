// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "trace_entry.h"

namespace virtual_dock {

// Where an entry is in its file.
struct TracePlace {
    uint64_t offset = 0;  // bytes
    uint32_t size = 0;    // of the line, bytes
};

// Reads the file of a trace, line by line in constant memory, and stops at the first line that is
// not intact. next() is for one thread; readAt() for any, also beside it.
class TraceReader {
  public:
    static constexpr size_t kMaxLine = 4 << 20;  // bytes

    // Reads the header. False with the problem, for a person, when there is no such file or it is
    // not a trace of a format that is known. Call once.
    [[nodiscard]] bool open(const std::string& path, std::string* problem);

    const TraceHeader& header() const { return mHeader; }

    // The next entry; false at the end, which problem() tells about.
    [[nodiscard]] bool next(TraceEntry* entry);

    // Of the entry that next() gave.
    uint64_t line() const { return mLine; }  // counts from 1, the header
    const TracePlace& place() const { return mPlace; }

    // Where reading stopped before the end of the file and why; empty when the trace is whole.
    const std::string& problem() const { return mProblem; }

    // Reads an entry again. False when the file has changed.
    [[nodiscard]] bool readAt(const TracePlace& place, TraceEntry* entry) const;

  private:
    // The next line without its line feed, in mBuffer; false at the end.
    bool nextLine(std::string_view* text);
    bool stop(const std::string& why);

    android::base::unique_fd mFile;
    TraceHeader mHeader;
    std::string mBuffer;
    size_t mTaken = 0;     // bytes of mBuffer before the next line
    uint64_t mOffset = 0;  // of mBuffer in the file
    bool mAtEnd = false;   // nothing more in the file
    bool mCut = false;     // the line has no line feed
    uint64_t mLine = 0;
    TracePlace mPlace;
    std::string mProblem;
};

}  // namespace virtual_dock
