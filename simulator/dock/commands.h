// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "json.h"
#include "virtual_dock.h"

namespace virtual_dock {

// Carries out one line of the control protocol (docs/virtual-dock.md) and returns the reply: one
// JSON object without a line feed. A change is announced by its uevent before the reply is given,
// so this may take up to a second. The line is hostile input. Not for log and follow, which the
// server answers itself.
std::string runCommand(VirtualDock* dock, std::string_view line);

// Replies for what cannot be carried out: `kind` is "usage" (the line is wrong) or "refused" (the
// dock does not do it).
std::string errorReply(std::string_view kind, std::string_view message);
std::string usageError(std::string_view message);
std::string refusal(std::string_view message);
std::string doneReply();

// The commands that set faults: fail, delay, answer. `words` has the command's name first.
std::string setFault(VirtualDock* dock, const std::vector<std::string>& words);

// record FILE, record stop.
std::string runRecord(VirtualDock* dock, const std::vector<std::string>& words);

// All that `status` shows; one entry of the log.
Json dockJson(VirtualDock* dock);
Json entryJson(const LogEntry& entry);

}  // namespace virtual_dock
