// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "report.h"

namespace wlc {

// How the program ends. Scripts rely on these numbers.
enum ExitCode { kDone = 0, kRefused = 1, kBadUsage = 2, kNoService = 3 };

// What ends a command early. main() alone catches it and reports it, as text or as JSON.
class Failure : public std::runtime_error {
  public:
    // code: the service's error code, or binder's exception (negative), or 0 where neither applies.
    // name: that code's constant, or one word in capitals for the program's own failures.
    // details: more fields for the object that JSON mode prints, beside "error".
    Failure(ExitCode exitCode, int code, std::string name, const std::string& message,
            Json details = Json::object())
        : std::runtime_error(message),
          mExitCode(exitCode),
          mCode(code),
          mName(std::move(name)),
          mDetails(std::move(details)) {}

    ExitCode exitCode() const { return mExitCode; }
    int code() const { return mCode; }
    const std::string& name() const { return mName; }
    const Json& details() const { return mDetails; }

  private:
    ExitCode mExitCode;
    int mCode;
    std::string mName;
    Json mDetails;
};

// The user asked for something that cannot be meant.
Failure badUsage(const std::string& message);

// The service answered, but what came back, or what was found, is not to be accepted.
Failure refused(const std::string& message);

// Throws what a status says unless it is a success: kNoService when the service has gone, else
// kRefused. `what` begins the message, as in "fan 2".
void check(const ndk::ScopedAStatus& status, const std::string& what);

// The same for a call that answers with a transport status only.
void check(binder_status_t status, const std::string& what);

}  // namespace wlc
