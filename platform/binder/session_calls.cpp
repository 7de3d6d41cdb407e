// SPDX-License-Identifier: Apache-2.0
//
// The calls of a session: out and in, nested and oneway.
#include <android-base/logging.h>
#include <string.h>

#include <utility>

#include "serving_context.h"
#include "session.h"

namespace host::binder {
namespace {

using android::base::unique_fd;

// A oneway call brings no answer that could carry its reference back. So many may gather on one
// object while a frame may yet come that carries them: while this side holds a proxy to call.
constexpr uint32_t kMaxOwedForOneway = 32;

struct ParcelDeleter {
    void operator()(AParcel* parcel) const { AParcel::recycle(parcel); }
};
using ParcelPtr = std::unique_ptr<AParcel, ParcelDeleter>;

template <typename T>
struct FrameHead {
    WireHeader header;
    T body;
};

template <typename T>
FrameHead<T> makeHead(WireCommand command, const T& body, size_t bodyHeadSize,
                      const AParcel& parcel) {
    size_t size = bodyHeadSize + parcel.bytes().size() + parcel.fdOffsets().size_bytes();
    return {{static_cast<uint32_t>(command), static_cast<uint32_t>(size), {}}, body};
}

iovec pieceOf(std::span<const uint8_t> bytes) {
    return {const_cast<uint8_t*>(bytes.data()), bytes.size()};
}

iovec pieceOf(std::span<const uint32_t> words) {
    return {const_cast<uint32_t*>(words.data()), words.size_bytes()};
}

// The numbers of a parcel's descriptors, as a control message takes them.
class FdNumbers {
  public:
    explicit FdNumbers(const AParcel& parcel) {
        for (const unique_fd& fd : parcel.fds()) mNumbers[mCount++] = fd.get();
    }
    operator std::span<const int>() const { return {mNumbers.data(), mCount}; }

  private:
    std::array<int, kMaxFdsPerMessage> mNumbers;
    size_t mCount = 0;
};

// Debts, head, parcel and object table in one message.
template <typename T>
Connection::Sent sendFrame(Connection& connection, iovec debts, const FrameHead<T>& head,
                           size_t headSize, const AParcel& parcel, Connection::Full full) {
    std::array<iovec, 4> pieces{debts, iovec{const_cast<FrameHead<T>*>(&head), headSize},
                                pieceOf(parcel.bytes()), pieceOf(parcel.fdOffsets())};
    std::span<iovec> used(pieces);
    if (debts.iov_len == 0) used = used.subspan(1);
    if (parcel.fds().empty()) return connection.send(used.first(used.size() - 1), {}, full);
    return connection.send(used, FdNumbers(parcel), full);
}

}  // namespace

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
        if (!item.binder->isRemote()) ensureIncoming();
    }
    if ((flags & FLAG_ONEWAY) != 0) return callOneway(*target, code, in);
    if (Connection* nested = ServingContext::nestedConnection(*this)) {
        return callAndWait(*nested, target, code, in, out);
    }
    binder_status_t status;
    std::shared_ptr<Connection> connection = acquireConnection(&status);
    if (!connection) return status;
    status = callAndWait(*connection, target, code, in, out);
    releaseConnection(*connection);
    return status;
}

binder_status_t Session::callAndWait(Connection& connection, ProxyBinder* target, uint32_t code,
                                     AParcel& in, AParcel& out) {
    WireTransaction transaction{};
    transaction.code = code;
    transaction.parcelSize = static_cast<uint32_t>(in.bytes().size());
    Debts debts;
    {
        std::lock_guard lock(mLock);
        if (mEnded) return STATUS_DEAD_OBJECT;
        if (target != nullptr) {
            transaction.address = target->address();
            if (binder_status_t status = bindersLeaving(in); status != STATUS_OK) return status;
            ++mNodes[key(transaction.address)].sent;
        }
        // Descriptors belong to the first byte of a message, so nothing goes in front of their
        // frame.
        if (in.fds().empty()) {
            listDebts(&debts);
            forgetDebts(debts);
        }
    }
    auto head = makeHead(WireCommand::kTransact, transaction, sizeof(transaction), in);
    Connection::Sent sent =
        sendFrame(connection, debts.piece(), head, sizeof(head), in, Connection::Full::kWait);
    if (sent != Connection::Sent::kAll) {
        connectionBroken(connection);
        return STATUS_DEAD_OBJECT;
    }
    return waitForReply(connection, out);
}

binder_status_t Session::waitForReply(Connection& connection, AParcel& out) {
    Frame frame;
    while (!mEnded) {
        if (connection.receive(&frame, /*wait=*/true) != Connection::Received::kFrame) {
            connectionBroken(connection);
            break;
        }
        switch (static_cast<WireCommand>(frame.header.command)) {
            case WireCommand::kReply:
                return takeReply(frame, out);
            case WireCommand::kTransact:
                serveTransaction(connection, frame, Connection::Full::kWait);
                break;
            case WireCommand::kDecStrong:
                referencesReturned(frame);
                break;
            default:
                end("an unknown command came");
                break;
        }
    }
    return STATUS_DEAD_OBJECT;
}

binder_status_t Session::takeReply(Frame& frame, AParcel& out) {
    WireReply head{};
    size_t headSize = mSetup.version == 0 ? kReplySizeV0 : sizeof(head);
    if (frame.body.size() < headSize) {
        end("a reply shorter than its head came");
        return STATUS_BAD_VALUE;
    }
    memcpy(&head, frame.body.data(), headSize);
    std::span<const uint8_t> rest = frame.body.subspan(headSize);
    if (mSetup.version == 0) head.parcelSize = static_cast<uint32_t>(rest.size());
    if (head.parcelSize > rest.size()) {
        end("a reply came whose parcel is larger than the reply");
        return STATUS_BAD_VALUE;
    }
    if (head.status != STATUS_OK) return head.status;
    if (frame.fdsMisplaced) return STATUS_BAD_VALUE;
    return out.setReceived(shared_from_this(), rest.first(head.parcelSize),
                           rest.subspan(head.parcelSize), std::move(frame.fds));
}

binder_status_t Session::callOneway(ProxyBinder& target, uint32_t code, AParcel& in) {
    std::lock_guard order(mOnewayLock);
    WireTransaction transaction{};
    transaction.address = target.address();
    transaction.code = code;
    transaction.flags = kFlagOneway;
    transaction.parcelSize = static_cast<uint32_t>(in.bytes().size());
    std::shared_ptr<Connection> connection;
    Connection* chosen = nullptr;
    {
        std::lock_guard lock(mLock);
        if (mEnded) return STATUS_DEAD_OBJECT;
        // Whole messages may go out on a connection on which another call waits.
        for (const auto& candidate : mCalling) {
            if (!connection || connection->isOwned()) connection = candidate;
        }
        chosen = connection ? connection.get() : ServingContext::nestedConnection(*this);
        if (chosen == nullptr) return STATUS_WOULD_BLOCK;
        if (binder_status_t status = bindersLeaving(in); status != STATUS_OK) return status;
        Node& node = mNodes[key(transaction.address)];
        ++node.sent;
        transaction.asyncNumber = node.nextOut++;
    }
    auto head = makeHead(WireCommand::kTransact, transaction, sizeof(transaction), in);
    Connection::Sent sent =
        sendFrame(*chosen, iovec{}, head, sizeof(head), in, Connection::Full::kFail);
    if (sent == Connection::Sent::kAll) return STATUS_OK;
    {
        std::lock_guard lock(mLock);
        auto node = mNodes.find(key(transaction.address));
        if (node != mNodes.end()) {
            --node->second.nextOut;
            bindersReturned(in, in.binders().size());
            (void)dropSent(node->second, 1);
        }
    }
    tidyUp();
    if (sent == Connection::Sent::kFull) return STATUS_WOULD_BLOCK;
    chosen->shutDown();  // its reader cleans up
    return STATUS_DEAD_OBJECT;
}

void Session::serveFrame(Connection& connection, Frame& frame) {
    if (mEnded) return;
    auto command = static_cast<WireCommand>(frame.header.command);
    if (command == WireCommand::kDecStrong) {
        referencesReturned(frame);
    } else if (command == WireCommand::kTransact &&
               connection.caller() == Connection::Caller::kPeer) {
        serveTransaction(connection, frame, Connection::Full::kQueue);
    } else if (command == WireCommand::kTransact) {
        end("a call came on a connection that is not for the peer's calls");
    } else if (command == WireCommand::kReply) {
        end("a reply came that nobody waits for");
    } else {
        end("an unknown command came");
    }
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

void Session::serveTransaction(Connection& connection, Frame& frame, Connection::Full full) {
    Incoming incoming;
    if (!parse(frame, &incoming)) {
        end("a call came that does not fit its own sizes");
        return;
    }
    const WireTransaction transaction = incoming.transaction;
    const bool isOneway = (transaction.flags & kFlagOneway) != 0;
    ParcelPtr out(AParcel::obtain());
    if (transaction.address == kSessionAddress) {
        if (!isOneway) {
            binder_status_t status = serveSpecial(transaction.code, *out);
            reply(connection, status, *out, full);
        }
        return;
    }
    if ((transaction.address.options & ~(kAddressCreated | kAddressForServer)) != 0) {
        if (!isOneway) reply(connection, STATUS_BAD_VALUE, *out, full);
        return;
    }

    AIBinder* local = nullptr;
    {
        std::lock_guard lock(mLock);
        auto node = mNodes.find(key(transaction.address));
        if (node != mNodes.end() && isOurs(transaction.address)) local = node->second.local;
        if (local != nullptr) {
            local->incStrong();
            owe(node->second);
        }
    }
    if (local == nullptr) {
        end("a call came to an address that does not exist");
        return;
    }

    ParcelPtr in(AParcel::obtain());
    binder_status_t status = in->setReceived(shared_from_this(), incoming.parcel,
                                             incoming.objectTable, std::move(frame.fds));
    if (frame.fdsMisplaced) status = STATUS_BAD_VALUE;
    ServingContext context(*this, connection, mSetup.peer, !isOneway);
    if (isOneway) {
        if (status != STATUS_OK) in->clear();
        serveOneway(transaction, local, in.release());
    } else {
        connection.setPeerWaits(true);
        if (status == STATUS_OK) {
            status = local->transact(transaction.code, *in, *out, transaction.flags);
        }
        connection.setPeerWaits(false);
        in.reset();  // what it held is given back in front of the reply
        reply(connection, status, *out, full);
    }
    local->decStrong();
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
        case kGetMaxThreads: {
            std::lock_guard lock(mLock);
            out.writeValue(static_cast<int32_t>(mMaxConnections));
            return STATUS_OK;
        }
        case kGetSessionId:
            out.writeValue(static_cast<int32_t>(kSessionIdSize));
            out.write(mSetup.id.data(), kSessionIdSize);
            return STATUS_OK;
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

uint64_t Session::placeOfOneway(Node& node, uint64_t asyncNumber) {
    // A peer that had forgotten the object when we sent it anew counts from 0 again, while the news
    // that it forgot was still on its way. Its calls come behind all those of before.
    if (asyncNumber == 0 && std::exchange(node.firstCame, true)) {
        node.firstIn = !node.early.empty() ? node.early.rbegin()->first + 1
                                           : node.nextIn + (node.oneWayRunning ? 1 : 0);
    }
    return node.firstIn + asyncNumber;
}

void Session::serveOneway(const WireTransaction& transaction, AIBinder* local, AParcel* parcel) {
    const uint64_t address = key(transaction.address);
    ParcelPtr in(parcel);
    uint32_t code = transaction.code;
    {
        std::lock_guard lock(mLock);
        auto found = mNodes.find(address);
        if (found == mNodes.end()) return;
        Node& node = found->second;
        const uint64_t number = placeOfOneway(node, transaction.asyncNumber);
        if (number < node.nextIn) {
            LOG(WARNING) << "Process " << mSetup.peer.pid << " repeats oneway call "
                         << transaction.asyncNumber << "; it is passed over";
            return;
        }
        if (number != node.nextIn || node.oneWayRunning) {
            node.early.try_emplace(number,
                                   QueuedCall{code, std::unique_ptr<AParcel>(in.release())});
            if (node.early.size() <= kMaxQueuedOneway) return;
        } else {
            node.oneWayRunning = true;
        }
    }
    if (!in) {
        end("too many oneway calls wait for an earlier one");
        return;
    }

    // This thread also runs what has become due meanwhile, on whichever connection it came.
    while (true) {
        ParcelPtr out(AParcel::obtain());
        (void)local->transact(code, *in, *out, FLAG_ONEWAY);
        in.reset();
        bool payNow;
        {
            std::lock_guard lock(mLock);
            auto found = mNodes.find(address);
            if (found == mNodes.end()) return;
            Node& node = found->second;
            ++node.nextIn;
            payNow = node.owed >= (mProxies > 0 ? kMaxOwedForOneway : 1);
            auto next = node.early.find(node.nextIn);
            if (next == node.early.end()) {
                node.oneWayRunning = false;
                forgetIfUnused(node);
            } else {
                code = next->second.code;
                in.reset(next->second.parcel.release());
                node.early.erase(next);
            }
        }
        if (payNow) payDebts();
        tidyUp();
        if (!in) return;
    }
}

void Session::reply(Connection& connection, binder_status_t status, AParcel& out,
                    Connection::Full full) {
    if (status == STATUS_OK) status = checkOutgoing(out);
    Debts debts;
    {
        std::lock_guard lock(mLock);
        if (status == STATUS_OK) status = bindersLeaving(out);
        if (status != STATUS_OK || out.fds().empty()) {
            listDebts(&debts);
            forgetDebts(debts);
        }
    }
    if (status != STATUS_OK) out.clear();
    WireReply body{};
    body.status = status;
    size_t bodySize = mSetup.version == 0 ? kReplySizeV0 : sizeof(body);
    body.parcelSize = static_cast<uint32_t>(out.bytes().size());
    auto head = makeHead(WireCommand::kReply, body, bodySize, out);
    Connection::Sent sent =
        sendFrame(connection, debts.piece(), head, sizeof(WireHeader) + bodySize, out, full);
    if (sent != Connection::Sent::kAll) connectionBroken(connection);
    tidyUp();
}

}  // namespace host::binder
