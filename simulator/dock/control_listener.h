// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <string>

namespace virtual_dock {

// A listening Unix socket that no other process can replace while this object lives: it holds a
// lock on <path>.lock. The socket file stays behind; the next listener replaces it.
class ControlListener {
  public:
    // Replaces what a dead process left at `path`; leaves a live socket, and anything
    // that is not a socket, alone. False with a message when it cannot listen.
    [[nodiscard]] bool open(const std::string& path, std::string* error);

    int descriptor() const { return mSocket.get(); }  // -1 when it does not listen

  private:
    android::base::unique_fd mLock;
    android::base::unique_fd mSocket;
};

}  // namespace virtual_dock
