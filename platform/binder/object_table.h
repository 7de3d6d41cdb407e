// SPDX-License-Identifier: Apache-2.0
//
// The objects that the two sides of a session know of each other, and how often each has sent them.
//
// Sending an address counts one reference, which the receiver returns (DEC_STRONG) when it no
// longer needs it. Pending DEC_STRONGs are counted per object and travel with the next frame, so
// that they cost no system call of their own.
#pragma once

#include <sys/uio.h>

#include <array>
#include <functional>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "binder.h"
#include "oneway_queue.h"

namespace android::host {

// The pending DEC_STRONGs that travel with one message; the table no longer counts them.
struct PendingDecs {
    static constexpr size_t kMax = 8;
    struct Entry {
        WireHeader header;
        WireDecStrong body;
    };
    std::array<Entry, kMax> entries;
    size_t count = 0;

    iovec piece() { return {entries.data(), count * sizeof(Entry)}; }
};

// Any thread. No function calls an object, but those that say so may drop the last reference to a
// parcel's binder.
class ObjectTable {
  public:
    // What is to be done once no lock is held.
    struct Leftovers {
        std::vector<AIBinder*> released;  // strong references to drop
        bool isUnused = false;            // nothing can be called any more on this side
    };

    // `session` only tells whose proxies are this session's.
    ObjectTable(const Session& session, bool isServer) : mSession(session), mIsServer(isServer) {}

    // ---- Frames that go out -----------------------------------------------------------------

    // Each puts the addresses of the parcel's binders into its bytes and counts them, and counts
    // the target. STATUS_DEAD_OBJECT when the session has ended, STATUS_INVALID_OPERATION when a
    // binder is of another session; nothing is counted then. `pending`: the DEC_STRONGs that travel
    // in front, none when the parcel has descriptors, which belong to the first byte of a message.
    binder_status_t prepareCall(const ProxyBinder* target, AParcel& in, PendingDecs* pending);
    binder_status_t prepareReply(AParcel& out, PendingDecs* pending) {
        return prepareCall(nullptr, out, pending);
    }
    binder_status_t prepareOneway(const ProxyBinder& target, AParcel& in, uint64_t* asyncNumber);
    // The latest prepareOneway for this target was not sent.
    void cancelOneway(const ProxyBinder& target, const AParcel& in);

    // Takes pending DEC_STRONGs for sending; returnPending() takes back what was not sent. False
    // when there are none.
    bool takePending(PendingDecs* pending);
    void returnPending(const PendingDecs& pending);

    // ---- Frames that come in ----------------------------------------------------------------

    // The object of ours that a call addresses, with a strong reference; null when there is none.
    AIBinder* called(WireAddress address);

    // A oneway call on an object of ours arrived, see OnewayQueue.
    OnewayQueue::Arrival onewayArrived(WireAddress address, uint64_t number, OnewayCall* call);
    // The next oneway call on it that is due. `*sendNow`: its DEC_STRONGs should be sent now.
    OnewayCall nextOneway(WireAddress address, bool* sendNow);
    // Whether oneway calls wait for an earlier one; `*since` from when on, at the earliest.
    bool hasGap(Deadline* since);

    // An address came in a parcel: gives its object with a strong reference. `isFirst`: this
    // arrival has not been seen before. STATUS_BAD_VALUE for an address that cannot be.
    binder_status_t addressArrived(std::shared_ptr<Session> session, WireAddress address,
                                   int32_t stability, bool isFirst, AIBinder** binder);

    // A DEC_STRONG arrived. True when one became pending here that no later frame may ever carry.
    // Not
    // `*known` when the peer returns more references than it was sent.
    bool referencesReturned(WireAddress address, uint32_t amount, bool* known);
    // The last strong reference to a proxy is gone. False when the table does not know it (any
    // more); else no later frame may ever carry pending DEC_STRONGs.
    bool proxyDropped(const ProxyBinder& proxy);

    // ---- The whole --------------------------------------------------------------------------

    // Whether there may be some; cheap.
    bool hasLeftovers() const { return mHasLeftovers; }
    Leftovers takeLeftovers();

    // Forgets everything: gives the references to drop, and the proxies still in use here, each
    // with a strong reference.
    void close(std::vector<AIBinder*>* released, std::vector<ProxyBinder*>* proxies);

    // Number of addresses known, for tests.
    size_t size();

  private:
    struct Node {
        WireAddress address;
        AIBinder* local = nullptr;     // ours: a strong reference while sent > 0
        ProxyBinder* proxy = nullptr;  // theirs, while in use here
        bool kept = false;             // one reference stays with us while the proxy lives
        uint32_t sent = 0;             // times we sent it, less the DEC_STRONGs received
        uint32_t pending = 0;          // pending DEC_STRONGs: times we received it
        uint64_t nextAsyncNumber = 0;  // of our oneway calls
        OnewayQueue oneway;            // theirs
    };

    static uint64_t key(WireAddress address) {
        return uint64_t{address.options} << 32 | address.number;
    }
    bool isOurs(WireAddress address) const {
        return ((address.options & kAddressForServer) != 0) == mIsServer;
    }
    Node* find(WireAddress address) REQUIRES(mLock);
    Node& findOrAdd(WireAddress address) REQUIRES(mLock);
    binder_status_t leave(AIBinder* binder, WireAddress* address) REQUIRES(mLock);
    binder_status_t leave(AParcel& parcel) REQUIRES(mLock);
    void comeBack(const AParcel& parcel, size_t count) REQUIRES(mLock);
    void takePendingLocked(PendingDecs* pending) REQUIRES(mLock);
    void addPending(Node& node, uint32_t amount = 1) REQUIRES(mLock);
    bool dropSent(Node& node, uint32_t amount) REQUIRES(mLock);
    void forgetIfUnused(Node& node) REQUIRES(mLock);
    void noteLeftovers() REQUIRES(mLock) { mHasLeftovers = true; }

    const Session& mSession;
    const bool mIsServer;

    std::mutex mLock;
    bool mIsClosed GUARDED_BY(mLock) = false;
    std::unordered_map<uint64_t, Node> mNodes GUARDED_BY(mLock);
    std::unordered_map<AIBinder*, WireAddress> mLocalAddresses GUARDED_BY(mLock);
    std::vector<Node*> mPending GUARDED_BY(mLock);  // with pending > 0, so they stay in mNodes
    std::vector<AIBinder*> mReleased GUARDED_BY(mLock);
    std::atomic<bool> mHasLeftovers{false};
    uint32_t mNextNumber GUARDED_BY(mLock) = 0;
    size_t mProxies GUARDED_BY(mLock) = 0;  // nodes whose proxy is in use here
    size_t mWaitingOnewayBytes GUARDED_BY(mLock) = 0;
};

}  // namespace android::host
