// SPDX-License-Identifier: Apache-2.0
#pragma once

// How long the service may take to answer. One limit for the process: a call that hangs cannot be
// ended in any other way. Main thread.
namespace wlc {

// From now on the process ends with kNoService, after saying so as text or JSON, when no answer
// comes for so long. Positive.
void limitAnswerTime(double seconds, bool json);

// An answer came: the time starts anew, if it is limited. Cheap.
void noteAnswer();

// No answer is being waited for.
void unlimitAnswerTime();

}  // namespace wlc
