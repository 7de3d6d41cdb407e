// SPDX-License-Identifier: Apache-2.0
#include "binder.h"

#include <android-base/logging.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "parcel.h"
#include "session.h"

using namespace host::binder;
using android::base::unique_fd;

namespace {

std::vector<uint8_t> makeToken(const std::string& descriptor) {
    AParcel parcel;
    parcel.writeString(descriptor);
    return {parcel.bytes().begin(), parcel.bytes().end()};
}

// Descriptor, as in the calls of the platform's shell-command receiver.
constexpr char kResultReceiver[] = "com.android.internal.os.IResultReceiver";
constexpr transaction_code_t kResultReceiverSend = 1;

// Arguments of a dump or shell command, as C code takes them.
struct Arguments {
    binder_status_t read(const AParcel& in) {
        int32_t count;
        if (binder_status_t status = in.readCount(sizeof(int32_t), &count); status != STATUS_OK) {
            return status;
        }
        texts.resize(static_cast<size_t>(std::max(count, 0)));
        for (std::string& text : texts) {
            if (binder_status_t status = in.readString(&text); status != STATUS_OK) return status;
            pointers.push_back(text.c_str());
        }
        return STATUS_OK;
    }

    uint32_t count() const { return static_cast<uint32_t>(pointers.size()); }

    std::vector<std::string> texts;
    std::vector<const char*> pointers;
};

}  // namespace

AIBinder_Class::AIBinder_Class(const char* name, AIBinder_Class_onCreate create,
                               AIBinder_Class_onDestroy destroy, AIBinder_Class_onTransact transact)
    : descriptor(name),
      token(makeToken(descriptor)),
      onCreate(create),
      onDestroy(destroy),
      onTransact(transact) {}

void AIBinder::decStrong() {
    if (mStrong.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    onLastStrong();
    decWeak();
}

bool AIBinder::tryIncStrong() {
    int32_t count = mStrong.load(std::memory_order_relaxed);
    while (count > 0) {
        if (mStrong.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) return true;
    }
    return false;
}

void AIBinder::decWeak() {
    if (mWeak.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

namespace host::binder {

LocalBinder::LocalBinder(const AIBinder_Class* clazz, void* args)
    : AIBinder(/*isRemote=*/false, clazz), mUserData(clazz->onCreate(args)) {}

void LocalBinder::onLastStrong() {
    AIBinder* extension;
    {
        std::lock_guard lock(mLock);
        extension = std::exchange(mExtension, nullptr);
    }
    if (extension != nullptr) extension->decStrong();
    clazz()->onDestroy(mUserData);
}

void LocalBinder::setExtension(AIBinder* extension) {
    extension->incStrong();
    {
        std::lock_guard lock(mLock);
        std::swap(mExtension, extension);
    }
    if (extension != nullptr) extension->decStrong();
}

binder_status_t LocalBinder::transact(transaction_code_t code, AParcel& in, AParcel& out,
                                      binder_flags_t) {
    (void)in.setPosition(0);
    binder_status_t status = STATUS_OK;
    switch (code) {
        case kPingCode:
            break;
        case kInterfaceCode:
            out.writeString(clazz()->descriptor);
            break;
        case kExtensionCode: {
            std::lock_guard lock(mLock);
            out.writeBinder(mExtension);
            break;
        }
        case kDumpCode:
            status = runDump(in);
            break;
        case kShellCommandCode:
            status = runShellCommand(in);
            break;
        default:
            status = runMethod(code, in, out);
            break;
    }
    if (status == STATUS_OK) (void)out.setPosition(0);
    return status;
}

binder_status_t LocalBinder::runMethod(transaction_code_t code, const AParcel& in, AParcel& out) {
    if (code < kFirstUserCode || code > kLastUserCode) return STATUS_UNKNOWN_TRANSACTION;
    if (clazz()->hasToken) {
        const std::vector<uint8_t>& token = clazz()->token;
        const uint8_t* sent = in.read(token.size());
        if (sent == nullptr || memcmp(sent, token.data(), token.size()) != 0) {
            return STATUS_BAD_TYPE;
        }
    }
    return clazz()->onTransact(this, code, &in, &out);
}

binder_status_t LocalBinder::runDump(const AParcel& in) {
    unique_fd fd;
    Arguments arguments;
    if (binder_status_t status = in.readFd(&fd); status != STATUS_OK) return status;
    if (binder_status_t status = arguments.read(in); status != STATUS_OK) return status;
    if (clazz()->onDump == nullptr) return STATUS_OK;
    return clazz()->onDump(this, fd.get(), arguments.pointers.data(), arguments.count());
}

binder_status_t LocalBinder::runShellCommand(const AParcel& in) {
    unique_fd fds[3];
    for (unique_fd& fd : fds) {
        if (binder_status_t status = in.readFd(&fd); status != STATUS_OK) return status;
    }
    Arguments arguments;
    if (binder_status_t status = arguments.read(in); status != STATUS_OK) return status;
    AIBinder* shellCallback = nullptr;  // for opening files in the shell's name; nobody here does
    AIBinder* receiver = nullptr;
    binder_status_t status = in.readBinder(&shellCallback);
    if (status == STATUS_OK) status = in.readBinder(&receiver);
    if (shellCallback != nullptr) shellCallback->decStrong();
    if (status != STATUS_OK) return status;

    status = STATUS_INVALID_OPERATION;
    if (clazz()->onShellCommand != nullptr) {
        status = clazz()->onShellCommand(this, fds[0].get(), fds[1].get(), fds[2].get(),
                                         arguments.pointers.data(), arguments.count());
    }
    if (receiver == nullptr) return STATUS_OK;
    AParcel result;
    AParcel none;
    result.writeString(kResultReceiver);
    result.writeValue(status);
    (void)receiver->transact(kResultReceiverSend, result, none, FLAG_ONEWAY);
    receiver->decStrong();
    return STATUS_OK;
}

ProxyBinder::ProxyBinder(std::shared_ptr<Session> session, WireAddress address, int32_t stability)
    : AIBinder(/*isRemote=*/true, nullptr),
      mSession(std::move(session)),
      mAddress(address),
      mStability(stability) {}

void ProxyBinder::onLastStrong() {
    mSession->proxyDropped(*this);
    std::vector<DeathLink> links;
    {
        std::lock_guard lock(mLock);
        links.swap(mDeathLinks);
    }
    for (const DeathLink& link : links) {
        if (auto unlinked = link.recipient->onUnlinked.load()) unlinked(link.cookie);
    }
}

binder_status_t ProxyBinder::transact(transaction_code_t code, AParcel& in, AParcel& out,
                                      binder_flags_t flags) {
    return mSession->transact(this, code, in, out, flags);
}

bool ProxyBinder::associate(const AIBinder_Class* clazz) {
    if (const AIBinder_Class* known = mClass; known != nullptr) return known == clazz;
    std::string descriptor;
    {
        std::lock_guard lock(mLock);
        descriptor = mDescriptor;
    }
    if (descriptor.empty()) {
        AParcel in;
        AParcel out;
        binder_status_t status = transact(kInterfaceCode, in, out, 0);
        if (status == STATUS_OK) status = out.readString(&descriptor);
        if (status != STATUS_OK) return false;
        std::lock_guard lock(mLock);
        mDescriptor = descriptor;
    }
    if (descriptor != clazz->descriptor) {
        LOG(ERROR) << "A binder object of interface '" << descriptor << "' came where '"
                   << clazz->descriptor << "' is wanted";
        return false;
    }
    mClass = clazz;
    return true;
}

binder_status_t ProxyBinder::link(const std::shared_ptr<AIBinder_DeathRecipient::Shared>& recipient,
                                  void* cookie) {
    mSession->ensureIncoming();
    std::lock_guard lock(mLock);
    // Asked under the lock: the end of the session is marked before the recipients are told.
    if (mDeathTold || mSession->hasEnded()) return STATUS_DEAD_OBJECT;
    mDeathLinks.push_back({recipient, cookie});
    return STATUS_OK;
}

binder_status_t ProxyBinder::unlink(
    const std::shared_ptr<AIBinder_DeathRecipient::Shared>& recipient, void* cookie) {
    {
        std::lock_guard lock(mLock);
        auto link = std::find_if(mDeathLinks.begin(), mDeathLinks.end(), [&](const auto& l) {
            return l.recipient == recipient && l.cookie == cookie;
        });
        if (link == mDeathLinks.end()) return STATUS_NAME_NOT_FOUND;
        mDeathLinks.erase(link);
    }
    if (auto unlinked = recipient->onUnlinked.load()) unlinked(cookie);
    return STATUS_OK;
}

bool ProxyBinder::hasDeathLinks() {
    std::lock_guard lock(mLock);
    return !mDeathLinks.empty();
}

void ProxyBinder::tellDeath() {
    std::vector<DeathLink> links;
    {
        std::lock_guard lock(mLock);
        mDeathTold = true;
        links.swap(mDeathLinks);
    }
    for (const DeathLink& link : links) {
        if (!link.recipient->deleted) link.recipient->onDied(link.cookie);
        if (auto unlinked = link.recipient->onUnlinked.load()) unlinked(link.cookie);
    }
}

}  // namespace host::binder
