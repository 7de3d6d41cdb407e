// SPDX-License-Identifier: Apache-2.0
#include "trace_writer.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace virtual_dock {

TraceWriter::~TraceWriter() {
    close();
}

bool TraceWriter::open(const std::string& path, const std::vector<std::string>& libraries,
                       std::string* problem) {
    TraceLine header;
    header.header(TraceMoment::now(), libraries);

    std::lock_guard lock(mLock);
    if (mState.writing) {
        *problem = "a recording to " + mState.path + " is under way; stop it first";
        return false;
    }
    const int file =
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) {
        *problem = "cannot create " + path + ": " + std::strerror(errno);
        if (errno == EEXIST) *problem += "; a recording overwrites nothing, name another file";
        return false;
    }
    mFile = file;
    mSize = 0;
    mState = {.writing = true, .path = path, .lines = 0, .problem = {}};
    *problem = append(header);
    mWriting.store(true, std::memory_order_relaxed);
    if (problem->empty()) return true;
    closeFile();
    unlink(path.c_str());
    mState = {};
    return false;
}

void TraceWriter::closeFile() {
    mWriting.store(false, std::memory_order_relaxed);
    ::close(std::exchange(mFile, -1));
    mState.writing = false;
}

std::string TraceWriter::append(const TraceLine& line) {
    const std::string_view text = line.text();
    if (text.empty()) return "no memory for a line";
    // At this limit a write would end the process by SIGXFSZ.
    rlimit limit;
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY &&
        mSize + text.size() > limit.rlim_cur) {
        return "cannot write to " + mState.path + ": " + std::strerror(EFBIG);
    }
    ssize_t count;
    do {
        count = ::write(mFile, text.data(), text.size());
    } while (count < 0 && errno == EINTR);
    if (count == static_cast<ssize_t>(text.size())) {
        mSize += text.size();
        ++mState.lines;
        return {};
    }
    std::string problem =
        "cannot write to " + mState.path + ": " + std::strerror(count < 0 ? errno : ENOSPC);
    if (count > 0 && ftruncate(mFile, static_cast<off_t>(mSize)) != 0) {
        problem += "; its last line is torn";
    }
    return problem;
}

void TraceWriter::write(const TraceLine& line) {
    std::string problem;
    {
        std::lock_guard lock(mLock);
        if (!mState.writing) return;
        problem = append(line);
        if (problem.empty()) return;
        closeFile();
        mState.problem = problem;
    }
    __android_log_print(ANDROID_LOG_WARN, "dock-recorder", "%s; the recording ends here",
                        problem.c_str());
}

TraceWriter::State TraceWriter::close() {
    std::lock_guard lock(mLock);
    State before = mState;
    if (before.writing) closeFile();
    mState = {};
    return before;
}

TraceWriter::State TraceWriter::state() const {
    std::lock_guard lock(mLock);
    return mState;
}

}  // namespace virtual_dock
