// SPDX-License-Identifier: Apache-2.0
//
// A session: the calls between one client process and one served root object. One class for both
// sides. Its connections are the pool's, the objects that both sides know the table's; here is the
// protocol of the calls, nested and oneway, and the end of it all.
#pragma once

#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "connection_pool.h"
#include "dial.h"
#include "object_table.h"

namespace android::host {

class Session : public std::enable_shared_from_this<Session>, public ConnectionUser, public Timed {
  public:
    using Id = SessionId;

    struct Setup {
        bool isServer;
        uint32_t version;
        bool passesFds;
        Caller peer;
        Id id;
    };

    // A server's session; `root` is what GET_ROOT gives out, `maxCalls` the number of connections
    // on which the client may call.
    static std::shared_ptr<Session> serve(const Setup& setup, AIBinder* root, size_t maxCalls);

    // Connects to a served socket and fetches its root object, with a strong reference for the
    // caller. Null, with the reason in the log, when nothing answers or the answer makes no sense.
    static AIBinder* connect(const std::string& path);

    ~Session() override;

    const Id& id() const { return mSetup.id; }
    bool hasEnded() const { return mEnded; }
    // Also checks a client's socket, which is not read between calls.
    bool isAlive();

    // Takes a further connection in. False when the session has ended or has as many as it may.
    bool addConnection(android::base::unique_fd socket, Connection::Caller caller);

    // Calls an object of the other side, or the session itself (no proxy). A server's call ends the
    // session when the client does not answer within kPeerTimeout, the time not counted in which
    // the client calls back.
    binder_status_t transact(ProxyBinder* target, uint32_t code, AParcel& in, AParcel& out,
                             uint32_t flags);

    // Makes sure that the other side can call us outside our own calls. A client's; blocks for a
    // round trip until it has succeeded once. STATUS_FAILED_TRANSACTION when the server does not
    // accept the connection.
    binder_status_t ensureIncoming() EXCLUDES(mIncomingLock);

    // For parcels: an address was read, see ObjectTable.
    binder_status_t addressArrived(WireAddress address, int32_t stability, bool isFirst,
                                   AIBinder** binder);

    // The last strong reference to a proxy is gone.
    void proxyDropped(ProxyBinder& proxy);

    // ConnectionUser, Timed.
    bool serveFrame(Connection& connection, Frame& frame) override;
    void connectionBroken(Connection& connection, const char* reason) override;
    void connectionFreed() override { mConnections.notifyFreed(); }
    bool onTick(Deadline now) override;

    // Ends it for good: closes every connection, forgets every address, and has the death
    // recipients called. `reason` goes to the log unless it is null.
    void end(const char* reason) EXCLUDES(mLock);

    // Number of addresses known, for tests.
    size_t addressCount() { return mObjects.size(); }

  private:
    struct Incoming {
        WireTransaction transaction;
        std::span<const uint8_t> parcel;
        std::span<const uint8_t> objectTable;
    };

    // A call of the peer on an object of ours, to be answered.
    struct IncomingCall {
        uint32_t code;
        uint32_t flags;
        AIBinder* local;  // a strong reference
        ParcelPtr in;
        binder_status_t status;  // of the parcel
    };

    Session(const Setup& setup, AIBinder* root, std::string path, size_t maxCalls);

    // session.cpp: the whole.
    binder_status_t setUpClient(AIBinder** root);
    android::base::unique_fd dialAnother(bool incoming);
    void tidyUp();

    // session_calls.cpp: calls out.
    binder_status_t checkOutgoing(const AParcel& parcel) const;
    binder_status_t callOneway(ProxyBinder& target, uint32_t code, AParcel& in)
        EXCLUDES(mOnewayLock);
    binder_status_t call(ProxyBinder* target, uint32_t code, AParcel& in, AParcel& out);
    binder_status_t callWithin(Deadline deadline, ProxyBinder* target, uint32_t code, AParcel& in,
                               AParcel& out);
    binder_status_t callOn(Connection& connection, ProxyBinder* target, uint32_t code, AParcel& in,
                           AParcel& out, Deadline deadline);
    binder_status_t waitForReply(Connection& connection, AParcel& out, Deadline deadline);
    binder_status_t takeReply(Frame& frame, AParcel& out);
    void sendPending();

    // session_serving.cpp: calls in.
    bool parse(const Frame& frame, Incoming* incoming) const;
    // `full`: how to answer a peer that does not read. `busy` gets the time added that the object
    // took. False when the ownership of the connection was handed on.
    bool serveTransaction(Connection& connection, Frame& frame, Connection::Full full,
                          Clock::duration* busy = nullptr);
    binder_status_t serveSpecial(uint32_t code, AParcel& out) EXCLUDES(mLock);
    void serveCall(Connection& connection, IncomingCall& call, Connection::Full full,
                   Clock::duration* busy = nullptr);
    bool serveElsewhere(Connection& connection, IncomingCall& call);
    void serveOneway(const WireTransaction& transaction, AIBinder* local, ParcelPtr in);
    void reply(Connection& connection, binder_status_t status, AParcel& out, Connection::Full full);
    void referencesReturned(const Frame& frame);

    Setup mSetup;             // const once set up
    const std::string mPath;  // a client's: where further connections go
    std::atomic<bool> mEnded{false};
    const std::shared_ptr<HeldFds> mHeldFds = std::make_shared<HeldFds>();
    ConnectionPool mConnections;  // locks itself
    ObjectTable mObjects;         // locks itself

    std::mutex mLock;
    std::shared_ptr<Session> mSelf GUARDED_BY(mLock);  // until the end: its sockets keep it alive
    AIBinder* mRoot GUARDED_BY(mLock);                 // a server's, a strong reference

    std::mutex mOnewayLock;  // numbers oneway calls in the order in which they are sent

    std::mutex mIncomingLock;
    bool mIncomingOpened GUARDED_BY(mIncomingLock) = false;
};

}  // namespace android::host
