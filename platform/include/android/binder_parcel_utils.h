// SPDX-License-Identifier: Apache-2.0
//
// Reading and writing any type of an interface with one name:
//
//     ndk::AParcel_writeData(parcel, value)     ndk::AParcel_writeNullableData(parcel, value)
//     ndk::AParcel_readData(parcel, &value)     ndk::AParcel_readNullableData(parcel, &value)
//
// Types. bool, int8_t, char16_t, int32_t, int64_t, float, double; enums of those; std::string;
// records and unions (readFromParcel, writeToParcel); SpAIBinder; std::shared_ptr to an interface;
// ScopedFileDescriptor; std::vector and std::array of all these, vectors of bytes also as uint8_t.
// std::optional and std::unique_ptr make a string, record, vector or array nullable.
//
// Null. The Data functions neither write nor take null: STATUS_UNEXPECTED_NULL. With the
// NullableData functions an empty holder, binder, interface or descriptor is null, and so are
// elements of that kind in a nullable list. Elements that are themselves std::optional may be null
// in any list.
//
// Trust. A length from the parcel is held against the bytes that remain before anything is
// allocated for it, and lists of records grow as they are read. A std::array takes exactly its own
// length: STATUS_BAD_VALUE otherwise. After an error a value is left valid but partly read.
//
// Scalars, strings that fit into what they are read into, binders and records of these allocate
// nothing; a vector of bytes or numbers is one resize and one copy. Other errors are those of the
// functions in binder_parcel.h. One thread at a time per parcel.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_scalars.h>
#include <android/binder_status.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ndk {

template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const T& value);
template <typename T>
binder_status_t AParcel_writeNullableData(AParcel* parcel, const T& value);
template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, T* value);
template <typename T>
binder_status_t AParcel_readNullableData(const AParcel* parcel, T* value);

namespace impl {

// ---- Kinds of types ---------------------------------------------------------------------------

template <typename T>
inline constexpr bool kIsVector = false;
template <typename T>
inline constexpr bool kIsVector<std::vector<T>> = true;

template <typename T>
inline constexpr bool kIsArray = false;
template <typename T, size_t N>
inline constexpr bool kIsArray<std::array<T, N>> = true;

template <typename T>
inline constexpr bool kIsList = kIsVector<T> || kIsArray<T>;

// std::optional and std::unique_ptr.
template <typename T>
inline constexpr bool kIsHolder = false;
template <typename T>
inline constexpr bool kIsHolder<std::optional<T>> = true;
template <typename T>
inline constexpr bool kIsHolder<std::unique_ptr<T>> = true;

template <typename T>
inline constexpr bool kIsInterface = false;
template <typename T>
inline constexpr bool kIsInterface<std::shared_ptr<T>> = std::is_base_of_v<ICInterface, T>;

// Types with an empty state of their own, which are nullable without a holder.
template <typename T>
inline constexpr bool kIsReference =
    kIsInterface<T> || std::is_same_v<T, SpAIBinder> || std::is_same_v<T, ScopedFileDescriptor>;

template <typename T>
concept IsParcelable = requires(T& value, const T& constValue, const AParcel* in, AParcel* out) {
    { value.readFromParcel(in) } -> std::same_as<binder_status_t>;
    { constValue.writeToParcel(out) } -> std::same_as<binder_status_t>;
};

// ---- Lists of anything else -------------------------------------------------------------------

template <bool nullableElements, typename List>
binder_status_t writeElements(AParcel* parcel, const List& list) {
    if (!fitsLength(list.size())) return STATUS_BAD_VALUE;
    binder_status_t status = AParcel_writeInt32(parcel, static_cast<int32_t>(list.size()));
    for (auto it = list.begin(); status == STATUS_OK && it != list.end(); ++it) {
        if constexpr (nullableElements || kIsHolder<typename List::value_type>) {
            status = AParcel_writeNullableData(parcel, *it);
        } else {
            status = AParcel_writeData(parcel, *it);
        }
    }
    return status;
}

template <bool nullableElements, typename T>
binder_status_t readElement(const AParcel* parcel, T* element) {
    if constexpr (nullableElements || kIsHolder<T>) {
        return AParcel_readNullableData(parcel, element);
    } else {
        return AParcel_readData(parcel, element);
    }
}

// Reads the length of a list each element of which takes at least four bytes.
inline binder_status_t readElementCount(const AParcel* parcel, size_t* count) {
    int32_t length = 0;
    const binder_status_t status = AParcel_readInt32(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length == -1) return STATUS_UNEXPECTED_NULL;
    if (length < 0) return STATUS_BAD_VALUE;
    const int32_t remaining = AParcel_getDataSize(parcel) - AParcel_getDataPosition(parcel);
    if (length > remaining / 4) return STATUS_NO_MEMORY;
    *count = static_cast<size_t>(length);
    return STATUS_OK;
}

template <bool nullableElements, typename T>
binder_status_t readElements(const AParcel* parcel, std::vector<T>* vector) {
    size_t count = 0;
    binder_status_t status = readElementCount(parcel, &count);
    if (status != STATUS_OK) return status;
    vector->clear();
    // A record may be far larger here than the four bytes that vouch for it.
    vector->reserve(std::min<size_t>(count, 64));
    for (size_t i = 0; i < count; ++i) {
        status = readElement<nullableElements>(parcel, &vector->emplace_back());
        if (status != STATUS_OK) return status;
    }
    return STATUS_OK;
}

template <bool nullableElements, typename T, size_t N>
binder_status_t readElements(const AParcel* parcel, std::array<T, N>* array) {
    size_t count = 0;
    binder_status_t status = readElementCount(parcel, &count);
    if (status != STATUS_OK) return status;
    if (count != N) return STATUS_BAD_VALUE;
    for (T& element : *array) {
        status = readElement<nullableElements>(parcel, &element);
        if (status != STATUS_OK) return status;
    }
    return STATUS_OK;
}

template <bool nullableElements, typename List>
binder_status_t writeList(AParcel* parcel, const List& list) {
    if constexpr (kIsScalarElement<typename List::value_type>) {
        return writeScalars(parcel, list);
    } else {
        return writeElements<nullableElements>(parcel, list);
    }
}

template <bool nullableElements, typename List>
binder_status_t readList(const AParcel* parcel, List* list) {
    if constexpr (kIsScalarElement<typename List::value_type>) {
        return readScalars(parcel, list);
    } else {
        return readElements<nullableElements>(parcel, list);
    }
}

// ---- Strings and records ----------------------------------------------------------------------

inline bool resizeString(void* string, int32_t length, char** buffer) {
    if (length < 1) return false;
    auto* text = static_cast<std::string*>(string);
    // The last byte is the NUL, which a std::string has anyway.
    text->resize(static_cast<size_t>(length) - 1);
    *buffer = text->data();
    return true;
}

inline binder_status_t writeString(AParcel* parcel, const std::string& text) {
    if (!fitsLength(text.size())) return STATUS_BAD_VALUE;
    return ::AParcel_writeString(parcel, text.data(), static_cast<int32_t>(text.size()));
}

template <typename T>
binder_status_t writeRecord(AParcel* parcel, const T& record) {
    const binder_status_t status = AParcel_writeInt32(parcel, 1);
    return status == STATUS_OK ? record.writeToParcel(parcel) : status;
}

template <typename T>
binder_status_t readRecord(const AParcel* parcel, T* record) {
    int32_t present = 0;
    const binder_status_t status = AParcel_readInt32(parcel, &present);
    if (status != STATUS_OK) return status;
    return present == 0 ? STATUS_UNEXPECTED_NULL : record->readFromParcel(parcel);
}

// ---- References -------------------------------------------------------------------------------

inline binder_status_t writeReference(AParcel* parcel, const SpAIBinder& binder) {
    return AParcel_writeStrongBinder(parcel, binder.get());
}

inline binder_status_t writeReference(AParcel* parcel, const ScopedFileDescriptor& fd) {
    return AParcel_writeParcelFileDescriptor(parcel, fd.get());
}

template <typename T>
binder_status_t writeReference(AParcel* parcel, const std::shared_ptr<T>& interface) {
    return T::writeToParcel(parcel, interface);
}

inline binder_status_t readReference(const AParcel* parcel, SpAIBinder* binder) {
    AIBinder* read = nullptr;
    const binder_status_t status = AParcel_readStrongBinder(parcel, &read);
    if (status == STATUS_OK) binder->set(read);
    return status;
}

inline binder_status_t readReference(const AParcel* parcel, ScopedFileDescriptor* fd) {
    int read = -1;
    const binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &read);
    if (status == STATUS_OK) fd->set(read);
    return status;
}

template <typename T>
binder_status_t readReference(const AParcel* parcel, std::shared_ptr<T>* interface) {
    return T::readFromParcel(parcel, interface);
}

inline bool isNull(const SpAIBinder& binder) {
    return binder.get() == nullptr;
}
inline bool isNull(const ScopedFileDescriptor& fd) {
    return fd.get() < 0;
}
template <typename T>
bool isNull(const std::shared_ptr<T>& interface) {
    return interface == nullptr;
}

// ---- Holders ----------------------------------------------------------------------------------

template <typename T>
T* fill(std::optional<T>* holder) {
    return holder->has_value() ? &**holder : &holder->emplace();
}

template <typename T>
T* fill(std::unique_ptr<T>* holder) {
    if (*holder == nullptr) *holder = std::make_unique<T>();
    return holder->get();
}

template <typename T>
binder_status_t writeNull(AParcel* parcel) {
    return AParcel_writeInt32(parcel, IsParcelable<T> ? 0 : -1);
}

// Takes the null of a T off the parcel when that is what comes next, and nothing otherwise.
template <typename T>
binder_status_t takeNull(const AParcel* parcel, bool* isNull) {
    const int32_t start = AParcel_getDataPosition(parcel);
    int32_t head = 0;
    const binder_status_t status = AParcel_readInt32(parcel, &head);
    if (status != STATUS_OK) return status;
    *isNull = head == (IsParcelable<T> ? 0 : -1);
    return *isNull ? STATUS_OK : AParcel_setDataPosition(parcel, start);
}

template <typename>
inline constexpr bool kUnsupported = false;

}  // namespace impl

// ---- The four functions -----------------------------------------------------------------------

template <typename T>
binder_status_t AParcel_writeData(AParcel* parcel, const T& value) {
    if constexpr (impl::kIsScalar<T>) {
        using W = impl::WireType<T>;
        return impl::ScalarCodec<W>::kWrite(parcel, static_cast<W>(value));
    } else if constexpr (std::is_same_v<T, std::string>) {
        return impl::writeString(parcel, value);
    } else if constexpr (impl::kIsList<T>) {
        return impl::writeList<false>(parcel, value);
    } else if constexpr (impl::kIsReference<T>) {
        return impl::isNull(value) ? STATUS_UNEXPECTED_NULL : impl::writeReference(parcel, value);
    } else if constexpr (impl::kIsHolder<T>) {
        return value ? AParcel_writeData(parcel, *value) : STATUS_UNEXPECTED_NULL;
    } else if constexpr (impl::IsParcelable<T>) {
        return impl::writeRecord(parcel, value);
    } else {
        static_assert(impl::kUnsupported<T>, "not a type of an interface");
    }
}

template <typename T>
binder_status_t AParcel_writeNullableData(AParcel* parcel, const T& value) {
    if constexpr (impl::kIsReference<T>) {
        return impl::writeReference(parcel, value);
    } else if constexpr (impl::kIsHolder<T>) {
        using Held = std::decay_t<decltype(*value)>;
        static_assert(!impl::kIsScalar<Held>, "a scalar cannot be null");
        if (!value) return impl::writeNull<Held>(parcel);
        return AParcel_writeNullableData(parcel, *value);
    } else if constexpr (impl::kIsList<T>) {
        return impl::writeList<true>(parcel, value);
    } else {
        return AParcel_writeData(parcel, value);
    }
}

template <typename T>
binder_status_t AParcel_readData(const AParcel* parcel, T* value) {
    if constexpr (std::is_enum_v<T>) {
        impl::WireType<T> number{};
        const binder_status_t status = impl::ScalarCodec<impl::WireType<T>>::kRead(parcel, &number);
        if (status == STATUS_OK) *value = static_cast<T>(number);
        return status;
    } else if constexpr (impl::kIsScalar<T>) {
        return impl::ScalarCodec<T>::kRead(parcel, value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return ::AParcel_readString(parcel, value, impl::resizeString);
    } else if constexpr (impl::kIsList<T>) {
        return impl::readList<false>(parcel, value);
    } else if constexpr (impl::kIsReference<T>) {
        const binder_status_t status = impl::readReference(parcel, value);
        return status == STATUS_OK && impl::isNull(*value) ? STATUS_UNEXPECTED_NULL : status;
    } else if constexpr (impl::kIsHolder<T>) {
        return AParcel_readData(parcel, impl::fill(value));
    } else if constexpr (impl::IsParcelable<T>) {
        return impl::readRecord(parcel, value);
    } else {
        static_assert(impl::kUnsupported<T>, "not a type of an interface");
    }
}

template <typename T>
binder_status_t AParcel_readNullableData(const AParcel* parcel, T* value) {
    if constexpr (impl::kIsReference<T>) {
        return impl::readReference(parcel, value);
    } else if constexpr (impl::kIsHolder<T>) {
        using Held = std::decay_t<decltype(**value)>;
        static_assert(!impl::kIsScalar<Held>, "a scalar cannot be null");
        bool isNull = false;
        const binder_status_t status = impl::takeNull<Held>(parcel, &isNull);
        if (status != STATUS_OK) return status;
        if (isNull) {
            value->reset();
            return STATUS_OK;
        }
        return AParcel_readNullableData(parcel, impl::fill(value));
    } else if constexpr (impl::kIsList<T>) {
        return impl::readList<true>(parcel, value);
    } else {
        return AParcel_readData(parcel, value);
    }
}

// ---- Vectors that a method only fills ---------------------------------------------------------

// For an `out T[]` argument the caller sends the length of its vector, and the method finds a
// vector of that length.
template <typename T>
binder_status_t AParcel_writeVectorSize(AParcel* parcel, const std::vector<T>& vector) {
    if (!impl::fitsLength(vector.size())) return STATUS_BAD_VALUE;
    return AParcel_writeInt32(parcel, static_cast<int32_t>(vector.size()));
}

template <typename T>
binder_status_t AParcel_writeVectorSize(AParcel* parcel,
                                        const std::optional<std::vector<T>>& vector) {
    return vector ? AParcel_writeVectorSize(parcel, *vector) : AParcel_writeInt32(parcel, -1);
}

// Reads that length and resizes. No bytes in the parcel vouch for it, so it is held against the
// size of the largest answer, 100,000 bytes: STATUS_NO_MEMORY beyond. Null: STATUS_UNEXPECTED_NULL.
template <typename T>
binder_status_t AParcel_resizeVector(const AParcel* parcel, std::vector<T>* vector) {
    constexpr int32_t kLargestAnswer = 100000;
    constexpr bool kBytes = std::is_same_v<impl::ElementWireType<T>, int8_t>;
    int32_t length = 0;
    const binder_status_t status = AParcel_readInt32(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length == -1) return STATUS_UNEXPECTED_NULL;
    if (length < 0) return STATUS_BAD_VALUE;
    if (length > (kBytes ? kLargestAnswer : kLargestAnswer / 4)) return STATUS_NO_MEMORY;
    vector->resize(static_cast<size_t>(length));
    return STATUS_OK;
}

// As above, where null empties the optional.
template <typename T>
binder_status_t AParcel_resizeVector(const AParcel* parcel, std::optional<std::vector<T>>* vector) {
    bool isNull = false;
    const binder_status_t status = impl::takeNull<std::vector<T>>(parcel, &isNull);
    if (status != STATUS_OK) return status;
    if (isNull) {
        vector->reset();
        return STATUS_OK;
    }
    return AParcel_resizeVector(parcel, impl::fill(vector));
}

}  // namespace ndk
