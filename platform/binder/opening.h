// SPDX-License-Identifier: Apache-2.0
//
// A connection that was accepted and has not said yet what it is.
#pragma once

#include <android-base/unique_fd.h>

#include "session.h"

namespace android::host {

class Listener;

// Reads exactly the opening and leaves the rest to the session that takes the socket over. Gives up
// after kPeerTimeout.
class Opening : public Pollable {
  public:
    Opening(android::base::unique_fd socket, const Caller& peer, std::weak_ptr<Listener> listener);

    // Has the pool serve it. False when the kernel refuses.
    [[nodiscard]] static bool start(const std::shared_ptr<Opening>& opening);

    int fd() const override { return mSocket.get(); }
    bool onReady(bool drain) override;
    bool onTick(Deadline now) override;

  private:
    enum class Stage { kHeader, kSessionId, kInit };

    void expect(Stage stage, size_t size);
    void advance();
    bool isIncoming() const { return (mHeader.options & kConnectionIncoming) != 0; }
    void takeHeader();
    void startSession();
    void joinSession();
    void handOver(const std::shared_ptr<Session>& session, Connection::Caller caller);
    void refuse(const char* reason);
    bool write(const void* data, size_t size);

    // The owner's, but for mIsDone.
    android::base::unique_fd mSocket;
    const Caller mPeer;
    const std::weak_ptr<Listener> mListener;
    const Deadline mBegin = Clock::now();
    std::atomic<bool> mIsDone{false};
    Stage mStage = Stage::kHeader;
    std::array<uint8_t, kSessionIdSize> mBytes{};
    size_t mHave = 0;
    size_t mWanted = sizeof(WireConnectionHeader);
    WireConnectionHeader mHeader{};
    Session::Id mSessionId{};
};

}  // namespace android::host
