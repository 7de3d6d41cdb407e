// SPDX-License-Identifier: Apache-2.0
//
// The part of binder_parcel_utils.h with a name for each kind of value, as stubs of older compilers
// and code written by hand use them. Each does what the Data or NullableData function does; a
// std::optional says that null is allowed. Not to be included by itself.

#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_status.h>

#include <optional>
#include <string>
#include <vector>

namespace ndk {

// NULLABLE is "Nullable" or nothing.
#define NDK_PARCEL_NAMES(NAME, NULLABLE, TEMPLATE, TYPE)                                      \
    TEMPLATE inline binder_status_t AParcel_write##NAME(AParcel* parcel, const TYPE& value) { \
        return AParcel_write##NULLABLE##Data(parcel, value);                                  \
    }                                                                                         \
    TEMPLATE inline binder_status_t AParcel_read##NAME(const AParcel* parcel, TYPE* value) {  \
        return AParcel_read##NULLABLE##Data(parcel, value);                                   \
    }
NDK_PARCEL_NAMES(String, , , std::string)
NDK_PARCEL_NAMES(String, Nullable, , std::optional<std::string>)
NDK_PARCEL_NAMES(Vector, , template <typename T>, std::vector<T>)
NDK_PARCEL_NAMES(Vector, Nullable, template <typename T>, std::optional<std::vector<T>>)
NDK_PARCEL_NAMES(Parcelable, , template <typename T>, T)
NDK_PARCEL_NAMES(NullableParcelable, Nullable, template <typename T>, T)
NDK_PARCEL_NAMES(RequiredStrongBinder, , , SpAIBinder)
NDK_PARCEL_NAMES(NullableStrongBinder, Nullable, , SpAIBinder)
NDK_PARCEL_NAMES(RequiredParcelFileDescriptor, , , ScopedFileDescriptor)
NDK_PARCEL_NAMES(NullableParcelFileDescriptor, Nullable, , ScopedFileDescriptor)
#undef NDK_PARCEL_NAMES

}  // namespace ndk
