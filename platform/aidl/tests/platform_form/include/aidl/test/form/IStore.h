// SPDX-License-Identifier: Apache-2.0
// An enum, a union, a record and an interface, in the form that the platform's own compiler gives
// them: those parts of it that take other things from our headers than our compiler's code does, or
// have compilers warn. Calls are not among them, nor is the delegator.
#pragma once

#include <android/binder_enums.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_to_string.h>

#include <array>
#include <cassert>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

#ifndef __BIONIC__
#define __assert2(a, b, c, d) ((void)0)
#endif

namespace aidl::test::form {
enum class Mode : int8_t { OFF = 0, ON = 1, OLD __attribute__((deprecated("use ON"))) = 2 };
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
[[nodiscard]] static inline std::string toString(Mode val) {
    switch (val) {
        case Mode::ON:
            return "ON";
        case Mode::OLD:
            return "OLD";
        default:
            return std::to_string(static_cast<int8_t>(val));
    }
}
#pragma clang diagnostic pop
}  // namespace aidl::test::form
namespace ndk {
namespace internal {
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wc++17-extensions"
template <>
constexpr inline std::array<aidl::test::form::Mode, 2> enum_values<aidl::test::form::Mode> = {
    aidl::test::form::Mode::OFF,
    aidl::test::form::Mode::ON,
};
#pragma clang diagnostic pop
}  // namespace internal
}  // namespace ndk

namespace aidl::test::form {
class Pick {
  public:
    typedef std::false_type fixed_size;
    enum class Tag : int32_t { number = 0, text = 1 };
    static const inline Tag number = Tag::number;
    static const inline Tag text = Tag::text;

    Tag getTag() const { return static_cast<Tag>(_value.index()); }
    template <Tag _tag>
    const auto& get() const {
        if (getTag() != _tag) {
            __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__, "bad access: a wrong tag");
        }
        return std::get<static_cast<size_t>(_tag)>(_value);
    }
    template <Tag _tag, typename... _Tp>
    void set(_Tp&&... _args) {
        _value.emplace<static_cast<size_t>(_tag)>(std::forward<_Tp>(_args)...);
    }
    inline bool operator<(const Pick& _rhs) const { return _value < _rhs._value; }
    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_LOCAL;
    inline std::string toString() const {
        std::ostringstream os;
        os << "Pick{number: " << ::android::internal::ToString(get<number>()) << "}";
        return os.str();
    }

  private:
    std::variant<int32_t, std::string> _value;
};

class Item {
  public:
    typedef std::false_type fixed_size;
    ::aidl::test::form::Mode mode = ::aidl::test::form::Mode(0);
    std::optional<std::string> name;
    std::vector<uint8_t> data = {};
    ::aidl::test::form::Pick pick;

    inline bool operator<(const Item& _rhs) const {
        return std::tie(mode, name, data, pick) <
               std::tie(_rhs.mode, _rhs.name, _rhs.data, _rhs.pick);
    }
    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_LOCAL;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "Item{mode: " << ::android::internal::ToString(mode);
        _aidl_os << ", name: " << ::android::internal::ToString(name);
        _aidl_os << ", data: " << ::android::internal::ToString(data);
        _aidl_os << ", pick: " << ::android::internal::ToString(pick) << "}";
        return _aidl_os.str();
    }
};

class IStore : public ::ndk::ICInterface {
  public:
    static const char* descriptor;
    IStore();
    virtual ~IStore();
    virtual ::ndk::ScopedAStatus swap(const ::aidl::test::form::Item& in_item,
                                      std::optional<::aidl::test::form::Item>* _aidl_return) = 0;
};

class BnStore : public ::ndk::BnCInterface<IStore> {
  public:
    BnStore();
    virtual ~BnStore();

  protected:
    ::ndk::SpAIBinder createBinder() override;
};
}  // namespace aidl::test::form
