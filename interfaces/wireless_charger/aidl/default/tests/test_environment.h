// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

/**
 * The next event thread that starts reads its messages from this datagram socket, which it then
 * owns; a message "errno N" stands for a read that fails with that error. All others end at once,
 * because they find none: a test may then destroy the service it made.
 */
void giveUeventSocket(int fd);

/** Counts the log lines that contain the text from now on; the text has to last. */
void countInLog(const char* text);
int countedInLog();

/** The most elements that fread reads from now on. */
void limitFread(size_t count);
