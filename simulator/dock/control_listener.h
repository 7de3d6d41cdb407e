// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android-base/unique_fd.h>

#include <string>

namespace virtual_dock {

// A listening Unix socket that no second process can take while it lives: <path>.lock is locked
// for as long. Closes both when destroyed; the socket's name stays and is replaced by the next.
class ControlListener {
  public:
    // Replaces what a dead process left at `path`; leaves a live one, and what is not a socket,
    // alone. False with a message for people when it does not listen.
    [[nodiscard]] bool open(const std::string& path, std::string* error);

    int descriptor() const { return mSocket.get(); }  // -1 when it does not listen

  private:
    android::base::unique_fd mLock;
    android::base::unique_fd mSocket;
};

}  // namespace virtual_dock
