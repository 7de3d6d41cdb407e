// SPDX-License-Identifier: Apache-2.0
//
// The functions of libreverselink as exchanges. With the virtual dock's endpoint they are the
// libreverselink.so of the desk: it stands in for the closed library behind reverse transmit, the
// phone charging a device laid on its back.
//
// Differs from the closed library: nothing is charged; a switch takes effect at once; the texts are
// the virtual dock's idea of what the closed library leaves (dockctl can make them awkward).
#pragma GCC visibility push(default)
#include <reverselink.h>
#pragma GCC visibility pop

#include "exchange.h"

int initRtxProto() {
    return virtual_dock::startEndpoint(virtual_dock::Library::kReverselink);
}

uint32_t sendRtxRequest(int32_t type, struct RtxAnswer* answer) {
    if (answer == nullptr) return virtual_dock::kInvalidArgument;
    return virtual_dock::endpoint()
        .exchange({.operation = virtual_dock::Operation::kRtxRequest,
                   .type = type,
                   .answer = reinterpret_cast<uint8_t*>(answer->text),
                   // The answer to this one may be a single byte of memory.
                   .capacity = type == virtual_dock::rtx::kSupported ? 1 : sizeof(answer->text)})
        .result;
}
