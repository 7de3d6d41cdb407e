// SPDX-License-Identifier: Apache-2.0
#pragma once

/**
 * The next event thread that starts reads its messages from this datagram socket, which it then
 * owns; a message "errno" stands for a read that fails. All others end at once, because they find
 * none: a test may then destroy the service it made.
 */
void giveUeventSocket(int fd);
