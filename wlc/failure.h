// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

#include <stdexcept>
#include <string>
#include <utility>

#include "report.h"

namespace wlc {

// Exit statuses. Scripts rely on them.
enum ExitCode { kDone = 0, kRefused = 1, kBadUsage = 2, kNoService = 3 };

// An error that ends the command. Caught only by run(), which reports it as text or as JSON.
class Failure : public std::runtime_error {
  public:
    // code: the service's error code, a binder exception (negative), or 0 if neither applies.
    // name: the constant for that code, or one word in capitals for the program's own errors.
    // details: fields that JSON mode prints beside "error".
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

// {"error": {"code": N, "name": "...", "message": "..."}}
Json errorJson(const Failure& failure);

// The command line makes no sense.
Failure badUsage(const std::string& message);

// The service answered, but the result is not acceptable.
Failure refused(const std::string& message);

// Throws unless the status is OK: kNoService when the service has died, else kRefused. `what`
// starts the message, as in "fan 2".
void check(const ndk::ScopedAStatus& status, const std::string& what);

// The same for a call that returns only a transport status.
void check(binder_status_t status, const std::string& what);

}  // namespace wlc
