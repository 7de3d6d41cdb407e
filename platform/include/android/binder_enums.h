// SPDX-License-Identifier: Apache-2.0
//
// Going through the values of an enum of an interface: for (auto e : ndk::enum_range<Fan>()).
//
// Stands in for the header of the same name in Android's NDK, written for Linux.

#pragma once

#include <array>
#include <iterator>
#include <type_traits>

namespace ndk {
namespace internal {

// Never defined: what enum_values is for a type that has no list.
template <typename T>
struct invalid_type;

// The values in the order of their declaration. Generated code specialises this as a std::array.
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
constexpr invalid_type<EnumType> enum_values;

}  // namespace internal

// All values of an enum, to be used at run time or in constant expressions.
template <typename EnumType, typename = std::enable_if_t<std::is_enum<EnumType>::value>>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
