// SPDX-License-Identifier: Apache-2.0
#include "echo.h"

#include <android/binder_parcel_utils.h>
#include <unistd.h>

#include <utility>

namespace echo {
namespace {

using ndk::ScopedAParcel;
using ndk::ScopedAStatus;
using ndk::SpAIBinder;

constexpr transaction_code_t kOn = 1;

// Answers with success and, where there is one, a result.
template <typename... Result>
binder_status_t answer(AParcel* out, const Result&... result) {
    binder_status_t status = AParcel_writeStatusHeader(out, ScopedAStatus::ok().get());
    ((status = status == STATUS_OK ? ndk::AParcel_writeNullableData(out, result) : status), ...);
    return status;
}

binder_status_t fire(Server& server, int count, AParcel* out) {
    if (count < 0) {
        const auto error = count == -1
                               ? ScopedAStatus::fromServiceSpecificErrorWithMessage(42, "no")
                               : ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
        return AParcel_writeStatusHeader(out, error.get());
    }
    const SpAIBinder callback = server.callback();
    for (int i = 0; i < count; ++i) {
        if (auto s = callOneway(callback.get(), kOn, i); s != STATUS_OK) return s;
    }
    return answer(out);
}

binder_status_t onServerCall(AIBinder* binder, transaction_code_t code, const AParcel* in,
                             AParcel* out) {
    Server& server = *static_cast<Server*>(AIBinder_getUserData(binder));
    std::vector<int8_t> bytes;
    int32_t number = 0;
    SpAIBinder object;
    binder_status_t status = STATUS_OK;
    if (code == kEcho) {
        status = ndk::AParcel_readData(in, &bytes);
    } else if (code == kPing || code == kFire || code == kAskBack) {
        status = AParcel_readInt32(in, &number);
    } else if (code == kRegisterCallback || code == kReturnObject) {
        status = AParcel_readStrongBinder(in, object.getR());
    }
    if (status != STATUS_OK) return status;
    switch (code) {
        case kEcho:
            return answer(out, bytes);
        case kPing:
            server.ping(number);
            return answer(out, number + 1);
        case kRegisterCallback:
            if (object.get() != nullptr &&
                !AIBinder_associateClass(object.get(), callbackClass())) {
                return STATUS_BAD_TYPE;
            }
            server.setCallback(std::move(object));
            return answer(out);
        case kFire:
            return fire(server, number, out);
        case kAskBack: {
            int result = 0;
            status = callWithInt(server.callback().get(), Code{kOn}, number, &result);
            return status == STATUS_OK ? answer(out, result) : status;
        }
        case kBlock:
            server.block();
            return answer(out);
        case kReturnObject:
            return answer(out, object);
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
    if (code != kOn) return STATUS_UNKNOWN_TRANSACTION;
    if (auto s = AParcel_readInt32(in, &number); s != STATUS_OK) return s;
    return answer(out, (*static_cast<OnCall*>(AIBinder_getUserData(binder)))(number));
}

SpAIBinder stable(AIBinder* made) {
    AIBinder_markVintfStability(made);
    return SpAIBinder(made);
}

// Makes a call and takes its result, where one is wanted.
template <typename Argument, typename Result>
binder_status_t call(AIBinder* binder, Code code, const Argument& argument, Result* result,
                     ScopedAStatus* status = nullptr) {
    ScopedAParcel in;
    ScopedAParcel out;
    ScopedAStatus head;
    if (auto s = AIBinder_prepareTransaction(binder, in.getR()); s != STATUS_OK) return s;
    (void)ndk::AParcel_writeNullableData(in.get(), argument);
    auto s = AIBinder_transact(binder, code, in.getR(), out.getR(), 0);
    if (s == STATUS_OK) s = AParcel_readStatusHeader(out.get(), head.getR());
    const bool isOk = s == STATUS_OK && head.isOk();
    if (status != nullptr) *status = std::move(head);
    return isOk && result != nullptr ? ndk::AParcel_readNullableData(out.get(), result) : s;
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
    return stable(AIBinder_new(serverClass(), server));
}

SpAIBinder makeCallback(OnCall on) {
    return stable(AIBinder_new(callbackClass(), new OnCall(std::move(on))));
}

binder_status_t callWithInt(AIBinder* binder, Code code, int argument, int* result,
                            ScopedAStatus* status) {
    return call(binder, code, argument, result, status);
}

binder_status_t ping(AIBinder* binder, int x, int* result) {
    return call(binder, kPing, x, result);
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
    return call(binder, kEcho, data, result);
}

binder_status_t callWithBinder(AIBinder* binder, Code code, AIBinder* argument,
                               SpAIBinder* result) {
    AIBinder_incStrong(argument);
    return call(binder, code, SpAIBinder(argument), result);
}

}  // namespace echo
