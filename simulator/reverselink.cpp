// SPDX-License-Identifier: Apache-2.0
//
// libreverselink.so for the desk. It stands in for the closed library behind reverse transmit, the
// phone charging a device laid on its back, and answers from the virtual dock of this process.
//
// Differs from the closed library: nothing is charged; a switch takes effect at once; the texts are
// the virtual dock's idea of what the closed library leaves (dockctl can make them awkward).
// For tests, VIRTUAL_DOCK_FAIL_INIT=reverselink in the environment makes initRtxProto fail.
#include <reverselink.h>

#include <cstdlib>
#include <cstring>

#include "dock/virtual_dock.h"

int initRtxProto() {
    const char* const failing = std::getenv("VIRTUAL_DOCK_FAIL_INIT");
    if (failing != nullptr && std::strcmp(failing, "reverselink") == 0) return 1;
    virtual_dock::startProcessDock();
    return 0;
}

uint32_t sendRtxRequest(int32_t type, struct RtxAnswer* answer) {
    if (answer == nullptr) return virtual_dock::kInvalidArgument;
    return virtual_dock::processDock().rtxRequest(type, answer->text);
}
