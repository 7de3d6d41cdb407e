// SPDX-License-Identifier: Apache-2.0
//
// What the records of an interface need beside their fields.
//
// Stands in for the header of the same name in Android's NDK, written for Linux. Of the platform's
// header it leaves out AParcelableHolder.

#pragma once

#include <android/binder_parcel_utils.h>

#include <cstdint>

namespace ndk {

// How far a record's layout is promised: within one build, or between partitions (@VintfStability).
typedef int32_t parcelable_stability_t;
enum {
    STABILITY_LOCAL,
    STABILITY_VINTF,
};

}  // namespace ndk
