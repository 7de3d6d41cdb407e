// SPDX-License-Identifier: Apache-2.0
#include "object_table.h"

#include <string.h>

#include <algorithm>
#include <utility>

namespace android::host {
namespace {

// A oneway call has no answer with which its DEC_STRONG could travel. Up to this many stay pending
// per object while this side holds a proxy, whose next call will carry them.
constexpr uint32_t kMaxPendingForOneway = 32;

bool isKnownStability(int32_t stability) {
    return stability == static_cast<int32_t>(Stability::kVendor) ||
           stability == static_cast<int32_t>(Stability::kSystem) ||
           stability == static_cast<int32_t>(Stability::kVintf);
}

constexpr size_t addressOffset(const AParcel::BinderItem& item) {
    return item.offset + offsetof(WireBinder, address);
}

}  // namespace

ObjectTable::Node* ObjectTable::find(WireAddress address) {
    auto found = mNodes.find(key(address));
    return found == mNodes.end() ? nullptr : &found->second;
}

ObjectTable::Node& ObjectTable::findOrAdd(WireAddress address) {
    Node& node = mNodes[key(address)];
    node.address = address;
    return node;
}

binder_status_t ObjectTable::leave(AIBinder* binder, WireAddress* address) {
    if (binder->isRemote()) {
        auto* proxy = static_cast<ProxyBinder*>(binder);
        // Another session's object has no name in this one.
        if (&proxy->session() != &mSession) return STATUS_INVALID_OPERATION;
        *address = proxy->address();
        Node* node = find(*address);
        if (node == nullptr) return STATUS_DEAD_OBJECT;
        ++node->sent;
        return STATUS_OK;
    }
    auto known = mLocalAddresses.find(binder);
    if (known == mLocalAddresses.end()) {
        *address = {kAddressCreated | (mIsServer ? kAddressForServer : 0), mNextNumber++};
        mLocalAddresses.emplace(binder, *address);
        findOrAdd(*address).local = binder;
        binder->incStrong();
    } else {
        *address = known->second;
    }
    ++find(*address)->sent;
    return STATUS_OK;
}

binder_status_t ObjectTable::leave(AParcel& parcel) {
    size_t done = 0;
    for (const AParcel::BinderItem& item : parcel.binders()) {
        WireAddress address;
        if (binder_status_t status = leave(item.binder, &address); status != STATUS_OK) {
            comeBack(parcel, done);
            return status;
        }
        memcpy(parcel.bytes().data() + addressOffset(item), &address, sizeof(address));
        ++done;
    }
    return STATUS_OK;
}

void ObjectTable::comeBack(const AParcel& parcel, size_t count) {
    for (const AParcel::BinderItem& item : parcel.binders().first(count)) {
        WireAddress address;
        memcpy(&address, parcel.bytes().data() + addressOffset(item), sizeof(address));
        if (Node* node = find(address)) (void)dropSent(*node, 1);
    }
}

binder_status_t ObjectTable::prepareCall(const ProxyBinder* target, AParcel& in,
                                         PendingDecs* pending) {
    std::lock_guard lock(mLock);
    if (mIsClosed) return STATUS_DEAD_OBJECT;
    if (binder_status_t status = leave(in); status != STATUS_OK) return status;
    if (target != nullptr) ++findOrAdd(target->address()).sent;
    if (in.fds().empty()) takePendingLocked(pending);
    return STATUS_OK;
}

binder_status_t ObjectTable::prepareOneway(const ProxyBinder& target, AParcel& in,
                                           uint64_t* asyncNumber) {
    std::lock_guard lock(mLock);
    if (mIsClosed) return STATUS_DEAD_OBJECT;
    if (binder_status_t status = leave(in); status != STATUS_OK) return status;
    Node& node = findOrAdd(target.address());
    ++node.sent;
    *asyncNumber = node.nextAsyncNumber++;
    return STATUS_OK;
}

void ObjectTable::cancelOneway(const ProxyBinder& target, const AParcel& in) {
    std::lock_guard lock(mLock);
    Node* node = find(target.address());
    if (node == nullptr) return;
    --node->nextAsyncNumber;
    comeBack(in, in.binders().size());
    (void)dropSent(*node, 1);
}

bool ObjectTable::takePending(PendingDecs* pending) {
    std::lock_guard lock(mLock);
    takePendingLocked(pending);
    return pending->count > 0;
}

void ObjectTable::takePendingLocked(PendingDecs* pending) {
    while (pending->count < PendingDecs::kMax && !mPending.empty()) {
        Node& node = *mPending.back();
        mPending.pop_back();
        pending->entries[pending->count++] = {
            {static_cast<uint32_t>(WireCommand::kDecStrong), sizeof(WireDecStrong), {}},
            {node.address, std::exchange(node.pending, 0), 0}};
        forgetIfUnused(node);
    }
}

void ObjectTable::returnPending(const PendingDecs& pending) {
    std::lock_guard lock(mLock);
    if (mIsClosed) return;
    for (size_t i = 0; i < pending.count; ++i) {
        const WireDecStrong& body = pending.entries[i].body;
        addPending(findOrAdd(body.address), body.amount);
    }
}

AIBinder* ObjectTable::called(WireAddress address) {
    std::lock_guard lock(mLock);
    Node* node = find(address);
    if (node == nullptr || node->local == nullptr) return nullptr;
    node->local->incStrong();
    addPending(*node);
    return node->local;
}

OnewayQueue::Arrival ObjectTable::onewayArrived(WireAddress address, uint64_t number,
                                                OnewayCall* call) {
    std::lock_guard lock(mLock);
    Node* node = find(address);
    if (node == nullptr) return OnewayQueue::Arrival::kGone;
    return node->oneway.arrived(number, call, &mWaitingOnewayBytes);
}

OnewayCall ObjectTable::nextOneway(WireAddress address, bool* sendNow) {
    std::lock_guard lock(mLock);
    *sendNow = false;
    Node* node = find(address);
    if (node == nullptr) return {};
    OnewayCall call = node->oneway.next(&mWaitingOnewayBytes);
    *sendNow = node->pending >= (mProxies > 0 ? kMaxPendingForOneway : 1);
    if (!call.parcel) forgetIfUnused(*node);
    return call;
}

bool ObjectTable::hasGap(Deadline* since) {
    std::lock_guard lock(mLock);
    *since = kNoDeadline;
    for (const auto& [_, node] : mNodes) *since = std::min(*since, node.oneway.gapSince());
    return *since != kNoDeadline;
}

binder_status_t ObjectTable::addressArrived(std::shared_ptr<Session> session, WireAddress address,
                                            int32_t stability, bool isFirst, AIBinder** binder) {
    constexpr uint32_t kKnownOptions = kAddressCreated | kAddressForServer;
    if ((address.options & kAddressCreated) == 0 || (address.options & ~kKnownOptions) != 0) {
        return STATUS_BAD_VALUE;
    }
    std::lock_guard lock(mLock);
    if (mIsClosed) return STATUS_DEAD_OBJECT;
    if (find(address) == nullptr && (isOurs(address) || !isFirst)) return STATUS_BAD_VALUE;
    Node& node = findOrAdd(address);

    if (isOurs(address)) {
        if (node.local == nullptr) return STATUS_BAD_VALUE;
        if (isFirst) addPending(node);
        node.local->incStrong();
        *binder = node.local;
        return STATUS_OK;
    }
    if (!isKnownStability(stability)) {
        if (isFirst) addPending(node);
        return STATUS_BAD_TYPE;
    }
    if (isFirst && node.kept) addPending(node);
    if (node.proxy == nullptr || !node.proxy->tryIncStrong()) {
        if (!isFirst && !node.kept) return STATUS_BAD_VALUE;
        if (node.proxy == nullptr) ++mProxies;
        node.proxy = new ProxyBinder(std::move(session), address, stability);
    }
    node.kept = true;
    *binder = node.proxy;
    return STATUS_OK;
}

bool ObjectTable::proxyDropped(const ProxyBinder& proxy) {
    std::lock_guard lock(mLock);
    Node* node = find(proxy.address());
    if (node == nullptr || node->proxy != &proxy) return false;
    node->proxy = nullptr;
    if (--mProxies == 0) noteLeftovers();
    // While the owner has not given back every call that named the object, such a call may still be
    // on its way, and must find the object there.
    if (node->sent == 0 && std::exchange(node->kept, false)) addPending(*node);
    return true;
}

void ObjectTable::addPending(Node& node, uint32_t amount) {
    if (node.pending == 0) mPending.push_back(&node);
    node.pending += amount;
}

bool ObjectTable::dropSent(Node& node, uint32_t amount) {
    node.sent -= amount;
    if (node.sent > 0) return false;
    bool becamePending = false;
    if (node.local != nullptr) {
        mLocalAddresses.erase(node.local);
        mReleased.push_back(std::exchange(node.local, nullptr));
        noteLeftovers();
        node.oneway.clear(&mWaitingOnewayBytes);
    } else if (node.proxy == nullptr && std::exchange(node.kept, false)) {
        addPending(node);
        becamePending = true;
    }
    forgetIfUnused(node);
    return becamePending;
}

void ObjectTable::forgetIfUnused(Node& node) {
    if (node.sent > 0 || node.pending > 0 || node.kept || node.oneway.isRunning()) return;
    if (node.local != nullptr || node.proxy != nullptr) return;
    mNodes.erase(key(node.address));
    if (mNodes.empty()) noteLeftovers();
}

bool ObjectTable::referencesReturned(WireAddress address, uint32_t amount, bool* known) {
    std::lock_guard lock(mLock);
    Node* node = find(address);
    *known = node != nullptr && node->sent >= amount;
    return *known && amount > 0 && dropSent(*node, amount);
}

ObjectTable::Leftovers ObjectTable::takeLeftovers() {
    Leftovers leftovers;
    std::lock_guard lock(mLock);
    mHasLeftovers = false;
    leftovers.released.swap(mReleased);
    // A client need not wait for what its server has to give back.
    leftovers.isUnused = mNodes.empty() || (!mIsServer && mProxies == 0 && mLocalAddresses.empty());
    return leftovers;
}

void ObjectTable::close(std::vector<AIBinder*>* released, std::vector<ProxyBinder*>* proxies) {
    std::unordered_map<uint64_t, Node> nodes;  // its parcels go after the lock
    std::lock_guard lock(mLock);
    mIsClosed = true;
    nodes.swap(mNodes);
    mLocalAddresses.clear();
    mPending.clear();
    mWaitingOnewayBytes = 0;
    released->insert(released->end(), mReleased.begin(), mReleased.end());
    mReleased.clear();
    for (auto& [_, node] : nodes) {
        if (node.local != nullptr) released->push_back(node.local);
        // Under the lock, since proxyDropped() waits for it before the proxy goes.
        if (node.proxy != nullptr && node.proxy->tryIncStrong()) proxies->push_back(node.proxy);
    }
}

size_t ObjectTable::size() {
    std::lock_guard lock(mLock);
    return mNodes.size();
}

}  // namespace android::host
