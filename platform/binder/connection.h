// SPDX-License-Identifier: Apache-2.0
//
// One socket of a session: whole frames in, whole frames out. What a frame means is the session's.
#pragma once

#include <sys/uio.h>

#include <memory>
#include <mutex>
#include <span>

#include "frame_buffer.h"
#include "reactor.h"

namespace host::binder {

class Session;

class Connection : public Pollable {
  public:
    // Who begins the calls on it. Peer: this process serves them. Us: this process makes them, and
    // only gives-back of references may come unasked.
    enum class Caller { kPeer, kUs };

    enum class Full {
        kWait,   // wait until the peer has read enough
        kFail,   // send nothing and say so
        kQueue,  // keep the rest and send it when the peer reads; no more is read from it meanwhile
    };
    enum class Sent { kAll, kFull, kBroken };
    enum class Received { kFrame, kNothing, kBroken };

    Connection(android::base::unique_fd socket, Caller caller, bool passesFds,
               std::weak_ptr<Session> session);

    Caller caller() const { return mCaller; }
    int fd() const override { return mSocket.get(); }
    void onReady(bool drain) override;
    void onDisowned() override;
    void onHangUpWhileOwned() override;

    // Sends the pieces as one message in one system call, with the descriptors on its first byte.
    // Any thread; messages never mix.
    [[nodiscard]] Sent send(std::span<iovec> pieces, std::span<const int> fds, Full full)
        EXCLUDES(mSendLock);

    // Takes the next frame, waiting for it when asked to. The owner's only; the frame's body is
    // valid until the next call. kBroken: the peer closed, or sent what cannot be a frame.
    [[nodiscard]] Received receive(Frame* frame, bool wait);

    // Wakes whoever waits in it; every later send and receive fails. Any thread.
    void shutDown();

    // Whether the other side has closed. Any thread.
    bool isHungUp() const;

    // Says that a call is being served whose caller waits: should it go away, nothing of its can be
    // on the way any more. The owner's.
    void setPeerWaits(bool waits) { mPeerWaits = waits; }

  private:
    enum class Read { kSome, kNothing, kBroken };

    Read read(bool wait);
    Sent sendRest(std::span<iovec> pieces, Full full) REQUIRES(mSendLock);
    bool flushQueue() EXCLUDES(mSendLock);

    const android::base::unique_fd mSocket;
    const Caller mCaller;
    const bool mPassesFds;
    const std::weak_ptr<Session> mSession;

    // The owner's.
    FrameBuffer mIn;
    bool mUnread = false;  // the socket may hold more: news came, or the last read was cut off
    bool mDrain = false;   // read until the kernel says that nothing is left

    std::atomic<bool> mPeerWaits{false};
    std::atomic<bool> mQueued{false};
    std::mutex mSendLock;  // held for a system call, never across a wait for the peer's answer
    std::unique_ptr<uint8_t[]> mQueue GUARDED_BY(mSendLock);
    size_t mQueueBegin GUARDED_BY(mSendLock) = 0;
    size_t mQueueEnd GUARDED_BY(mSendLock) = 0;
};

}  // namespace host::binder
