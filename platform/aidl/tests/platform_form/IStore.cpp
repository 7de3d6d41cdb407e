// SPDX-License-Identifier: Apache-2.0
#include "aidl/test/form/IStore.h"

#include <android/binder_parcel_utils.h>

namespace aidl::test::form {
static binder_status_t _aidl_test_form_IStore_onTransact(AIBinder* _aidl_binder,
                                                         transaction_code_t _aidl_code,
                                                         const AParcel* _aidl_in,
                                                         AParcel* _aidl_out) {
    (void)_aidl_in;
    (void)_aidl_out;
    return STATUS_UNKNOWN_TRANSACTION;
}

static AIBinder_Class* _g_aidl_test_form_IStore_clazz =
    ::ndk::ICInterface::defineClass(IStore::descriptor, _aidl_test_form_IStore_onTransact);

BnStore::BnStore() {}
BnStore::~BnStore() {}
::ndk::SpAIBinder BnStore::createBinder() {
    AIBinder* binder = AIBinder_new(_g_aidl_test_form_IStore_clazz, static_cast<void*>(this));
#ifdef BINDER_STABILITY_SUPPORT
    AIBinder_markVintfStability(binder);
#endif
    return ::ndk::SpAIBinder(binder);
}

const char* IStore::descriptor = "test.form.IStore";
IStore::IStore() {}
IStore::~IStore() {}
}  // namespace aidl::test::form
