// SPDX-License-Identifier: Apache-2.0
//
// The C functions of android/binder_ibinder.h, binder_shell.h and binder_stability.h.
#include "binder.h"

#include <android-base/logging.h>
#include <android/binder_ibinder.h>
#include <android/binder_shell.h>
#include <android/binder_stability.h>
#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "parcel.h"
#include "serving_context.h"
#include "session.h"

using namespace android::host;
using android::base::unique_fd;

struct AIBinder_Weak {
    AIBinder* binder;  // a weak reference
};

namespace {

LocalBinder* asLocal(AIBinder* binder) {
    return binder == nullptr || binder->isRemote() ? nullptr : static_cast<LocalBinder*>(binder);
}

ProxyBinder* asProxy(AIBinder* binder) {
    return binder == nullptr || !binder->isRemote() ? nullptr : static_cast<ProxyBinder*>(binder);
}

binder_status_t writeFdCopy(AParcel* parcel, int fd) {
    unique_fd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!copy.ok()) return -errno;
    parcel->writeFd(std::move(copy));
    return STATUS_OK;
}

void writeArguments(AParcel* parcel, const char** args, uint32_t count) {
    parcel->writeValue(static_cast<int32_t>(count));
    for (uint32_t i = 0; i < count; ++i) parcel->writeString(args[i]);
}

}  // namespace

AIBinder_Class* AIBinder_Class_define(const char* interfaceDescriptor,
                                      AIBinder_Class_onCreate onCreate,
                                      AIBinder_Class_onDestroy onDestroy,
                                      AIBinder_Class_onTransact onTransact) {
    return new AIBinder_Class(interfaceDescriptor, onCreate, onDestroy, onTransact);
}

void AIBinder_Class_setOnDump(AIBinder_Class* clazz, AIBinder_onDump onDump) {
    clazz->onDump = onDump;
}

void AIBinder_Class_setHandleShellCommand(AIBinder_Class* clazz,
                                          AIBinder_handleShellCommand handleShellCommand) {
    clazz->onShellCommand = handleShellCommand;
}

const char* AIBinder_Class_getDescriptor(const AIBinder_Class* clazz) {
    return clazz->descriptor.c_str();
}

AIBinder* AIBinder_new(const AIBinder_Class* clazz, void* args) {
    return new LocalBinder(clazz, args);
}

void AIBinder_markVintfStability(AIBinder* binder) {
    LocalBinder* local = asLocal(binder);
    CHECK(local != nullptr) << "only an object of this process can be marked";
    local->markVintf();
}

bool AIBinder_isRemote(const AIBinder* binder) {
    return binder != nullptr && binder->isRemote();
}

bool AIBinder_isAlive(const AIBinder* binder) {
    if (binder == nullptr) return false;
    ProxyBinder* proxy = asProxy(const_cast<AIBinder*>(binder));
    return proxy == nullptr || proxy->session().isAlive();
}

binder_status_t AIBinder_ping(AIBinder* binder) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    AParcel in;
    AParcel out;
    return binder->transact(kPingCode, in, out, 0);
}

binder_status_t AIBinder_dump(AIBinder* binder, int fd, const char** args, uint32_t numArgs) {
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    AParcel in;
    AParcel out;
    // The platform finds an invalid descriptor only when it sends the call.
    if (writeFdCopy(&in, fd) != STATUS_OK) return STATUS_FAILED_TRANSACTION;
    writeArguments(&in, args, numArgs);
    return binder->transact(kDumpCode, in, out, 0);
}

uid_t AIBinder_getCallingUid() {
    const Caller* caller = ServingContext::caller();
    return caller != nullptr ? caller->uid : getuid();
}

pid_t AIBinder_getCallingPid() {
    const Caller* caller = ServingContext::caller();
    return caller != nullptr ? caller->pid : getpid();
}

void AIBinder_incStrong(AIBinder* binder) {
    if (binder != nullptr) binder->incStrong();
}

void AIBinder_decStrong(AIBinder* binder) {
    if (binder != nullptr) binder->decStrong();
}

int32_t AIBinder_debugGetRefCount(AIBinder* binder) {
    return binder == nullptr ? -1 : binder->strongCount();
}

bool AIBinder_associateClass(AIBinder* binder, const AIBinder_Class* clazz) {
    if (binder == nullptr) return false;
    if (ProxyBinder* proxy = asProxy(binder)) return proxy->associate(clazz);
    return binder->clazz() == clazz;
}

const AIBinder_Class* AIBinder_getClass(AIBinder* binder) {
    return binder == nullptr ? nullptr : binder->clazz();
}

void* AIBinder_getUserData(AIBinder* binder) {
    LocalBinder* local = asLocal(binder);
    return local == nullptr ? nullptr : local->userData();
}

binder_status_t AIBinder_prepareTransaction(AIBinder* binder, AParcel** in) {
    *in = nullptr;
    if (binder == nullptr) return STATUS_UNEXPECTED_NULL;
    const AIBinder_Class* clazz = binder->clazz();
    if (clazz == nullptr) {
        LOG(ERROR) << "A binder object needs AIBinder_associateClass before its first call";
        return STATUS_INVALID_OPERATION;
    }
    AParcel* parcel = AParcel::obtain();
    parcel->target = binder;
    parcel->write(clazz->token.data(), clazz->token.size());
    *in = parcel;
    return STATUS_OK;
}

binder_status_t AIBinder_transact(AIBinder* binder, transaction_code_t code, AParcel** in,
                                  AParcel** out, binder_flags_t flags) {
    AParcel* sent = in == nullptr ? nullptr : std::exchange(*in, nullptr);
    if (out == nullptr || sent == nullptr || binder == nullptr) {
        AParcel::recycle(sent);
        return STATUS_UNEXPECTED_NULL;
    }
    *out = nullptr;
    constexpr binder_flags_t kClearBuffer = 0x20;  // the platform's FLAG_CLEAR_BUF
    constexpr binder_flags_t kKnownFlags =
        binder_flags_t{FLAG_ONEWAY} | kClearBuffer | FLAG_PRIVATE_VENDOR;
    binder_status_t status = STATUS_BAD_VALUE;
    AParcel* received = AParcel::obtain();
    if (code < FIRST_CALL_TRANSACTION || code > LAST_CALL_TRANSACTION) {
        status = STATUS_UNKNOWN_TRANSACTION;
    } else if (sent->target == binder && (flags & ~kKnownFlags) == 0) {
        status = binder->transact(code, *sent, *received, flags);
    }
    AParcel::recycle(sent);
    if (status == STATUS_OK) {
        *out = received;
    } else {
        AParcel::recycle(received);
    }
    return status;
}

AIBinder_Weak* AIBinder_Weak_new(AIBinder* binder) {
    if (binder == nullptr) return nullptr;
    binder->incWeak();
    return new AIBinder_Weak{binder};
}

void AIBinder_Weak_delete(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr) return;
    weakBinder->binder->decWeak();
    delete weakBinder;
}

AIBinder* AIBinder_Weak_promote(AIBinder_Weak* weakBinder) {
    if (weakBinder == nullptr || !weakBinder->binder->tryIncStrong()) return nullptr;
    return weakBinder->binder;
}

AIBinder_DeathRecipient* AIBinder_DeathRecipient_new(
    AIBinder_DeathRecipient_onBinderDied onBinderDied) {
    return new AIBinder_DeathRecipient(onBinderDied);
}

void AIBinder_DeathRecipient_setOnUnlinked(AIBinder_DeathRecipient* recipient,
                                           AIBinder_DeathRecipient_onBinderUnlinked onUnlinked) {
    recipient->onUnlinked = onUnlinked;
}

void AIBinder_DeathRecipient_delete(AIBinder_DeathRecipient* recipient) {
    delete recipient;
}

binder_status_t AIBinder_linkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                     void* cookie) {
    if (binder == nullptr || recipient == nullptr) return STATUS_UNEXPECTED_NULL;
    ProxyBinder* proxy = asProxy(binder);
    const std::shared_ptr<DeathLink> link = recipient->makeLink(cookie);
    // An object of this process dies with all who could be told.
    const binder_status_t status = proxy == nullptr ? STATUS_INVALID_OPERATION : proxy->link(link);
    if (status != STATUS_OK) link->end();
    return status;
}

binder_status_t AIBinder_unlinkToDeath(AIBinder* binder, AIBinder_DeathRecipient* recipient,
                                       void* cookie) {
    if (binder == nullptr || recipient == nullptr) return STATUS_UNEXPECTED_NULL;
    ProxyBinder* proxy = asProxy(binder);
    return proxy == nullptr ? STATUS_NAME_NOT_FOUND : proxy->unlink(recipient, cookie);
}
