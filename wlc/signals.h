// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

namespace wlc {

// While it lives, SIGINT and SIGTERM do not end the process but make a descriptor readable, so that
// a command can finish what it has begun. Make it before other threads start: they inherit it.
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int descriptor() const { return mDescriptor.get(); }
    // Whether one has come. Does not block.
    bool came() const;

  private:
    ndk::ScopedFileDescriptor mDescriptor;
};

}  // namespace wlc
