// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <aidl/vendor/zorvak/wireless_charger/IWirelessCharger.h>

#include <memory>
#include <string>

#include "report.h"

namespace wlc {

namespace charger = ::aidl::vendor::zorvak::wireless_charger;

// What every command gets: the global options, the service, and the way to the user. Whatever is
// printed is escaped on the way, save line feeds. One thread.
class Context {
  public:
    bool json = false;
    // How long to wait for the service to appear, in seconds; 0 not at all.
    double waitSeconds = 0;
    // How long the service may take to answer, in seconds; 0 as long as the command allows, which
    // is answerSeconds.
    double timeoutSeconds = 0;
    double answerSeconds = kAnswerSeconds;
    static constexpr double kAnswerSeconds = 90;
    // For certificates, which the dock hands over in many parts.
    static constexpr double kAuthenticationSeconds = 360;

    // The service, looked up at the first call. Throws Failure kNoService when it is not there in
    // time. Blocks up to waitSeconds. From here on the time for answers is limited.
    const std::shared_ptr<charger::IWirelessCharger>& service();
    // Looks it up anew at the next call: what was found has gone.
    void forgetService() { mService = nullptr; }

    // Limits the time for answers from now on; see time_limit.h.
    void limitAnswers() const;

    // Prints a record: aligned lines, or one JSON object on one line. Throws Failure when standard
    // output does not take it.
    void print(const Report& report) const;
    // Prints text, in text mode only; or an object, in JSON mode only.
    void printText(const std::string& text) const;
    void printJson(const Json& object) const;
    // For people, on standard error, in both modes.
    void note(const std::string& message) const;

  private:
    std::shared_ptr<charger::IWirelessCharger> mService;
};

// "vendor.zorvak.wireless_charger.IWirelessCharger/default"
std::string instanceName();

}  // namespace wlc
