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
    std::shared_ptr<BnStore> _aidl_impl =
        std::static_pointer_cast<BnStore>(::ndk::ICInterface::asInterface(_aidl_binder));
    switch (_aidl_code) {
        case (FIRST_CALL_TRANSACTION + 0 /*swap*/): {
            ::aidl::test::form::Item in_item;
            std::optional<::aidl::test::form::Item> _aidl_return;
            _aidl_ret_status = ::ndk::AParcel_readData(_aidl_in, &in_item);
            if (_aidl_ret_status != STATUS_OK) break;
            ::ndk::ScopedAStatus _aidl_status = _aidl_impl->swap(in_item, &_aidl_return);
            _aidl_ret_status = AParcel_writeStatusHeader(_aidl_out, _aidl_status.get());
            if (_aidl_ret_status != STATUS_OK) break;
            if (!AStatus_isOk(_aidl_status.get())) break;
            _aidl_ret_status = ::ndk::AParcel_writeNullableData(_aidl_out, _aidl_return);
            if (_aidl_ret_status != STATUS_OK) break;
            break;
        }
    }
    return _aidl_ret_status;
}

static AIBinder_Class* _g_aidl_test_form_IStore_clazz =
    ::ndk::ICInterface::defineClass(IStore::descriptor, _aidl_test_form_IStore_onTransact);

BpStore::BpStore(const ::ndk::SpAIBinder& binder) : BpCInterface(binder) {}
BpStore::~BpStore() {}

::ndk::ScopedAStatus BpStore::swap(const ::aidl::test::form::Item& in_item,
                                   std::optional<::aidl::test::form::Item>* _aidl_return) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    ::ndk::ScopedAStatus _aidl_status;
    ::ndk::ScopedAParcel _aidl_in;
    ::ndk::ScopedAParcel _aidl_out;
    _aidl_ret_status = AIBinder_prepareTransaction(asBinderReference().get(), _aidl_in.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;
    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_in.get(), in_item);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;
    _aidl_ret_status =
        AIBinder_transact(asBinderReference().get(), (FIRST_CALL_TRANSACTION + 0 /*swap*/),
                          _aidl_in.getR(), _aidl_out.getR(),
                          0
#ifdef BINDER_STABILITY_SUPPORT
                              | static_cast<int>(FLAG_PRIVATE_LOCAL)
#endif
        );
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;
    _aidl_ret_status = AParcel_readStatusHeader(_aidl_out.get(), _aidl_status.getR());
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;
    if (!AStatus_isOk(_aidl_status.get())) goto _aidl_status_return;
    _aidl_ret_status = ::ndk::AParcel_readNullableData(_aidl_out.get(), _aidl_return);
    if (_aidl_ret_status != STATUS_OK) goto _aidl_error;
_aidl_error:
    _aidl_status.set(AStatus_fromStatus(_aidl_ret_status));
_aidl_status_return:
    return _aidl_status;
}
::ndk::ScopedAStatus BpStore::getInterfaceVersion(int32_t* _aidl_return) {
    *_aidl_return = IStore::version;
    return ::ndk::ScopedAStatus(AStatus_newOk());
}

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
std::shared_ptr<IStore> IStore::fromBinder(const ::ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), _g_aidl_test_form_IStore_clazz)) {
        const AIBinder_Class* originalClass = AIBinder_getClass(binder.get());
        if (originalClass == nullptr) return nullptr;
        if (0 == strcmp(AIBinder_Class_getDescriptor(originalClass), descriptor)) {
            return ::ndk::SharedRefBase::make<BpStore>(binder);
        }
        return nullptr;
    }
    std::shared_ptr<::ndk::ICInterface> interface = ::ndk::ICInterface::asInterface(binder.get());
    if (interface) {
        return std::static_pointer_cast<IStore>(interface);
    }
    return ::ndk::SharedRefBase::make<BpStore>(binder);
}

binder_status_t Item::readFromParcel(const AParcel* _aidl_parcel) {
    binder_status_t _aidl_ret_status = STATUS_OK;
    int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    int32_t _aidl_parcelable_size = 0;
    _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_parcelable_size);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;
    if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &mode);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_readNullableData(_aidl_parcel, &name);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &data);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_readData(_aidl_parcel, &pick);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos + _aidl_parcelable_size);
    return _aidl_ret_status;
}
binder_status_t Item::writeToParcel(AParcel* _aidl_parcel) const {
    binder_status_t _aidl_ret_status;
    size_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
    _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, mode);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_writeNullableData(_aidl_parcel, name);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, data);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    _aidl_ret_status = ::ndk::AParcel_writeData(_aidl_parcel, pick);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    size_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);
    AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);
    AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - _aidl_start_pos);
    AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);
    return _aidl_ret_status;
}

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
