// SPDX-License-Identifier: Apache-2.0
//
// Which objects the two sides of a session know of each other, and what each owes for it.
#include <android-base/logging.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "serving_context.h"
#include "session.h"

namespace host::binder {
namespace {

bool isKnownStability(int32_t stability) {
    return stability == static_cast<int32_t>(Stability::kVendor) ||
           stability == static_cast<int32_t>(Stability::kSystem) ||
           stability == static_cast<int32_t>(Stability::kVintf);
}

}  // namespace

binder_status_t Session::binderLeaving(AIBinder* binder, WireAddress* address) {
    if (binder->isRemote()) {
        auto* proxy = static_cast<ProxyBinder*>(binder);
        // Another session's object has no name in this one.
        if (&proxy->session() != this) return STATUS_INVALID_OPERATION;
        *address = proxy->address();
        auto node = mNodes.find(key(*address));
        if (node == mNodes.end()) return STATUS_DEAD_OBJECT;
        ++node->second.sent;
        return STATUS_OK;
    }
    auto known = mLocalAddresses.find(binder);
    if (known == mLocalAddresses.end()) {
        *address = {kAddressCreated | (mSetup.isServer ? kAddressForServer : 0), mNextNumber++};
        known = mLocalAddresses.emplace(binder, *address).first;
        Node& node = mNodes[key(*address)];
        node.address = *address;
        node.local = binder;
        binder->incStrong();
    }
    *address = known->second;
    ++mNodes[key(*address)].sent;
    return STATUS_OK;
}

binder_status_t Session::bindersLeaving(AParcel& parcel) {
    size_t done = 0;
    for (const AParcel::BinderItem& item : parcel.binders()) {
        WireAddress address;
        if (binder_status_t status = binderLeaving(item.binder, &address); status != STATUS_OK) {
            bindersReturned(parcel, done);
            return status;
        }
        memcpy(parcel.bytes().data() + item.offset + offsetof(WireBinder, address), &address,
               sizeof(address));
        ++done;
    }
    return STATUS_OK;
}

void Session::bindersReturned(const AParcel& parcel, size_t count) {
    for (const AParcel::BinderItem& item : parcel.binders().first(count)) {
        WireAddress address;
        memcpy(&address, parcel.bytes().data() + item.offset + offsetof(WireBinder, address),
               sizeof(address));
        auto node = mNodes.find(key(address));
        if (node != mNodes.end()) (void)dropSent(node->second, 1);
    }
}

binder_status_t Session::addressArrived(WireAddress address, int32_t stability, bool counts,
                                        AIBinder** binder) {
    constexpr uint32_t kKnownOptions = kAddressCreated | kAddressForServer;
    if ((address.options & kAddressCreated) == 0 || (address.options & ~kKnownOptions) != 0) {
        return STATUS_BAD_VALUE;
    }
    std::shared_ptr<Session> self = shared_from_this();
    std::lock_guard lock(mLock);
    if (mEnded) return STATUS_DEAD_OBJECT;
    auto found = mNodes.find(key(address));
    if (found == mNodes.end() && (isOurs(address) || !counts)) return STATUS_BAD_VALUE;
    Node& node = found != mNodes.end() ? found->second : mNodes[key(address)];
    node.address = address;

    if (isOurs(address)) {
        if (node.local == nullptr) return STATUS_BAD_VALUE;
        if (counts) owe(node);
        node.local->incStrong();
        *binder = node.local;
        return STATUS_OK;
    }
    if (!isKnownStability(stability)) {
        if (counts) owe(node);
        return STATUS_BAD_TYPE;
    }
    if (counts && node.kept) owe(node);
    if (node.proxy == nullptr || !node.proxy->tryIncStrong()) {
        if (!counts && !node.kept) return STATUS_BAD_VALUE;
        if (node.proxy == nullptr) ++mProxies;
        node.proxy = new ProxyBinder(std::move(self), address, stability);
    }
    node.kept = true;
    *binder = node.proxy;
    return STATUS_OK;
}

void Session::proxyDropped(ProxyBinder& proxy) {
    {
        std::lock_guard lock(mLock);
        auto found = mNodes.find(key(proxy.address()));
        if (found == mNodes.end() || found->second.proxy != &proxy) return;
        Node& node = found->second;
        node.proxy = nullptr;
        if (--mProxies == 0) mTidyUp = true;
        // While the owner has not given back every call that named the object, such a call may
        // still be on its way, and must find the object there.
        if (node.sent == 0 && std::exchange(node.kept, false)) owe(node);
    }
    // While this thread serves the same peer, the answer carries it.
    if (ServingContext::nestedConnection(*this) == nullptr) payDebts();
}

void Session::owe(Node& node) {
    if (node.owed++ == 0) mOwing.push_back(key(node.address));
}

bool Session::dropSent(Node& node, uint32_t amount) {
    node.sent -= amount;
    if (node.sent > 0) return false;
    bool owesNow = false;
    if (node.local != nullptr) {
        mLocalAddresses.erase(node.local);
        mReleased.push_back(std::exchange(node.local, nullptr));
        mTidyUp = true;
        node.early.clear();
    } else if (node.proxy == nullptr && std::exchange(node.kept, false)) {
        owe(node);
        owesNow = true;
    }
    forgetIfUnused(node);
    return owesNow;
}

void Session::forgetIfUnused(Node& node) {
    if (node.sent > 0 || node.owed > 0 || node.kept || node.oneWayRunning) return;
    if (node.local != nullptr || node.proxy != nullptr) return;
    mNodes.erase(key(node.address));
    if (mNodes.empty()) mTidyUp = true;
}

void Session::listDebts(Debts* debts) {
    size_t count = std::min(mOwing.size(), Debts::kMax);
    for (size_t i = 0; i < count; ++i) {
        const Node& node = mNodes[mOwing[mOwing.size() - 1 - i]];
        debts->entries[i] = {
            {static_cast<uint32_t>(WireCommand::kDecStrong), sizeof(WireDecStrong), {}},
            {node.address, node.owed, 0}};
    }
    debts->count = count;
}

void Session::forgetDebts(const Debts& debts) {
    for (size_t i = 0; i < debts.count; ++i) {
        mOwing.pop_back();
        Node& node = mNodes[key(debts.entries[i].body.address)];
        node.owed = 0;
        forgetIfUnused(node);
    }
}

void Session::referencesReturned(const Frame& frame) {
    WireDecStrong body;
    if (frame.body.size() != sizeof(body)) {
        end("a reference count of the wrong size came");
        return;
    }
    memcpy(&body, frame.body.data(), sizeof(body));
    bool owesNow = false;
    {
        std::lock_guard lock(mLock);
        auto node = mNodes.find(key(body.address));
        if (node == mNodes.end() || node->second.sent < body.amount) {
            LOG(DEBUG) << "Process " << mSetup.peer.pid << " gives back " << body.amount
                       << " references that it does not have";
            return;
        }
        if (body.amount > 0) owesNow = dropSent(node->second, body.amount);
    }
    // Perhaps the last thing this side ever has to say.
    if (owesNow && ServingContext::nestedConnection(*this) == nullptr) payDebts();
    tidyUp();
}

void Session::payDebts() {
    {
        std::lock_guard lock(mLock);
        if (mEnded || mCalling.empty()) return;
        // Whole messages may go out on a connection on which a call waits. One that is full leaves
        // it to the next frame.
        Connection& connection = *mCalling.front();
        while (!mOwing.empty()) {
            Debts debts;
            listDebts(&debts);
            iovec piece = debts.piece();
            if (connection.send({&piece, 1}, {}, Connection::Full::kFail) !=
                Connection::Sent::kAll) {
                break;
            }
            forgetDebts(debts);
        }
    }
    tidyUp();
}

// Nothing can be called any more. A client need not wait for what its server owes it.
bool Session::isUnused() const {
    return mNodes.empty() || (!mSetup.isServer && mProxies == 0 && mLocalAddresses.empty());
}

void Session::tidyUp() {
    if (!mTidyUp) return;
    std::vector<AIBinder*> released;
    bool unused;
    {
        std::lock_guard lock(mLock);
        mTidyUp = false;
        released.swap(mReleased);
        unused = isUnused();
    }
    for (AIBinder* binder : released) binder->decStrong();
    if (unused) end(nullptr);
}

}  // namespace host::binder
