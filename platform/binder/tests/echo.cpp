// SPDX-License-Identifier: Apache-2.0
#include "echo.h"

#include <unistd.h>

#include <utility>

namespace echo {
namespace {

using ndk::ScopedAParcel;
using ndk::ScopedAStatus;
using ndk::SpAIBinder;

bool allocateBytes(void* data, int32_t length, int8_t** buffer) {
    if (length < 0) return false;
    auto* bytes = static_cast<std::vector<int8_t>*>(data);
    bytes->resize(static_cast<size_t>(length));
    *buffer = bytes->data();
    return true;
}

binder_status_t answer(AParcel* out, const ScopedAStatus& status) {
    return AParcel_writeStatusHeader(out, status.get());
}

binder_status_t fire(Server& server, int count, AParcel* out) {
    if (count == -1) {
        return answer(out, ScopedAStatus::fromServiceSpecificErrorWithMessage(42, "no"));
    }
    if (count == -2) {
        return answer(out, ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION));
    }
    const SpAIBinder callback = server.callback();
    for (int i = 0; i < count; ++i) {
        if (auto s = callOneway(callback.get(), 1, i); s != STATUS_OK) return s;
    }
    return answer(out, ScopedAStatus::ok());
}

binder_status_t onServerCall(AIBinder* binder, transaction_code_t code, const AParcel* in,
                             AParcel* out) {
    Server& server = *static_cast<Server*>(AIBinder_getUserData(binder));
    int32_t number = 0;
    switch (code) {
        case kEcho: {
            std::vector<int8_t> data;
            if (auto s = AParcel_readByteArray(in, &data, allocateBytes); s != STATUS_OK) return s;
            answer(out, ScopedAStatus::ok());
            return AParcel_writeByteArray(out, data.data(), static_cast<int32_t>(data.size()));
        }
        case kPing:
            if (auto s = AParcel_readInt32(in, &number); s != STATUS_OK) return s;
            server.ping(number);
            answer(out, ScopedAStatus::ok());
            return AParcel_writeInt32(out, number + 1);
        case kRegisterCallback: {
            SpAIBinder callback;
            if (auto s = AParcel_readStrongBinder(in, callback.getR()); s != STATUS_OK) return s;
            if (callback.get() != nullptr &&
                !AIBinder_associateClass(callback.get(), callbackClass())) {
                return STATUS_BAD_TYPE;
            }
            server.setCallback(std::move(callback));
            return answer(out, ScopedAStatus::ok());
        }
        case kFire:
            if (auto s = AParcel_readInt32(in, &number); s != STATUS_OK) return s;
            return fire(server, number, out);
        case kAskBack: {
            if (auto s = AParcel_readInt32(in, &number); s != STATUS_OK) return s;
            int result = 0;
            auto s = callWithInt(server.callback().get(), Code{1}, number, &result);
            if (s != STATUS_OK) return s;
            answer(out, ScopedAStatus::ok());
            return AParcel_writeInt32(out, result);
        }
        case kBlock:
            server.block();
            return answer(out, ScopedAStatus::ok());
        case kReturnObject: {
            SpAIBinder object;
            if (auto s = AParcel_readStrongBinder(in, object.getR()); s != STATUS_OK) return s;
            answer(out, ScopedAStatus::ok());
            return AParcel_writeStrongBinder(out, object.get());
        }
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

binder_status_t onDump(AIBinder*, int fd, const char**, uint32_t count) {
    dprintf(fd, "echo dump, %u args:\n", count);
    return STATUS_OK;
}

binder_status_t onCallbackCall(AIBinder* binder, transaction_code_t code, const AParcel* in,
                               AParcel* out) {
    int32_t number;
    if (code != 1) return STATUS_UNKNOWN_TRANSACTION;
    if (auto s = AParcel_readInt32(in, &number); s != STATUS_OK) return s;
    int result = (*static_cast<OnCall*>(AIBinder_getUserData(binder)))(number);
    answer(out, ScopedAStatus::ok());
    return AParcel_writeInt32(out, result);
}

}  // namespace

const AIBinder_Class* serverClass() {
    static AIBinder_Class* const clazz = [] {
        AIBinder_Class* made = AIBinder_Class_define(
            "test.IEcho", [](void* args) { return args; }, [](void*) {}, onServerCall);
        AIBinder_Class_setOnDump(made, onDump);
        return made;
    }();
    return clazz;
}

const AIBinder_Class* callbackClass() {
    static AIBinder_Class* const clazz = AIBinder_Class_define(
        "test.ICb", [](void* args) { return args; },
        [](void* data) { delete static_cast<OnCall*>(data); }, onCallbackCall);
    return clazz;
}

SpAIBinder makeServer(Server* server) {
    SpAIBinder binder(AIBinder_new(serverClass(), server));
    AIBinder_markVintfStability(binder.get());
    return binder;
}

SpAIBinder makeCallback(OnCall on) {
    SpAIBinder binder(AIBinder_new(callbackClass(), new OnCall(std::move(on))));
    AIBinder_markVintfStability(binder.get());
    return binder;
}

binder_status_t callWithInt(AIBinder* binder, Code code, int argument, int* result,
                            ScopedAStatus* status) {
    ScopedAParcel in;
    ScopedAParcel out;
    if (auto s = AIBinder_prepareTransaction(binder, in.getR()); s != STATUS_OK) return s;
    AParcel_writeInt32(in.get(), argument);
    auto s = AIBinder_transact(binder, code, in.getR(), out.getR(), 0);
    ScopedAStatus head;
    if (s == STATUS_OK) s = AParcel_readStatusHeader(out.get(), head.getR());
    bool isOk = s == STATUS_OK && head.isOk();
    if (status != nullptr) *status = std::move(head);
    if (isOk && result != nullptr) s = AParcel_readInt32(out.get(), result);
    return s;
}

binder_status_t ping(AIBinder* binder, int x, int* result) {
    return callWithInt(binder, kPing, x, result);
}

binder_status_t callOneway(AIBinder* binder, transaction_code_t code, int argument) {
    ScopedAParcel in;
    ScopedAParcel out;
    if (auto s = AIBinder_prepareTransaction(binder, in.getR()); s != STATUS_OK) return s;
    AParcel_writeInt32(in.get(), argument);
    return AIBinder_transact(binder, code, in.getR(), out.getR(), FLAG_ONEWAY);
}

binder_status_t echo(AIBinder* binder, const std::vector<int8_t>& data,
                     std::vector<int8_t>* result) {
    ScopedAParcel in;
    ScopedAParcel out;
    if (auto s = AIBinder_prepareTransaction(binder, in.getR()); s != STATUS_OK) return s;
    AParcel_writeByteArray(in.get(), data.data(), static_cast<int32_t>(data.size()));
    auto s = AIBinder_transact(binder, kEcho, in.getR(), out.getR(), 0);
    ScopedAStatus head;
    if (s == STATUS_OK) s = AParcel_readStatusHeader(out.get(), head.getR());
    if (s == STATUS_OK && head.isOk()) s = AParcel_readByteArray(out.get(), result, allocateBytes);
    return s;
}

binder_status_t callWithBinder(AIBinder* binder, Code code, AIBinder* argument,
                               SpAIBinder* result) {
    ScopedAParcel in;
    ScopedAParcel out;
    if (auto s = AIBinder_prepareTransaction(binder, in.getR()); s != STATUS_OK) return s;
    AParcel_writeStrongBinder(in.get(), argument);
    auto s = AIBinder_transact(binder, code, in.getR(), out.getR(), 0);
    ScopedAStatus head;
    if (s == STATUS_OK) s = AParcel_readStatusHeader(out.get(), head.getR());
    if (s == STATUS_OK && result != nullptr) {
        s = AParcel_readStrongBinder(out.get(), result->getR());
    }
    return s;
}

}  // namespace echo
