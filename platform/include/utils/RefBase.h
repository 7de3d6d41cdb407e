// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdint.h>
#include <utils/StrongPointer.h>

#include <atomic>

namespace android {

// The base of objects that strong pointers (sp) share, as in Android's libutils.
//
// The object is deleted when its last strong reference goes. An object never held by an sp may be a
// local or deleted by its creator. References may be taken and dropped by any thread; whoever drops
// the last one runs the destructor.
//
// Differs from Android: there are no weak references (wp), no callbacks for the first and the last
// reference, and references are not tracked per holder (the `id` arguments are ignored).
class RefBase {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

  protected:
    RefBase() = default;
    // Ends the process when there are strong references.
    virtual ~RefBase();

  private:
    mutable std::atomic<int32_t> mStrong{0};
};

}  // namespace android
