// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/thread_annotations.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "trace_writer.h"
#include "uevent_listener.h"

namespace virtual_dock {

// Passes every exchange on and, while it records, writes it and what came of it into a trace; the
// kernel's uevents too. Off at first, and then in nobody's way. What goes wrong with a recording
// ends the recording and nothing else.
class Recorder final : public Endpoint {
  public:
    // `next` must outlive it.
    explicit Recorder(Endpoint* next) : mNext(next) {}
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // Holds no lock while the next endpoint answers. An exchange that the next endpoint makes
    // through this one before it answers is not recorded: nobody but that endpoint asked for it.
    Outcome exchange(const Exchange& exchange) override;

    // Records into a new file; `libraries` for its header. See TraceWriter::open. Uevents that
    // cannot be listened for are missing, with a line in the log.
    bool start(const std::string& path, const std::vector<std::string>& libraries,
               std::string* problem) EXCLUDES(mControlLock);
    TraceWriter::State stop() EXCLUDES(mControlLock);
    TraceWriter::State state() const { return mWriter.state(); }

    // Records a uevent that did not come from the kernel, if it concerns a driver. Without a
    // message it tells when the kernel's next one was sent: the service may have reacted to it
    // before the listener here is woken. False when nothing is recorded any more.
    bool recordUevent(const TraceMoment& came, std::string_view message);

  private:
    bool recordHeard(TraceMoment came, std::string_view message);

    Endpoint* const mNext;
    TraceWriter mWriter;
    std::atomic<int64_t> mSentNs = 0;  // the kernel's next uevent, monotonic clock; 0: not known
    std::mutex mControlLock;
    UeventListener mListener GUARDED_BY(mControlLock);
};

}  // namespace virtual_dock
