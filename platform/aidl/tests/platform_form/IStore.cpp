// SPDX-License-Identifier: Apache-2.0
#include "aidl/test/form/IStore.h"

namespace aidl::test::form {
static binder_status_t _aidl_test_form_IStore_onTransact(AIBinder*, transaction_code_t,
                                                         const AParcel*, AParcel*) {
    return STATUS_UNKNOWN_TRANSACTION;
}

static AIBinder_Class* _g_aidl_test_form_IStore_clazz =
    ::ndk::ICInterface::defineClass(IStore::descriptor, _aidl_test_form_IStore_onTransact);

::ndk::SpAIBinder BnStore::createBinder() {
    AIBinder* binder = AIBinder_new(_g_aidl_test_form_IStore_clazz, static_cast<void*>(this));
#ifdef BINDER_STABILITY_SUPPORT
    AIBinder_markVintfStability(binder);
#endif
    return ::ndk::SpAIBinder(binder);
}

const char* IStore::descriptor = "test.form.IStore";
}  // namespace aidl::test::form
