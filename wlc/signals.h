// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <android/binder_auto_utils.h>

namespace wlc {

// During its lifetime SIGINT and SIGTERM make a descriptor readable instead of killing the process,
// so that a command can clean up. Create it before other threads, which inherit the signal mask.
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int descriptor() const { return mDescriptor.get(); }
    // Whether a signal is pending. Does not block.
    bool came() const;

  private:
    ndk::ScopedFileDescriptor mDescriptor;
};

}  // namespace wlc
