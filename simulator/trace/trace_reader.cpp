// SPDX-License-Identifier: Apache-2.0
#include "trace_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace virtual_dock {
namespace {

constexpr size_t kReadSize = 256 << 10;

}  // namespace

bool TraceReader::open(const std::string& path, std::string* problem) {
    // Without waiting for a writer, should it be a pipe.
    mFile.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status;
    if (mFile < 0 || fstat(mFile.get(), &status) != 0) {
        *problem = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        *problem = path + " is not a regular file; a trace is read more than once";
        return false;
    }
    std::string_view text;
    std::string why = "the file is empty";
    if (nextLine(&text) && parseTraceHeader(text, &mHeader, &why)) return true;
    if (!mProblem.empty()) why = mProblem;
    *problem = path + ": " + why;
    return false;
}

bool TraceReader::stop(const std::string& why) {
    mProblem = "line " + std::to_string(mLine) + ": " + why;
    return false;
}

bool TraceReader::nextLine(std::string_view* text) {
    if (!mProblem.empty()) return false;
    size_t searched = mTaken;
    size_t end;
    while ((end = mBuffer.find('\n', searched)) == std::string::npos && !mAtEnd &&
           mBuffer.size() - mTaken <= kMaxLine) {
        mBuffer.erase(0, mTaken);
        mOffset += mTaken;
        mTaken = 0;
        searched = mBuffer.size();
        mBuffer.resize(searched + kReadSize);
        const ssize_t got =
            TEMP_FAILURE_RETRY(pread(mFile.get(), mBuffer.data() + searched, kReadSize,
                                     static_cast<off_t>(mOffset + searched)));
        mBuffer.resize(searched + static_cast<size_t>(got > 0 ? got : 0));
        if (got < 0) {
            ++mLine;
            return stop(std::string("cannot read: ") + std::strerror(errno));
        }
        mAtEnd = got == 0;
    }
    mCut = end == std::string::npos;
    if (mCut) end = mBuffer.size();
    if (mCut && end == mTaken) return false;
    ++mLine;
    const size_t size = end - mTaken;
    if (size > kMaxLine) {
        return stop("longer than " + std::to_string(kMaxLine) + " bytes, the most a line may have");
    }
    mPlace = {mOffset + mTaken, static_cast<uint32_t>(size)};
    *text = std::string_view(mBuffer).substr(mTaken, size);
    mTaken = mCut ? end : end + 1;
    return true;
}

bool TraceReader::next(TraceEntry* entry) {
    std::string_view text;
    if (!nextLine(&text)) return false;
    std::string why;
    if (parseTraceEntry(text, entry, &why)) return true;
    return stop(mCut ? "cut off, the file ends within it" : why);
}

bool TraceReader::readAt(const TracePlace& place, TraceEntry* entry) const {
    std::string text(place.size, '\0');
    const ssize_t got = TEMP_FAILURE_RETRY(
        pread(mFile.get(), text.data(), text.size(), static_cast<off_t>(place.offset)));
    std::string why;
    return got == static_cast<ssize_t>(text.size()) && parseTraceEntry(text, entry, &why);
}

}  // namespace virtual_dock
