// SPDX-License-Identifier: Apache-2.0
//
// The calls that a session makes.
#include <android-base/logging.h>
#include <string.h>

#include <utility>

#include "frame_writer.h"
#include "serving_context.h"
#include "session.h"

namespace android::host {

binder_status_t Session::checkOutgoing(const AParcel& parcel) const {
    size_t size = sizeof(WireTransaction) + parcel.bytes().size() + parcel.fdOffsets().size_bytes();
    if (size > kMaxBodySize) {
        LOG(ERROR) << "A binder transaction of " << size << " bytes is too large; at most "
                   << kMaxBodySize << " are allowed";
        return STATUS_FAILED_TRANSACTION;
    }
    if (!parcel.fds().empty() && !mSetup.passesFds) return STATUS_FDS_NOT_ALLOWED;
    if (parcel.fds().size() > kMaxFdsPerMessage) return STATUS_BAD_VALUE;
    return STATUS_OK;
}

binder_status_t Session::transact(ProxyBinder* target, uint32_t code, AParcel& in, AParcel& out,
                                  uint32_t flags) {
    if (mEnded) return STATUS_DEAD_OBJECT;
    if (binder_status_t status = checkOutgoing(in); status != STATUS_OK) return status;
    for (const AParcel::BinderItem& item : in.binders()) {
        if (item.binder->isRemote()) continue;
        if (binder_status_t status = ensureIncoming(); status != STATUS_OK) return status;
    }
    return (flags & FLAG_ONEWAY) != 0 ? callOneway(*target, code, in) : call(target, code, in, out);
}

binder_status_t Session::call(ProxyBinder* target, uint32_t code, AParcel& in, AParcel& out) {
    if (!ServingContext::mayCall()) return STATUS_TIMED_OUT;
    if (!mSetup.isServer) return callWithin(kNoDeadline, target, code, in, out);
    const Reactor::PeerWait wait;
    if (!wait.isAllowed()) return STATUS_FAILED_TRANSACTION;
    return callWithin(Clock::now() + kPeerTimeout, target, code, in, out);
}

binder_status_t Session::callWithin(Deadline deadline, ProxyBinder* target, uint32_t code,
                                    AParcel& in, AParcel& out) {
    if (Connection* nested = ServingContext::nestedConnection(*this)) {
        return callOn(*nested, target, code, in, out, deadline);
    }
    binder_status_t status;
    std::shared_ptr<Connection> connection = mConnections.acquire(deadline, &status);
    if (!connection) return status;
    status = callOn(*connection, target, code, in, out, deadline);
    mConnections.release(*connection);
    return status;
}

binder_status_t Session::callOn(Connection& connection, ProxyBinder* target, uint32_t code,
                                AParcel& in, AParcel& out, Deadline deadline) {
    PendingDecs pending;
    binder_status_t status = mObjects.prepareCall(target, in, &pending);
    if (status != STATUS_OK) return status;
    WireTransaction transaction{};
    if (target != nullptr) transaction.address = target->address();
    transaction.code = code;
    transaction.parcelSize = static_cast<uint32_t>(in.bytes().size());
    const auto head = makeHead(WireCommand::kTransact, transaction, sizeof(transaction), in);
    const Connection::Sent sent =
        sendFrame(connection, &pending, head, sizeof(head), in, Connection::Full::kWait, deadline);
    if (sent != Connection::Sent::kAll) {
        connectionBroken(connection, connection.reason());
        return STATUS_DEAD_OBJECT;
    }
    return waitForReply(connection, out, deadline);
}

binder_status_t Session::waitForReply(Connection& connection, AParcel& out, Deadline deadline) {
    Frame frame;
    while (!mEnded) {
        switch (connection.receiveUntil(deadline, &frame)) {
            case Connection::Received::kFrame:
                break;
            case Connection::Received::kNothing:
                // A late answer would be taken for the next call's.
                end("it did not answer a call in time");
                return STATUS_DEAD_OBJECT;
            case Connection::Received::kBroken:
                connectionBroken(connection, connection.reason());
                return STATUS_DEAD_OBJECT;
        }
        switch (static_cast<WireCommand>(frame.header.command)) {
            case WireCommand::kReply:
                return takeReply(frame, out);
            case WireCommand::kTransact: {
                Clock::duration busy{};
                const bool isLimited = deadline != kNoDeadline;
                (void)serveTransaction(connection, frame, Connection::Full::kWait,
                                       isLimited ? &busy : nullptr);
                if (isLimited) deadline += busy;
                break;
            }
            case WireCommand::kDecStrong:
                referencesReturned(frame);
                break;
            default:
                end("it sent an unknown command");
                break;
        }
    }
    return STATUS_DEAD_OBJECT;
}

binder_status_t Session::takeReply(Frame& frame, AParcel& out) {
    WireReply head{};
    size_t headSize = mSetup.version == 0 ? kReplySizeV0 : sizeof(head);
    if (frame.body.size() < headSize) {
        end("it sent a reply shorter than its header");
        return STATUS_BAD_VALUE;
    }
    memcpy(&head, frame.body.data(), headSize);
    std::span<const uint8_t> rest = frame.body.subspan(headSize);
    if (mSetup.version == 0) head.parcelSize = static_cast<uint32_t>(rest.size());
    if (head.parcelSize > rest.size()) {
        end("it sent a reply whose parcel is larger than the reply");
        return STATUS_BAD_VALUE;
    }
    if (head.status != STATUS_OK) return head.status;
    if (frame.fdsMisplaced) return STATUS_BAD_VALUE;
    return out.setReceived(shared_from_this(), rest.first(head.parcelSize),
                           rest.subspan(head.parcelSize), std::move(frame.fds));
}

binder_status_t Session::callOneway(ProxyBinder& target, uint32_t code, AParcel& in) {
    Connection::Sent sent;
    std::shared_ptr<Connection> connection = mConnections.forMessage();
    Connection* chosen = connection ? connection.get() : ServingContext::nestedConnection(*this);
    if (chosen == nullptr) return mEnded ? STATUS_DEAD_OBJECT : STATUS_WOULD_BLOCK;
    {
        std::lock_guard lock(mOnewayLock);  // numbers go out in their order
        WireTransaction transaction{};
        binder_status_t status = mObjects.prepareOneway(target, in, &transaction.asyncNumber);
        if (status != STATUS_OK) return status;
        transaction.address = target.address();
        transaction.code = code;
        transaction.flags = kFlagOneway;
        transaction.parcelSize = static_cast<uint32_t>(in.bytes().size());
        const auto head = makeHead(WireCommand::kTransact, transaction, sizeof(transaction), in);
        sent = sendFrame(*chosen, nullptr, head, sizeof(head), in, Connection::Full::kFail);
        if (sent != Connection::Sent::kAll) mObjects.cancelOneway(target, in);
    }
    if (sent == Connection::Sent::kAll) return STATUS_OK;
    tidyUp();
    if (sent == Connection::Sent::kFull) {
        // A subscriber that is dropped finds out: its session ends, its death recipients run.
        if (mSetup.isServer) end("it does not read its oneway calls");
        return STATUS_FAILED_TRANSACTION;
    }
    chosen->shutDown();  // its reader cleans up
    return STATUS_DEAD_OBJECT;
}

void Session::sendPending() {
    // A connection that is full leaves it to the next frame.
    std::shared_ptr<Connection> connection = mConnections.forMessage();
    PendingDecs pending;
    while (connection && mObjects.takePending(&pending)) {
        iovec piece = pending.piece();
        if (connection->send({&piece, 1}, {}, Connection::Full::kFail) != Connection::Sent::kAll) {
            mObjects.returnPending(pending);
            break;
        }
        pending.count = 0;
    }
    tidyUp();
}

}  // namespace android::host
