// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "context.h"
#include "report.h"

namespace wlc {

// One line of the page that shows the state of dock and service.
struct StatusLine {
    std::string key;    // in JSON
    std::string label;  // in text
    Json json = Json::object();
    std::string text;  // escape it before it is shown
    bool failed = false;
};

// Asks the service for one line after the other and passes each on as it comes. A line that cannot
// be read says why, and the rest follows; throws Failure kNoService when the service has gone.
void readStatus(Context& context, const std::function<void(const StatusLine&)>& take);

}  // namespace wlc
