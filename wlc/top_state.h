// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <vector>

#include "event_queue.h"
#include "plot.h"
#include "status_poller.h"

namespace wlc {

// What `wlc top` has to show: the latest state, and as much of the past as a page can hold. Its
// size is bounded. All texts are escaped.
class TopState {
  public:
    explicit TopState(double interval) : mInterval(interval) {}

    void take(const PollResult& result);
    void take(const EventQueue::Event& event);
    // How long the service has left a request unanswered.
    void setWaiting(double seconds) { mWaitingSeconds = seconds; }

    struct Entry {
        std::chrono::system_clock::time_point time;
        std::string text;
    };
    struct Timing {
        uint64_t polls = 0;  // that were answered
        double lastMs = 0;
        double sumMs = 0;
        double longestMs = 0;
        std::string slowest;  // the line of the latest poll that took longest
        double slowestMs = 0;
    };

    double interval() const { return mInterval; }
    double waitingSeconds() const { return mWaitingSeconds; }
    std::chrono::system_clock::time_point time() const { return mTime; }  // of the latest poll
    const std::string& trouble() const { return mTrouble; }  // empty while the service answers
    // Of the latest poll that was answered; each text is - when a later one was not.
    const std::vector<StatusLine>& lines() const { return mLines; }
    const History& history() const { return mHistory; }
    const Sample& latest() const { return mLatest; }
    const Timing& timing() const { return mTiming; }
    // Newest first. Outcomes: when requests of this program began or ceased to fail.
    const std::deque<Entry>& events() const { return mEvents; }
    const std::deque<Entry>& outcomes() const { return mOutcomes; }
    uint64_t eventCount() const { return mEventCount; }

  private:
    // failure: empty when there was none.
    void noteOutcome(std::chrono::system_clock::time_point time, const std::string& label,
                     const std::string& failure);

    const double mInterval;
    double mWaitingSeconds = 0;
    std::chrono::system_clock::time_point mTime;
    std::string mTrouble;
    std::vector<StatusLine> mLines;
    History mHistory;
    Sample mLatest = emptySample();
    Timing mTiming;
    std::deque<Entry> mEvents;
    std::deque<Entry> mOutcomes;
    uint64_t mEventCount = 0;
    std::map<std::string, std::string> mFailing;  // by label: how
};

}  // namespace wlc
