// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>

#include <memory>
#include <string>

#include "report.h"

namespace wlc {

namespace charger = ::aidl::vendor::zorvak::wireless_charger;

// What every command works with: the global options, the service and the output. Printed text is
// escaped, except for line feeds. Single-threaded.
class Context {
  public:
    bool json = false;
    // How long to wait for the service to appear, in seconds; 0 does not wait.
    double waitSeconds = 0;
    // How long each answer may take, in seconds; 0 for the command's default, answerSeconds.
    double timeoutSeconds = 0;
    double answerSeconds = kAnswerSeconds;
    static constexpr double kAnswerSeconds = 90;
    // For certificates, which the dock sends in many pieces.
    static constexpr double kAuthenticationSeconds = 360;
    // Whether answers have a time limit. Without one, the command itself watches over its calls.
    bool limited = true;

    // The service, looked up on first use. Blocks for up to waitSeconds, then throws Failure
    // kNoService. Starts the time limit for answers.
    const std::shared_ptr<charger::IWirelessCharger>& service();
    // Makes the next call look the service up again.
    void forgetService() { mService = nullptr; }

    // Starts the time limit for answers; see time_limit.h.
    void limitAnswers() const;

    // Prints a record as aligned lines or as one line of JSON. Throws Failure when standard output
    // cannot be written.
    void print(const Report& report) const;
    // Prints in text mode only, or in JSON mode only.
    void printText(const std::string& text) const;
    void printJson(const Json& object) const;
    // A message to the user on standard error, in both modes.
    void note(const std::string& message) const;

  private:
    std::shared_ptr<charger::IWirelessCharger> mService;
};

// "vendor.zorvak.wireless_charger.IWirelessCharger/default"
std::string instanceName();

}  // namespace wlc
