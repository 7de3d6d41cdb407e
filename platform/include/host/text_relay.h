// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <thread>

// Not part of Android: passes on the text that another process writes.

namespace android::host {

// A pipe for another process to write text into, which a thread of its own copies to a descriptor,
// escaped as host/escape.h says with line feeds kept. When that descriptor takes no more (its
// reader has gone), the pipe is closed, so that the writer notices. The process has to ignore
// SIGPIPE.
class TextRelay {
  public:
    // `to` stays the caller's and must stay open until the end.
    explicit TextRelay(int to);
    ~TextRelay() { finish(); }
    TextRelay(const TextRelay&) = delete;
    TextRelay& operator=(const TextRelay&) = delete;

    // Where to write; owned by the relay. -1 with errno set when no pipe could be made, and after
    // finish().
    int descriptor() const { return mWriteEnd.get(); }

    // Passes on what has been written by now and ends, no matter who still holds the pipe. Blocks
    // while `to` does. One thread. Returns the errno that `to` failed with (EPIPE: its reader has
    // gone), or 0.
    int finish();

  private:
    void copy();

    const int mTo;
    base::unique_fd mReadEnd;
    base::unique_fd mWriteEnd;
    base::unique_fd mFinish;  // readable once finish() was called
    int mError = 0;           // written by the thread, read once it has ended
    std::thread mThread;
};

}  // namespace android::host
