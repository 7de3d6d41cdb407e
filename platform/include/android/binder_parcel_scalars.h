// SPDX-License-Identifier: Apache-2.0
//
// The part of binder_parcel_utils.h that knows scalars and lists of scalars. Not to be included by
// itself, and its names are internal: the platform has no such header.

#pragma once

#include <android/binder_parcel.h>
#include <android/binder_status.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

namespace ndk {
namespace impl {

// ---- Scalars ----------------------------------------------------------------------------------

// The C functions for one scalar type, alone and as an array.
template <typename W>
struct ScalarCodec {
    static constexpr bool kExists = false;
};

#define NDK_SCALAR_CODEC(TYPE, NAME)                                      \
    template <>                                                           \
    struct ScalarCodec<TYPE> {                                            \
        static constexpr bool kExists = true;                             \
        static constexpr auto kWrite = &::AParcel_write##NAME;            \
        static constexpr auto kRead = &::AParcel_read##NAME;              \
        static constexpr auto kWriteMany = &::AParcel_write##NAME##Array; \
        static constexpr auto kReadMany = &::AParcel_read##NAME##Array;   \
    }
NDK_SCALAR_CODEC(bool, Bool);
NDK_SCALAR_CODEC(int8_t, Byte);
NDK_SCALAR_CODEC(char16_t, Char);
NDK_SCALAR_CODEC(int32_t, Int32);
NDK_SCALAR_CODEC(int64_t, Int64);
NDK_SCALAR_CODEC(float, Float);
NDK_SCALAR_CODEC(double, Double);
#undef NDK_SCALAR_CODEC

// The type a scalar travels as: an enum as what backs it.
template <typename T, bool isEnum = std::is_enum_v<T>>
struct Wire {
    using type = T;
};
template <typename T>
struct Wire<T, true> {
    using type = std::underlying_type_t<T>;
};
template <typename T>
using WireType = typename Wire<T>::type;

template <typename T>
inline constexpr bool kIsScalar = ScalarCodec<WireType<T>>::kExists;

// The same for an element of an array, where uint8_t is a byte as well.
template <typename T>
using ElementWireType =
    std::conditional_t<std::is_same_v<WireType<T>, uint8_t>, int8_t, WireType<T>>;

template <typename T>
inline constexpr bool kIsScalarElement = ScalarCodec<ElementWireType<T>>::kExists;

// ---- Lists of scalars -------------------------------------------------------------------------

inline bool fitsLength(size_t size) {
    return size <= static_cast<size_t>(std::numeric_limits<int32_t>::max());
}

template <typename List>
bool getBool(const void* list, size_t index) {
    return (*static_cast<const List*>(list))[index];
}

template <typename List>
void setBool(void* list, size_t index, bool value) {
    (*static_cast<List*>(list))[index] = value;
}

template <typename List>
binder_status_t writeScalars(AParcel* parcel, const List& list) {
    using Element = typename List::value_type;
    using W = ElementWireType<Element>;
    if (!fitsLength(list.size())) return STATUS_BAD_VALUE;
    const auto length = static_cast<int32_t>(list.size());
    if constexpr (std::is_same_v<W, bool>) {
        return AParcel_writeBoolArray(parcel, &list, length, getBool<List>);
    } else {
        return ScalarCodec<W>::kWriteMany(parcel, reinterpret_cast<const W*>(list.data()), length);
    }
}

template <typename T>
bool resizeVector(void* vector, int32_t length) {
    if (length < 0) return false;
    static_cast<std::vector<T>*>(vector)->resize(static_cast<size_t>(length));
    return true;
}

template <typename T, typename W>
bool resizeVectorForData(void* vector, int32_t length, W** buffer) {
    if (!resizeVector<T>(vector, length)) return false;
    *buffer = reinterpret_cast<W*>(static_cast<std::vector<T>*>(vector)->data());
    return true;
}

template <typename T>
binder_status_t readScalars(const AParcel* parcel, std::vector<T>* vector) {
    using W = ElementWireType<T>;
    if constexpr (std::is_same_v<W, bool>) {
        return AParcel_readBoolArray(parcel, vector, resizeVector<T>, setBool<std::vector<T>>);
    } else {
        return ScalarCodec<W>::kReadMany(parcel, vector, resizeVectorForData<T, W>);
    }
}

// A std::array as the target of a read, and whether the parcel's length was another.
template <typename T, size_t N>
struct FixedTarget {
    std::array<T, N>* array;
    bool otherLength = false;

    static bool accept(void* target, int32_t length) {
        static_cast<FixedTarget*>(target)->otherLength =
            length >= 0 && static_cast<size_t>(length) != N;
        return length >= 0 && static_cast<size_t>(length) == N;
    }

    template <typename W>
    static bool acceptForData(void* target, int32_t length, W** buffer) {
        if (!accept(target, length)) return false;
        *buffer = reinterpret_cast<W*>(static_cast<FixedTarget*>(target)->array->data());
        return true;
    }

    static void set(void* target, size_t index, bool value) {
        (*static_cast<FixedTarget*>(target)->array)[index] = value;
    }
};

template <typename T, size_t N>
binder_status_t readScalars(const AParcel* parcel, std::array<T, N>* array) {
    using W = ElementWireType<T>;
    using Target = FixedTarget<T, N>;
    Target target{array};
    binder_status_t status;
    if constexpr (std::is_same_v<W, bool>) {
        status = AParcel_readBoolArray(parcel, &target, Target::accept, Target::set);
    } else {
        status = ScalarCodec<W>::kReadMany(parcel, &target, Target::template acceptForData<W>);
    }
    return target.otherLength ? STATUS_BAD_VALUE : status;
}

}  // namespace impl
}  // namespace ndk
