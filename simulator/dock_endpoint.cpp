// SPDX-License-Identifier: Apache-2.0
//
// The endpoint of the desk's libraries: the dock of this process.
//
// For tests, VIRTUAL_DOCK_FAIL_INIT=chargelink or =reverselink in the environment makes that
// library's initialisation fail.
#include <cstdlib>
#include <string_view>

#include "dock/virtual_dock.h"
#include "exchange.h"

namespace virtual_dock {

int startEndpoint(Library library) {
    const char* const failing = std::getenv("VIRTUAL_DOCK_FAIL_INIT");
    const char* const name = library == Library::kChargelink ? "chargelink" : "reverselink";
    if (failing != nullptr && std::string_view(failing) == name) return 1;
    startProcessDock();
    return 0;
}

Endpoint& endpoint() {
    return recordedProcessDock();
}

}  // namespace virtual_dock
