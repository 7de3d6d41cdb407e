// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "context.h"

namespace wlc {

// The service's state report as one text, for the arguments given. Untrusted. Throws Failure.
std::string dumpText(Context& context, const std::vector<std::string>& args);

}  // namespace wlc
