// SPDX-License-Identifier: Apache-2.0
//
// The output of a dump or shell command on its way to the requester's descriptors. The object
// writes into pipes of this process; a thread passes the bytes on and never blocks in a write,
// whatever the requester's descriptors are.
#pragma once

#include <android-base/thread_annotations.h>
#include <android-base/unique_fd.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

namespace android::host {

class ForwardedOutput {
  public:
    // `requester` is the requester's socket, which stays open meanwhile; once it hangs up, nothing
    // more is passed on.
    explicit ForwardedOutput(int requester);
    ~ForwardedOutput();
    ForwardedOutput(const ForwardedOutput&) = delete;
    ForwardedOutput& operator=(const ForwardedOutput&) = delete;

    // A descriptor to write to instead of `target`; not ok when the process has none left. When
    // the target has no reader, writes to it fail with EPIPE, as they would to the target.
    android::base::unique_fd add(android::base::unique_fd target);

    // Begins to pass on. False when there is no thread for it.
    [[nodiscard]] bool start();

    // To be called when nothing more will be written. Waits until everything has been passed on.
    // False when the requester kept it waiting for more than kDiagnosticsTimeout; the rest is lost.
    [[nodiscard]] bool finish();

  private:
    struct Channel;
    struct State;

    static void run(State& state);

    const std::shared_ptr<State> mState;
};

}  // namespace android::host
