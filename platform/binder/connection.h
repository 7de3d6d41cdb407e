// SPDX-License-Identifier: Apache-2.0
//
// One socket of a session: whole frames in, whole frames out. What a frame means is its user's.
#pragma once

#include <sys/uio.h>

#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "frame_buffer.h"
#include "held_fds.h"
#include "reactor.h"

namespace android::host {

class Connection;

// Whoever uses connections. Told by any thread, with no lock of the connection held.
class ConnectionUser {
  public:
    virtual ~ConnectionUser() = default;

    // A frame arrived unasked; the calling thread owns the connection. False when the ownership
    // was handed on, see Pollable::onReady.
    virtual bool serveFrame(Connection& connection, Frame& frame) = 0;

    // The peer closed the connection, or broke a rule: `reason`, or null. May come more than once.
    virtual void connectionBroken(Connection& connection, const char* reason) = 0;

    // The connection has no owner any more.
    virtual void connectionFreed() = 0;
};

class Connection : public Pollable {
  public:
    // Who begins the calls on it. Peer: this process serves them. Us: this process makes them, and
    // only DEC_STRONGs may come unasked.
    enum class Caller { kPeer, kUs };

    enum class Full {
        kWait,   // wait until the peer has read enough
        kFail,   // send nothing and say so
        kQueue,  // keep it and send it when the peer reads; no more is read from it meanwhile
    };
    enum class Sent { kAll, kFull, kBroken };
    enum class Received { kFrame, kNothing, kBroken };

    struct Options {
        Caller caller;
        bool passesFds;
        // Whether the pool reads it and limits apply, or only the threads that call on it: a
        // client's own.
        bool isWatched;
        // Whether a pool thread may wait for the next call of a busy caller in the socket itself.
        bool mayLinger;
    };

    Connection(android::base::unique_fd socket, const Options& options,
               std::weak_ptr<ConnectionUser> user, std::shared_ptr<HeldFds> heldFds);
    ~Connection() override;

    Caller caller() const { return mOptions.caller; }
    bool isWatched() const { return mOptions.isWatched; }
    int fd() const override { return mSocket.get(); }
    bool onReady(bool drain) override;
    bool linger() override;
    void onWritable() override;
    void onDisowned() override;
    void onHangUpWhileOwned() override;
    bool onTick(Deadline now) override;

    // Sends the pieces as one message, in one system call when the peer reads, with the descriptors
    // on its first byte. kWait waits until the deadline at most. Any thread; messages never mix.
    [[nodiscard]] Sent send(std::span<iovec> pieces, std::span<const int> fds, Full full,
                            Deadline deadline = kNoDeadline) EXCLUDES(mSendLock);

    // Takes the next frame that has arrived. The owner's only; the frame's body is valid until the
    // next call. kBroken: the peer closed, or sent what cannot be a frame.
    [[nodiscard]] Received receive(Frame* frame);
    // As above, but waits for it. kNothing: the deadline has passed.
    [[nodiscard]] Received receiveUntil(Deadline deadline, Frame* frame);

    // Wakes all threads that wait in it; every later send and receive fails. Any thread.
    void shutDown();

    // Whether the other side has closed. Any thread.
    bool isHungUp() const;

    // Says that a call is being served whose caller waits: should it go away, nothing of its can be
    // on the way any more. The owner's.
    void setPeerWaits(bool waits) { mPeerWaits.store(waits, std::memory_order_release); }

    // To be called before serveFrame() hands the ownership on.
    void stopLingering() EXCLUDES(mSendLock);

    // Why receive() or send() gave kBroken; null when the peer just closed.
    const char* reason() const { return mReason; }

  private:
    enum class Read { kSome, kNothing, kBroken };

    bool hasUnsent() const { return mUnsentSince != 0; }
    bool serveArrived(ConnectionUser& user);
    Received nextFrame(Frame* frame);
    bool noteUnfinished();
    Read read(bool wait);
    void keep(std::span<iovec> pieces) REQUIRES(mSendLock);
    bool flush() EXCLUDES(mSendLock);
    Sent flushUntil(Deadline deadline) EXCLUDES(mSendLock);
    Sent broken(const char* reason);
    void tellBroken(const char* reason);

    const android::base::unique_fd mSocket;
    const Options mOptions;
    const std::weak_ptr<ConnectionUser> mUser;
    const std::shared_ptr<HeldFds> mHeldFds;

    // The owner's.
    FrameBuffer mIn;
    size_t mCountedFds = 0;  // in mHeldFds
    bool mUnread = false;    // the socket may hold more: news came, or the last read was cut off
    bool mDrain = false;     // read until the kernel says that nothing is left
    bool mIsLingering = false;
    Deadline mLastServed{};  // when a call was last served here
    int mBusyCalls = 0;      // calls that came each soon after the one before

    // Since when, in ticks of the clock; 0 for not.
    std::atomic<Clock::rep> mUnfinishedSince{0};  // a frame that has begun and not ended
    std::atomic<Clock::rep> mUnsentSince{0};      // output of which the peer takes nothing

    std::atomic<bool> mPeerWaits{false};
    std::atomic<const char*> mReason{nullptr};

    std::mutex mSendLock;  // held for system calls that do not block
    std::vector<uint8_t> mUnsent GUARDED_BY(mSendLock);
    size_t mUnsentBegin GUARDED_BY(mSendLock) = 0;
};

}  // namespace android::host
