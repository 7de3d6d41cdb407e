// SPDX-License-Identifier: Apache-2.0
//
// The calls that a session serves.
#include <android-base/logging.h>
#include <string.h>

#include <utility>

#include "diagnostics.h"
#include "frame_writer.h"
#include "serving_context.h"
#include "session.h"

namespace android::host {

bool Session::serveFrame(Connection& connection, Frame& frame) {
    if (mEnded) return true;
    auto command = static_cast<WireCommand>(frame.header.command);
    if (command == WireCommand::kDecStrong) {
        referencesReturned(frame);
    } else if (command == WireCommand::kTransact &&
               connection.caller() == Connection::Caller::kPeer) {
        return serveTransaction(connection, frame, Connection::Full::kQueue);
    } else if (command == WireCommand::kTransact) {
        end("it called on a connection for this side's calls");
    } else if (command == WireCommand::kReply) {
        end("it sent an unexpected reply");
    } else {
        end("it sent an unknown command");
    }
    return true;
}

void Session::referencesReturned(const Frame& frame) {
    WireDecStrong body;
    if (frame.body.size() != sizeof(body)) {
        end("it sent a DEC_STRONG of the wrong size");
        return;
    }
    memcpy(&body, frame.body.data(), sizeof(body));
    bool isKnown;
    const bool becamePending = mObjects.referencesReturned(body.address, body.amount, &isKnown);
    if (!isKnown) {
        LOG(DEBUG) << "Process " << mSetup.peer.pid << " returns " << body.amount
                   << " references that it does not have";
        return;
    }
    // There may be no later frame to carry it.
    if (becamePending && ServingContext::nestedConnection(*this) == nullptr) sendPending();
    tidyUp();
}

bool Session::parse(const Frame& frame, Incoming* incoming) const {
    if (frame.body.size() < sizeof(WireTransaction)) return false;
    memcpy(&incoming->transaction, frame.body.data(), sizeof(WireTransaction));
    std::span<const uint8_t> rest = frame.body.subspan(sizeof(WireTransaction));
    size_t parcelSize =
        mSetup.version == 0 ? rest.size() : size_t{incoming->transaction.parcelSize};
    if (parcelSize > rest.size()) return false;
    incoming->parcel = rest.first(parcelSize);
    incoming->objectTable = rest.subspan(parcelSize);
    return incoming->objectTable.size() % sizeof(uint32_t) == 0;
}

bool Session::serveTransaction(Connection& connection, Frame& frame, Connection::Full full,
                               Clock::duration* busy) {
    Incoming incoming;
    if (!parse(frame, &incoming)) {
        end("it sent a call with inconsistent sizes");
        return true;
    }
    const WireTransaction transaction = incoming.transaction;
    const bool isOneway = (transaction.flags & kFlagOneway) != 0;
    if (transaction.address == kSessionAddress) {
        if (isOneway) return true;
        ParcelPtr out(AParcel::obtain());
        binder_status_t status = serveSpecial(transaction.code, *out);
        reply(connection, status, *out, full);
        return true;
    }
    if ((transaction.address.options & ~(kAddressCreated | kAddressForServer)) != 0) {
        ParcelPtr none(AParcel::obtain());
        if (!isOneway) reply(connection, STATUS_BAD_VALUE, *none, full);
        return true;
    }
    if (ServingContext::depth(*this) >= kMaxNesting) {
        end("its calls are nested too deeply");
        return true;
    }
    AIBinder* local = mObjects.called(transaction.address);
    if (local == nullptr) {
        end("transaction to unknown address");
        return true;
    }
    IncomingCall call{.code = transaction.code,
                      .flags = transaction.flags,
                      .local = local,
                      .in = ParcelPtr(AParcel::obtain()),
                      .status = STATUS_OK};
    call.status = call.in->setReceived(shared_from_this(), incoming.parcel, incoming.objectTable,
                                       std::move(frame.fds));
    if (frame.fdsMisplaced) call.status = STATUS_BAD_VALUE;
    if (isOneway) {
        const Caller anonymous{mSetup.peer.uid, 0};  // as on the platform
        const ServingContext context(*this, connection, anonymous, ServingContext::Kind::kOneway);
        if (call.status != STATUS_OK) call.in->clear();
        const Deadline begin = busy != nullptr ? Clock::now() : kNoDeadline;
        serveOneway(transaction, local, std::move(call.in));
        if (busy != nullptr) *busy += Clock::now() - begin;
        local->decStrong();
        return true;
    }
    if (isDiagnostic(call.code) && full == Connection::Full::kQueue) {
        return serveElsewhere(connection, call);
    }
    serveCall(connection, call, full, busy);
    return true;
}

// Runs the call and answers it.
void Session::serveCall(Connection& connection, IncomingCall& call, Connection::Full full,
                        Clock::duration* busy) {
    ParcelPtr out(AParcel::obtain());
    {
        const bool forwards = isDiagnostic(call.code);
        const ServingContext context(
            *this, connection, mSetup.peer,
            forwards ? ServingContext::Kind::kDiagnostic : ServingContext::Kind::kCall);
        connection.setPeerWaits(true);
        const Deadline begin = busy != nullptr ? Clock::now() : kNoDeadline;
        if (call.status == STATUS_OK) {
            call.status = call.local->transact(call.code, *call.in, *out, call.flags);
        }
        if (busy != nullptr) *busy += Clock::now() - begin;
        connection.setPeerWaits(false);
        call.in.reset();  // its DEC_STRONGs travel with the reply
        reply(connection, call.status, *out, full);
        if (forwards && call.status == STATUS_TIMED_OUT)
            end("it does not read its dump or shell command's output");
    }
    call.local->decStrong();
}

// Dumps and shell commands may have to wait for a reader: they get threads of their own. The
// connection's ownership goes with the call.
bool Session::serveElsewhere(Connection& connection, IncomingCall& call) {
    auto shared = std::make_shared<IncomingCall>(std::move(call));
    auto held = std::static_pointer_cast<Connection>(connection.shared_from_this());
    connection.setPeerWaits(true);
    connection.stopLingering();
    const bool isAccepted = Diagnostics::get().run([self = shared_from_this(), held, shared] {
        if (self->mEnded) shared->status = STATUS_DEAD_OBJECT;
        self->serveCall(*held, *shared, Connection::Full::kQueue);
        held->giveBack();
    });
    if (isAccepted) return false;
    LOG(WARNING) << "Refusing a dump or shell command of process " << mSetup.peer.pid
                 << ": too many are running, or no thread is left";
    shared->status = STATUS_FAILED_TRANSACTION;
    serveCall(connection, *shared, Connection::Full::kQueue);
    return true;
}

binder_status_t Session::serveSpecial(uint32_t code, AParcel& out) {
    switch (code) {
        case kGetRoot: {
            AIBinder* root;
            {
                std::lock_guard lock(mLock);
                root = mRoot;
                if (root != nullptr) root->incStrong();
            }
            out.writeBinder(root);
            if (root != nullptr) root->decStrong();
            return STATUS_OK;
        }
        case kGetMaxThreads:
            out.writeValue(static_cast<int32_t>(mConnections.maxClientCalls()));
            return STATUS_OK;
        case kGetSessionId:
            out.writeValue(static_cast<int32_t>(kSessionIdSize));
            out.write(mSetup.id.data(), kSessionIdSize);
            return STATUS_OK;
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

void Session::serveOneway(const WireTransaction& transaction, AIBinder* local, ParcelPtr in) {
    OnewayCall call{transaction.code, std::move(in)};
    switch (mObjects.onewayArrived(transaction.address, transaction.asyncNumber, &call)) {
        case OnewayQueue::Arrival::kRun:
            break;
        case OnewayQueue::Arrival::kKept:
            Reactor::get().watchTime(*this);
            return;
        case OnewayQueue::Arrival::kGone:
            return;
        case OnewayQueue::Arrival::kRepeated:
            LOG(WARNING) << "Process " << mSetup.peer.pid << " repeats oneway call "
                         << transaction.asyncNumber << "; ignoring it";
            return;
        case OnewayQueue::Arrival::kRefused:
            end("too many oneway calls, or one with descriptors, arrived early");
            return;
    }
    // This thread also runs what has become due meanwhile, on whichever connection it came.
    while (call.parcel) {
        if (isDiagnostic(call.code)) {
            LOG(WARNING) << "Process " << mSetup.peer.pid
                         << " requests a dump or shell command oneway; ignoring it";
        } else {
            ParcelPtr out(AParcel::obtain());
            (void)local->transact(call.code, *call.parcel, *out, FLAG_ONEWAY);
        }
        call.parcel.reset();
        bool sendNow;
        call = mObjects.nextOneway(transaction.address, &sendNow);
        if (sendNow) sendPending();
        tidyUp();
    }
}

void Session::reply(Connection& connection, binder_status_t status, AParcel& out,
                    Connection::Full full) {
    if (status == STATUS_OK) status = checkOutgoing(out);
    PendingDecs pending;
    if (status == STATUS_OK) status = mObjects.prepareReply(out, &pending);
    if (status != STATUS_OK) {
        out.clear();
        (void)mObjects.prepareReply(out, &pending);
    }
    WireReply body{};
    body.status = status;
    size_t bodySize = mSetup.version == 0 ? kReplySizeV0 : sizeof(body);
    body.parcelSize = static_cast<uint32_t>(out.bytes().size());
    const auto head = makeHead(WireCommand::kReply, body, bodySize, out);
    const Deadline deadline = mSetup.isServer && full == Connection::Full::kWait
                                  ? Clock::now() + kPeerTimeout
                                  : kNoDeadline;
    const Connection::Sent sent =
        sendFrame(connection, &pending, head, sizeof(WireHeader) + bodySize, out, full, deadline);
    if (sent != Connection::Sent::kAll) connectionBroken(connection, connection.reason());
    tidyUp();
}

}  // namespace android::host
