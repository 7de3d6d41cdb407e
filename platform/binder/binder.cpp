// SPDX-License-Identifier: Apache-2.0
#include "binder.h"

#include <android-base/logging.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "forwarded_output.h"
#include "parcel.h"
#include "serving_context.h"
#include "session.h"

using namespace android::host;
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

// Runs what writes to the descriptors. When a peer requested it, they become pipes of our own, so
// that the writer never waits for the peer.
template <typename Run>
binder_status_t withOutput(std::initializer_list<unique_fd*> fds, Run run) {
    Connection* requester = ServingContext::takeRequester();
    if (requester == nullptr) return run();
    ForwardedOutput output(requester->fd());
    for (unique_fd* fd : fds) {
        *fd = output.add(std::move(*fd));
        if (!fd->ok()) return STATUS_NO_MEMORY;
    }
    if (!output.start()) return STATUS_NO_MEMORY;
    const binder_status_t status = run();
    return output.finish() ? status : STATUS_TIMED_OUT;
}

}  // namespace

AIBinder_Class::AIBinder_Class(const char* name, AIBinder_Class_onCreate create,
                               AIBinder_Class_onDestroy destroy, AIBinder_Class_onTransact transact)
    : descriptor(name),
      token(makeToken(descriptor)),
      onCreate(create),
      onDestroy(destroy),
      onTransact(transact) {}

AIBinder_DeathRecipient::~AIBinder_DeathRecipient() {
    std::vector<std::shared_ptr<DeathLink>> links;
    {
        std::lock_guard lock(mLock);
        links.swap(mLinks);
    }
    for (const auto& link : links) link->end();
}

std::shared_ptr<DeathLink> AIBinder_DeathRecipient::makeLink(void* cookie) {
    auto link = std::make_shared<DeathLink>(*this, cookie);
    std::lock_guard lock(mLock);
    if (mLinks.size() >= mForgetAt) {
        std::erase_if(mLinks, [](const auto& l) { return l->isOver(); });
        mForgetAt = std::max<size_t>(16, 2 * mLinks.size());
    }
    mLinks.push_back(link);
    return link;
}

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

namespace android::host {

DeathLink::DeathLink(const AIBinder_DeathRecipient& recipient, void* cookie)
    : mRecipient(&recipient),
      mCookie(cookie),
      mOnDied(recipient.onDied),
      mOnUnlinked(recipient.onUnlinked) {}

void DeathLink::end() {
    if (!mIsOver.exchange(true) && mOnUnlinked != nullptr) mOnUnlinked(mCookie);
}

void DeathLink::tellDeath() {
    if (mIsOver.exchange(true)) return;
    mOnDied(mCookie);
    if (mOnUnlinked != nullptr) mOnUnlinked(mCookie);
}

LocalBinder::LocalBinder(const AIBinder_Class* clazz, void* args)
    : AIBinder(/*isRemote=*/false, clazz), mUserData(clazz->onCreate(args)) {}

void LocalBinder::onLastStrong() {
    clazz()->onDestroy(mUserData);
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
        case kExtensionCode:
            out.writeBinder(nullptr);  // objects have none here
            break;
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
    const std::vector<uint8_t>& token = clazz()->token;
    const uint8_t* sent = in.read(token.size());
    if (sent == nullptr || memcmp(sent, token.data(), token.size()) != 0) return STATUS_BAD_TYPE;
    return clazz()->onTransact(this, code, &in, &out);
}

binder_status_t LocalBinder::runDump(const AParcel& in) {
    unique_fd fd;
    Arguments arguments;
    if (binder_status_t status = in.readFd(&fd); status != STATUS_OK) return status;
    if (binder_status_t status = arguments.read(in); status != STATUS_OK) return status;
    if (clazz()->onDump == nullptr) return STATUS_OK;
    return withOutput({&fd}, [&] {
        return clazz()->onDump(this, fd.get(), arguments.pointers.data(), arguments.count());
    });
}

binder_status_t LocalBinder::runShellCommand(const AParcel& in) {
    unique_fd fds[3];
    for (unique_fd& fd : fds) {
        if (binder_status_t status = in.readFd(&fd); status != STATUS_OK) return status;
    }
    Arguments arguments;
    if (binder_status_t status = arguments.read(in); status != STATUS_OK) return status;
    AIBinder* shellCallback = nullptr;  // for opening files as the shell; not used here
    AIBinder* receiver = nullptr;
    binder_status_t status = in.readBinder(&shellCallback);
    if (status == STATUS_OK) status = in.readBinder(&receiver);
    if (shellCallback != nullptr) shellCallback->decStrong();
    if (status != STATUS_OK) return status;

    binder_status_t result = STATUS_INVALID_OPERATION;
    if (clazz()->onShellCommand != nullptr) {
        status = withOutput({&fds[1], &fds[2]}, [&] {
            result = clazz()->onShellCommand(this, fds[0].get(), fds[1].get(), fds[2].get(),
                                             arguments.pointers.data(), arguments.count());
            return STATUS_OK;
        });
    }
    if (receiver == nullptr) return status;
    if (status == STATUS_OK) {
        AParcel report;
        AParcel none;
        report.writeString(kResultReceiver);
        report.writeValue(result);
        (void)receiver->transact(kResultReceiverSend, report, none, FLAG_ONEWAY);
    }
    receiver->decStrong();
    return status;
}

ProxyBinder::ProxyBinder(std::shared_ptr<Session> session, WireAddress address, int32_t stability)
    : AIBinder(/*isRemote=*/true, nullptr),
      mSession(std::move(session)),
      mAddress(address),
      mStability(stability) {}

void ProxyBinder::onLastStrong() {
    mSession->proxyDropped(*this);
    std::vector<std::shared_ptr<DeathLink>> links;
    {
        std::lock_guard lock(mLock);
        links.swap(mDeathLinks);
    }
    for (const auto& link : links) link->end();
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
        LOG(ERROR) << "Expected a binder object of interface '" << clazz->descriptor << "', got '"
                   << descriptor << "'";
        return false;
    }
    mClass = clazz;
    return true;
}

binder_status_t ProxyBinder::link(const std::shared_ptr<DeathLink>& link) {
    if (binder_status_t status = mSession->ensureIncoming(); status != STATUS_OK) return status;
    std::lock_guard lock(mLock);
    // Asked under the lock: the end of the session is marked before the recipients are told.
    if (mDeathTold || mSession->hasEnded()) return STATUS_DEAD_OBJECT;
    mDeathLinks.push_back(link);
    return STATUS_OK;
}

binder_status_t ProxyBinder::unlink(const AIBinder_DeathRecipient* recipient, void* cookie) {
    std::shared_ptr<DeathLink> link;
    {
        std::lock_guard lock(mLock);
        auto found = std::find_if(mDeathLinks.begin(), mDeathLinks.end(),
                                  [&](const auto& l) { return l->isOf(recipient, cookie); });
        if (found == mDeathLinks.end()) return STATUS_NAME_NOT_FOUND;
        link = std::move(*found);
        mDeathLinks.erase(found);
    }
    link->end();
    return STATUS_OK;
}

bool ProxyBinder::hasDeathLinks() {
    std::lock_guard lock(mLock);
    return !mDeathLinks.empty();
}

void ProxyBinder::tellDeath() {
    std::vector<std::shared_ptr<DeathLink>> links;
    {
        std::lock_guard lock(mLock);
        mDeathTold = true;
        links.swap(mDeathLinks);
    }
    for (const auto& link : links) link->tellDeath();
}

}  // namespace android::host
