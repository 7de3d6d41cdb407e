// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "context.h"
#include "status_page.h"

namespace wlc {

// What one poll of the service brought.
struct PollResult {
    std::chrono::system_clock::time_point time;  // of its end
    int64_t slot = 0;                            // the interval in which it began, from 0 on
    double milliseconds = 0;                     // from the first request to the last answer
    std::string slowest;                         // the line that took longest, and how long
    double slowestMilliseconds = 0;
    std::vector<StatusLine> lines;  // empty when the service could not be asked:
    std::string trouble;            // why
    bool reconnected = false;       // events may be missing since the poll before
};

// Reads the status page again and again on a thread of its own, subscribed to all events
// (EventSubscriptions::queue()), so that whoever shows it stays alive while the service is silent.
// Finds the service again after it was lost. Starts the binder thread pool. The other methods are
// called by one thread.
class StatusPoller {
  public:
    // interval: seconds from the beginning of one poll to that of the next.
    StatusPoller(const Context& context, double interval);
    // Unsubscribes. Waits a second at most: a thread that still waits for an answer is left to it.
    ~StatusPoller();
    StatusPoller(const StatusPoller&) = delete;
    StatusPoller& operator=(const StatusPoller&) = delete;

    // Readable while there is a result.
    int descriptor() const;
    // The latest result, once. Does not block.
    std::optional<PollResult> take();
    // How long the poll under way has waited for an answer, in seconds; 0 when there is none.
    double waitingSeconds() const;
    // Polls now, and then from there on as before.
    void pollNow();

  private:
    struct Shared;
    // Shared with the thread, which outlives this object while it waits for an answer.
    std::shared_ptr<Shared> mShared;
    std::future<void> mEnded;
};

}  // namespace wlc
