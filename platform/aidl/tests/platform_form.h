// SPDX-License-Identifier: Apache-2.0
// A record and an interface in the form that the platform's own compiler gives them: those parts
// that take other things from our headers than our compiler's code does.
#pragma once

#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_stability.h>
#include <android/binder_to_string.h>

#include <cstdint>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace aidl::test::form {

class Item {
  public:
    typedef std::false_type fixed_size;
    std::optional<std::string> name;
    std::vector<uint8_t> data = {};

    inline bool operator<(const Item& _rhs) const {
        return std::tie(name, data) < std::tie(_rhs.name, _rhs.data);
    }
    static const ::ndk::parcelable_stability_t _aidl_stability = ::ndk::STABILITY_LOCAL;
    inline std::string toString() const {
        std::ostringstream _aidl_os;
        _aidl_os << "Item{name: " << ::android::internal::ToString(name);
        _aidl_os << ", data: " << ::android::internal::ToString(data) << "}";
        return _aidl_os.str();
    }
};

class IStore : public ::ndk::ICInterface {
  public:
    static inline const char* descriptor = "test.form.IStore";
};

static binder_status_t _aidl_test_form_IStore_onTransact(AIBinder*, transaction_code_t,
                                                         const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}
static AIBinder_Class* _g_aidl_test_form_IStore_clazz =
    ::ndk::ICInterface::defineClass(IStore::descriptor, _aidl_test_form_IStore_onTransact);

class BnStore : public ::ndk::BnCInterface<IStore> {
  protected:
    ::ndk::SpAIBinder createBinder() override {
        AIBinder* binder = AIBinder_new(_g_aidl_test_form_IStore_clazz, static_cast<void*>(this));
        AIBinder_markVintfStability(binder);
        return ::ndk::SpAIBinder(binder);
    }
};

}  // namespace aidl::test::form
