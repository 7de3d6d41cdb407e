// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <functional>
#include <string>
#include <string_view>

#include "trace_line.h"

namespace virtual_dock {

// Hears the kernel's uevents on a socket and a thread of its own, which sleeps until one comes.
// start and stop by one thread at a time.
class UeventListener {
  public:
    // Called on the listener's thread with each message of the kernel's, cut at kMaxMessage bytes;
    // returns whether to go on.
    using Heard = std::function<bool(const TraceMoment& came, std::string_view message)>;
    static constexpr size_t kMaxMessage = 4096;  // twice what the kernel makes

    UeventListener() = default;
    ~UeventListener() { stop(); }
    UeventListener(const UeventListener&) = delete;
    UeventListener& operator=(const UeventListener&) = delete;

    // False with the problem; nothing is heard then.
    bool start(Heard heard, std::string* problem);
    // Waits until `heard` has returned. Does nothing unless started.
    void stop();

  private:
    void run();

    Heard mHeard;
    int mSocket = -1;
    int mStop = -1;
    pthread_t mThread = {};
};

}  // namespace virtual_dock
