// SPDX-License-Identifier: Apache-2.0
//
// A session: the set of connections between one client process and one served root object, the
// objects that each side knows of the other, and the calls between them. One class for both sides.
//
// Sending an address counts one reference, which the receiver gives back (DEC_STRONG) when it needs
// it no more. What we owe is collected per object and travels in front of the next frame that goes
// out anyway, so that a call costs no system call for it.
#pragma once

#include <array>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "binder.h"
#include "connection.h"
#include "parcel.h"

namespace host::binder {

class Session : public std::enable_shared_from_this<Session> {
  public:
    using Id = std::array<uint8_t, kSessionIdSize>;

    struct Setup {
        bool isServer;
        uint32_t version;
        bool passesFds;
        Caller peer;
        Id id;
    };

    // A server's session; `root` is what GET_ROOT gives out.
    static std::shared_ptr<Session> serve(const Setup& setup, AIBinder* root,
                                          uint32_t maxConnections);

    // Connects to a served socket and fetches its root object, with a strong reference for the
    // caller. Null, with the reason in the log, when nothing answers or the answer makes no sense.
    static AIBinder* connect(const std::string& path);

    ~Session();

    const Id& id() const { return mSetup.id; }
    const Setup& setup() const { return mSetup; }
    bool hasEnded() const { return mEnded; }
    // Also asks a client's socket, which nobody reads between calls.
    bool isAlive() EXCLUDES(mLock);

    // Takes a further connection in. False when the session has ended or has as many as it may.
    bool addConnection(android::base::unique_fd socket, Connection::Caller caller);

    // Calls an object of the other side, or the session itself (no proxy).
    binder_status_t transact(ProxyBinder* target, uint32_t code, AParcel& in, AParcel& out,
                             uint32_t flags) EXCLUDES(mLock);

    // Makes sure that the other side can call us outside our own calls. A client's; blocks for a
    // round trip the first time.
    void ensureIncoming() EXCLUDES(mIncomingLock);

    // An address came in a parcel: gives its object with a strong reference. `counts`: this arrival
    // has not been seen before.
    binder_status_t addressArrived(WireAddress address, int32_t stability, bool counts,
                                   AIBinder** binder) EXCLUDES(mLock);

    // The last strong reference to a proxy is gone.
    void proxyDropped(ProxyBinder& proxy) EXCLUDES(mLock);

    // For Connection: what arrived unasked.
    void serveFrame(Connection& connection, Frame& frame);
    void connectionBroken(Connection& connection) EXCLUDES(mLock);
    void connectionFreed() EXCLUDES(mLock);

    // Ends it for good: closes every connection, forgets every address, has the death recipients
    // told.
    void end(const char* reason) EXCLUDES(mLock);

    // Number of addresses known, for tests and the log.
    size_t addressCount() EXCLUDES(mLock);

  private:
    struct QueuedCall {
        uint32_t code;
        std::unique_ptr<AParcel> parcel;
    };

    struct Node {
        WireAddress address;
        AIBinder* local = nullptr;     // ours: a strong reference while sent > 0
        ProxyBinder* proxy = nullptr;  // theirs, while somebody here holds it
        bool kept = false;             // one reference stays with us while the proxy lives
        uint32_t sent = 0;             // times we sent it and were not given it back
        uint32_t owed = 0;             // times we received it and have yet to give it back
        uint64_t nextOut = 0;          // async numbers of oneway calls
        bool firstCame = false;        // number 0, once at least
        uint64_t firstIn = 0;          // the place of the latest number 0 among all that came
        uint64_t nextIn = 0;           // the place of the next call to run
        bool oneWayRunning = false;
        std::map<uint64_t, QueuedCall> early;  // by place
    };

    // References to give back, taken off the books for one message.
    struct Debts {
        static constexpr size_t kMax = 8;
        struct Entry {
            WireHeader header;
            WireDecStrong body;
        };
        std::array<Entry, kMax> entries;
        size_t count = 0;

        iovec piece() { return {entries.data(), count * sizeof(Entry)}; }
    };

    struct Incoming {
        WireTransaction transaction;
        std::span<const uint8_t> parcel;
        std::span<const uint8_t> objectTable;
    };

    Session(const Setup& setup, AIBinder* root, std::string path, size_t maxConnections);

    // session.cpp: connections.
    binder_status_t setUpClient(AIBinder** root);
    android::base::unique_fd dial(bool incoming, bool newSession);
    std::shared_ptr<Connection> acquireConnection(binder_status_t* status) EXCLUDES(mLock);
    std::shared_ptr<Connection> freeConnection() REQUIRES(mLock);
    void releaseConnection(Connection& connection) EXCLUDES(mLock);

    // session_addresses.cpp: who knows which object.
    static uint64_t key(WireAddress address) {
        return uint64_t{address.options} << 32 | address.number;
    }
    bool isOurs(WireAddress address) const {
        return ((address.options & kAddressForServer) != 0) == mSetup.isServer;
    }
    binder_status_t binderLeaving(AIBinder* binder, WireAddress* address) REQUIRES(mLock);
    binder_status_t bindersLeaving(AParcel& parcel) REQUIRES(mLock);
    void bindersReturned(const AParcel& parcel, size_t count) REQUIRES(mLock);
    void owe(Node& node) REQUIRES(mLock);
    void listDebts(Debts* debts) REQUIRES(mLock);
    void forgetDebts(const Debts& debts) REQUIRES(mLock);
    // Whether the side now has to give its own last reference back.
    bool dropSent(Node& node, uint32_t amount) REQUIRES(mLock);
    void forgetIfUnused(Node& node) REQUIRES(mLock);
    void referencesReturned(const Frame& frame) EXCLUDES(mLock);
    void payDebts() EXCLUDES(mLock);
    bool isUnused() const REQUIRES(mLock);
    void tidyUp() EXCLUDES(mLock);

    // session_calls.cpp: calls out and in.
    binder_status_t checkOutgoing(const AParcel& parcel) const;
    binder_status_t callOneway(ProxyBinder& target, uint32_t code, AParcel& in)
        EXCLUDES(mLock, mOnewayLock);
    binder_status_t callAndWait(Connection& connection, ProxyBinder* target, uint32_t code,
                                AParcel& in, AParcel& out) EXCLUDES(mLock);
    binder_status_t waitForReply(Connection& connection, AParcel& out);
    binder_status_t takeReply(Frame& frame, AParcel& out);
    bool parse(const Frame& frame, Incoming* incoming) const;
    // `full`: how to answer a peer that does not read.
    void serveTransaction(Connection& connection, Frame& frame, Connection::Full full);
    binder_status_t serveSpecial(uint32_t code, AParcel& out);
    uint64_t placeOfOneway(Node& node, uint64_t asyncNumber) REQUIRES(mLock);
    void serveOneway(const WireTransaction& transaction, AIBinder* local, AParcel* in);
    void reply(Connection& connection, binder_status_t status, AParcel& out, Connection::Full full);

    Setup mSetup;             // const once set up
    const std::string mPath;  // a client's: where further connections go
    std::atomic<bool> mEnded{false};
    std::atomic<int> mWaiting{0};  // threads in need of a connection

    std::mutex mLock;
    std::shared_ptr<Session> mSelf GUARDED_BY(mLock);  // until the end: its sockets keep it alive
    AIBinder* mRoot GUARDED_BY(mLock);                 // a server's, a strong reference
    std::vector<std::shared_ptr<Connection>> mServing GUARDED_BY(mLock);  // the peer calls on them
    std::vector<std::shared_ptr<Connection>> mCalling GUARDED_BY(mLock);  // we call on them
    size_t mOpening GUARDED_BY(mLock) = 0;
    size_t mMaxConnections GUARDED_BY(mLock);  // of those on which the client calls
    std::unordered_map<uint64_t, Node> mNodes GUARDED_BY(mLock);
    std::unordered_map<AIBinder*, WireAddress> mLocalAddresses GUARDED_BY(mLock);
    std::vector<uint64_t> mOwing GUARDED_BY(mLock);  // keys of nodes with owed > 0
    // Strong references to drop, and the end to come, once the lock is free.
    std::vector<AIBinder*> mReleased GUARDED_BY(mLock);
    std::atomic<bool> mTidyUp{false};
    uint32_t mNextNumber GUARDED_BY(mLock) = 0;
    size_t mProxies GUARDED_BY(mLock) = 0;  // nodes whose proxy somebody here holds
    std::condition_variable mConnectionFreed;

    std::mutex mOnewayLock;  // numbers oneway calls in the order in which they are sent

    std::mutex mIncomingLock;
    bool mIncomingOpened GUARDED_BY(mIncomingLock) = false;
};

}  // namespace host::binder
