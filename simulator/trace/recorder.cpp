// SPDX-License-Identifier: Apache-2.0
#include "recorder.h"

#include <android/log.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace virtual_dock {
namespace {

constexpr std::string_view kDriver = "DRIVER=";
// What was sent longer ago was another uevent, which got lost.
constexpr int64_t kMaxLateNs = 1'000'000'000;

thread_local bool gInsideExchange = false;

// With this set, the service hears of uevents through a datagram socket of its own instead of the
// kernel's, and only their sender can record them.
bool ueventsComeFromTheKernel() {
    const char* const path = std::getenv("ANDROID_HOST_UEVENT_SOCKET");
    return path == nullptr || path[0] == '\0';
}

}  // namespace

Outcome Recorder::exchange(const Exchange& exchange) {
    if (!mWriter.isWriting() || gInsideExchange) return mNext->exchange(exchange);
    TraceLine line;
    line.beginExchange(TraceMoment::now(), exchange);
    gInsideExchange = true;
    const int64_t began = TraceMoment::now().timeNs;
    const Outcome outcome = mNext->exchange(exchange);
    const int error = errno;
    const int64_t ended = TraceMoment::now().timeNs;
    gInsideExchange = false;
    line.endExchange(exchange, outcome, (ended - began) / 1000);
    mWriter.write(line);
    errno = error;
    return outcome;
}

bool Recorder::start(const std::string& path, const std::vector<std::string>& libraries,
                     std::string* problem) {
    std::string noUevents;
    {
        std::lock_guard lock(mControlLock);
        if (!mWriter.open(path, libraries, problem)) return false;
        // That of a recording that ended by itself.
        mListener.stop();
        const auto heard = [this](const TraceMoment& came, std::string_view message) {
            return recordHeard(came, message);
        };
        if (ueventsComeFromTheKernel()) mListener.start(heard, &noUevents);
    }
    if (!noUevents.empty()) {
        __android_log_print(ANDROID_LOG_WARN, "dock-recorder", "%s; the trace has none",
                            noUevents.c_str());
    }
    return true;
}

TraceWriter::State Recorder::stop() {
    std::lock_guard lock(mControlLock);
    mListener.stop();
    return mWriter.close();
}

bool Recorder::recordUevent(const TraceMoment& came, std::string_view message) {
    if (!mWriter.isWriting()) return false;
    if (message.empty()) {
        mSentNs = came.timeNs;
        return true;
    }
    // A charger's has such a line; most of a phone's many uevents do not, and would fill the trace.
    if (message.find(kDriver) == std::string_view::npos) return true;
    TraceLine line;
    line.uevent(came, message.substr(0, UeventListener::kMaxMessage));
    mWriter.write(line);
    return true;
}

bool Recorder::recordHeard(TraceMoment came, std::string_view message) {
    if (message.find(kDriver) == std::string_view::npos) return mWriter.isWriting();
    const int64_t sentNs = mSentNs.exchange(0);
    const int64_t lateNs = came.timeNs - sentNs;
    if (lateNs > 0 && lateNs < kMaxLateNs) {
        came.timeNs -= lateNs;
        came.wallTimeNs -= lateNs;
    }
    return recordUevent(came, message);
}

}  // namespace virtual_dock
