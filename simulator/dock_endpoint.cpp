// SPDX-License-Identifier: Apache-2.0
//
// The endpoint of the desk's libraries: the virtual dock of this process, or one that others share.
//
// For tests, VIRTUAL_DOCK_FAIL_INIT=chargelink or =reverselink in the environment makes that
// library's initialisation fail.
#include <cstdlib>
#include <string_view>

#include "dock/process_endpoint.h"
#include "exchange.h"

namespace virtual_dock {

int startEndpoint(Library library) {
    const char* const failing = std::getenv("VIRTUAL_DOCK_FAIL_INIT");
    const char* const name = library == Library::kChargelink ? "chargelink" : "reverselink";
    if (failing != nullptr && std::string_view(failing) == name) return 1;
    startProcessEndpoint();
    return 0;
}

Endpoint& endpoint() {
    return processEndpoint();
}

}  // namespace virtual_dock
