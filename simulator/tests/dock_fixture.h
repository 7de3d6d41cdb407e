// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "dock/commands.h"
#include "dock/virtual_dock.h"

namespace virtual_dock::testing {

using ByteVector = std::vector<uint8_t>;

// One step of a test and what comes of it.
//
// "bidi TYPE [HEX...]" and the like are exchanges, see dock_fixture.cpp; expected is the answer in
// hex digits, or "result N". "rtx TYPE" is a request of reverse transmit, with what it leaves in
// the area up to the first byte that it did not write. Every other step is a line of the control
// protocol; expected is a part of the reply, and "" means that it is done.
using Step = std::pair<std::string, std::string>;

std::string perform(VirtualDock* dock, const std::string& step);
void expectSteps(VirtualDock* dock, const std::vector<Step>& steps);

// The step that starts a transfer of 25 bytes in chunks of 10.
inline const std::string kStart = "prop 25 00 19000000 0a 80 02 07";

// A private folder that goes away with the test.
class TempFolder {
  public:
    TempFolder();
    ~TempFolder();
    std::string operator/(const std::string& name) const { return mPath + "/" + name; }
    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

// A socket of AF_UNIX that is bound to a path.
int boundSocket(const std::string& path, int type);

}  // namespace virtual_dock::testing
