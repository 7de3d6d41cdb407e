// SPDX-License-Identifier: Apache-2.0
//
// android::internal::ToString(value): the text of any value of an interface, as the toString() of
// generated records puts it together. For logs; nothing parses it.
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <android/binder_auto_utils.h>

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <type_traits>

namespace android {
namespace internal {

// How each kind of value appears:
//   bool                  true, false
//   numbers               decimal
//   char                  the UTF-8 text of the unit; U+FFFD for half a surrogate pair
//   strings               as they are
//   enums                 their toString(), else the number
//   records, unions       their toString()
//   lists                 [a, b]
//   optionals, pointers   what they hold, or (null)
//   binders, interfaces   their address; descriptors: their number
//   anything else         {no toString() implemented}
template <typename T>
std::string ToString(const T& value);

namespace details {

// What overload resolution falls back to when an enum has no toString() of its own.
struct NoToString {};
template <typename T>
NoToString toString(const T&);

template <typename T>
concept HasToStringMember = requires(const T& value) {
    std::string(value.toString());
};

template <typename T>
concept IsBinder = requires(const T& value) {
    const_cast<T&>(value).asBinder();
};

template <typename T>
concept IsList = requires(const T& value) {
    value.begin();
    value.end();
};

// std::optional, std::unique_ptr, std::shared_ptr.
template <typename T>
concept IsHolder = requires(const T& value) {
    *value;
    static_cast<bool>(value);
};

inline std::string address(const void* p) {
    if (p == nullptr) return "(null)";
    char text[32];
    std::snprintf(text, sizeof(text), "%p", p);
    return text;
}

inline std::string character(char16_t unit) {
    const uint32_t c = unit >= 0xd800 && unit <= 0xdfff ? 0xfffd : unit;
    const auto tail = [c](int shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3f)); };
    if (c < 0x80) return std::string(1, static_cast<char>(c));
    if (c < 0x800) return {static_cast<char>(0xc0 | (c >> 6)), tail(0)};
    return {static_cast<char>(0xe0 | (c >> 12)), tail(6), tail(0)};
}

template <typename T>
std::string enumeration(T value) {
    if constexpr (std::is_same_v<decltype(toString(value)), NoToString>) {
        return std::to_string(static_cast<std::underlying_type_t<T>>(value));
    } else {
        return toString(value);
    }
}

template <typename T>
std::string list(const T& values) {
    std::string text = "[";
    for (const auto& value : values) {
        if (text.size() > 1) text += ", ";
        // std::vector<bool> gives proxies.
        if constexpr (std::is_same_v<std::decay_t<typename T::value_type>, bool>) {
            text += ToString(static_cast<bool>(value));
        } else {
            text += ToString(value);
        }
    }
    return text + "]";
}

template <typename T>
std::string held(const T& holder) {
    if (!holder) return "(null)";
    if constexpr (IsBinder<std::decay_t<decltype(*holder)>>) {
        return address(&*holder);
    } else {
        return ToString(*holder);
    }
}

}  // namespace details

template <typename T>
std::string ToString(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_same_v<T, char16_t>) {
        return details::character(value);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(value);
    } else if constexpr (std::is_same_v<T, std::string>) {
        return value;
    } else if constexpr (std::is_enum_v<T>) {
        return details::enumeration(value);
    } else if constexpr (std::is_same_v<T, ::ndk::SpAIBinder>) {
        return details::address(value.get());
    } else if constexpr (std::is_same_v<T, ::ndk::ScopedFileDescriptor>) {
        return std::to_string(value.get());
    } else if constexpr (details::HasToStringMember<T>) {
        return value.toString();
    } else if constexpr (details::IsList<T>) {
        return details::list(value);
    } else if constexpr (details::IsHolder<T>) {
        return details::held(value);
    } else {
        return "{no toString() implemented}";
    }
}

}  // namespace internal
}  // namespace android
