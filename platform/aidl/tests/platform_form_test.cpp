// SPDX-License-Identifier: Apache-2.0
// A record and an interface in the form that the platform's own compiler gives them, built
// against our headers: those parts that take other things from them than our compiler's code does.
#include <android/binder_interface_utils.h>
#include <android/binder_parcelable_utils.h>
#include <android/binder_stability.h>
#include <android/binder_to_string.h>
#include <gtest/gtest.h>

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
    static const char* descriptor;
};
class BnStore : public ::ndk::BnCInterface<IStore> {
  protected:
    ::ndk::SpAIBinder createBinder() override;
};

static binder_status_t _aidl_test_form_IStore_onTransact(AIBinder*, transaction_code_t,
                                                         const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}
const char* IStore::descriptor = "test.form.IStore";
static AIBinder_Class* _g_aidl_test_form_IStore_clazz =
    ::ndk::ICInterface::defineClass(IStore::descriptor, _aidl_test_form_IStore_onTransact);

::ndk::SpAIBinder BnStore::createBinder() {
    AIBinder* binder = AIBinder_new(_g_aidl_test_form_IStore_clazz, static_cast<void*>(this));
    AIBinder_markVintfStability(binder);
    return ::ndk::SpAIBinder(binder);
}

TEST(PlatformFormTest, ObjectAndRecordWork) {
    const auto store = ndk::SharedRefBase::make<BnStore>();
    const ndk::SpAIBinder binder = store->asBinder();
    EXPECT_STREQ(AIBinder_Class_getDescriptor(AIBinder_getClass(binder.get())), "test.form.IStore");
    EXPECT_EQ(ndk::ICInterface::asInterface(binder.get()), store);
    EXPECT_EQ((Item{std::nullopt, {1, 2}}.toString()), "Item{name: (null), data: [1, 2]}");
}

}  // namespace aidl::test::form
