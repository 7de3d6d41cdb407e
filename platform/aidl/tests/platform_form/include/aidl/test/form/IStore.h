// SPDX-License-Identifier: Apache-2.0
// An enum, a record and an interface in the form that the platform's own compiler gives them: those
// parts that take other things from our headers than our compiler's code does.
#pragma once

#include <android/binder_enums.h>
#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_to_string.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>
#ifdef BINDER_STABILITY_SUPPORT
#include <android/binder_stability.h>
#endif

namespace aidl::test::form {
enum class Mode : int8_t { OFF = 0, ON = 1, OLD __attribute__((deprecated("use ON"))) = 2 };
[[nodiscard]] static inline std::string toString(Mode val) {
    switch (val) {
        case Mode::OLD:
            return "OLD";
        default:
            return std::to_string(static_cast<int8_t>(val));
    }
}
}  // namespace aidl::test::form
namespace ndk {
namespace internal {
template <>
constexpr inline std::array<aidl::test::form::Mode, 2> enum_values<aidl::test::form::Mode> = {
    aidl::test::form::Mode::OFF,
    aidl::test::form::Mode::ON,
};
}  // namespace internal
}  // namespace ndk

namespace aidl::test::form {
class Item {
  public:
    typedef std::false_type fixed_size;
    ::aidl::test::form::Mode mode = ::aidl::test::form::Mode(0);
    std::optional<std::string> name;
    std::vector<uint8_t> data = {};

    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_LOCAL;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "Item{mode: " << ::android::internal::ToString(mode);
        _aidl_os << ", name: " << ::android::internal::ToString(name);
        _aidl_os << ", data: " << ::android::internal::ToString(data) << "}";
        return _aidl_os.str();
    }
};

class IStore : public ::ndk::ICInterface {
  public:
    static const char* descriptor;
    virtual ::ndk::ScopedAStatus swap(const ::aidl::test::form::Item& in_item,
                                      std::optional<::aidl::test::form::Item>* _aidl_return) = 0;
};

class BnStore : public ::ndk::BnCInterface<IStore> {
  protected:
    ::ndk::SpAIBinder createBinder() override;
};
}  // namespace aidl::test::form
