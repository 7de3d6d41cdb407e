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
    binder_status_t _aidl_ret_status = STATUS_UNKNOWN_TRANSACTION;
    return _aidl_ret_status;
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
::ndk::ScopedAStatus BnStore::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IStore::version;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}

const char* IStore::descriptor = "test.form.IStore";
IStore::IStore() {}
IStore::~IStore() {}
binder_status_t Pick::readFromParcel(const AParcel* _parcel) {
    binder_status_t _aidl_ret_status;
    int32_t _aidl_tag;
    if ((_aidl_ret_status = AParcel_readInt32(_parcel, &_aidl_tag)) != STATUS_OK)
        return _aidl_ret_status;
    switch (static_cast<Tag>(_aidl_tag)) {
        case number: {
            int32_t _aidl_value;
            if ((_aidl_ret_status = ::ndk::AParcel_readData(_parcel, &_aidl_value)) != STATUS_OK)
                return _aidl_ret_status;
            set<number>(_aidl_value);
            return STATUS_OK;
        }
        case text: {
            std::string _aidl_value;
            if ((_aidl_ret_status = ::ndk::AParcel_readData(_parcel, &_aidl_value)) != STATUS_OK)
                return _aidl_ret_status;
            set<text>(std::move(_aidl_value));
            return STATUS_OK;
        }
    }
    return STATUS_BAD_VALUE;
}
binder_status_t Pick::writeToParcel(AParcel* _parcel) const {
    binder_status_t _aidl_ret_status = AParcel_writeInt32(_parcel, static_cast<int32_t>(getTag()));
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    switch (getTag()) {
        case number:
            return ::ndk::AParcel_writeData(_parcel, get<number>());
        case text:
            return ::ndk::AParcel_writeData(_parcel, get<text>());
    }
    __assert2(__FILE__, __LINE__, __PRETTY_FUNCTION__, "can't reach here");
}
}  // namespace aidl::test::form
