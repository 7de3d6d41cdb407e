// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace aidl::vendor::zorvak::wireless_charger {

/**
 * Sends packets of random bytes to the dock and checks the answers; tells in the log how it went.
 * Blocks until all passes are done or one fails. Takes no lock: its requests run beside others.
 *
 * mode 0: the dock answers with a byte of 0. mode 1: it answers with the request.
 * loop: passes, 1 to 65535. size: random bytes a packet, 0 to 92.
 */
void edsTest(int mode, int loop, int size);

}  // namespace aidl::vendor::zorvak::wireless_charger
