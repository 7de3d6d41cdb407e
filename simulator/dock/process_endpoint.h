// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../exchange.h"

namespace virtual_dock {

// Who answers the libraries of this process. Chosen once, by the first startProcessEndpoint: the
// dock that serves $VIRTUAL_DOCK (a path); without this variable the dock process at
// <run-time folder>/dock, when one runs there; else the virtual dock of this process. Before the
// choice it is the latter. Any thread.
void startProcessEndpoint();
Endpoint& processEndpoint();

}  // namespace virtual_dock
