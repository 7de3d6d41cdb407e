// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

// The time limit for an answer from the service. It ends the process, because a call that hangs
// cannot be aborted in any other way. For the one thread that calls the service.
namespace wlc {

// Starts the limit: when no answer arrives within `seconds` (positive), the process exits with
// kNoService and a message, as text or JSON.
void limitAnswerTime(double seconds, bool json);

// An answer arrived: restarts the limit if there is one. Cheap.
void noteAnswer();

// When the latest answer arrived. Any thread.
std::chrono::steady_clock::time_point latestAnswer();

// Stops the limit.
void unlimitAnswerTime();

}  // namespace wlc
