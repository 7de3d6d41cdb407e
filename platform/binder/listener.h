// SPDX-License-Identifier: Apache-2.0
//
// The serving end of one name: a listening socket and its sessions.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "session.h"

namespace android::host {

class Listener : public Pollable {
  public:
    // Sessions made here give out `root`, of which the listener keeps a strong reference, and let
    // their client call on `maxCalls` connections.
    Listener(android::base::unique_fd socket, AIBinder* root,
             size_t maxCalls = kMinCallConnections);
    ~Listener() override;

    int fd() const override { return mSocket.get(); }
    // Whoever waits to be accepted is not forgotten, whatever kept it waiting.
    Trigger trigger() const override { return Trigger::kOneShot; }
    bool onReady(bool drain) override;
    bool onTick(Deadline now) override;

    std::shared_ptr<Session> open(const Session::Setup& setup) EXCLUDES(mLock);
    std::shared_ptr<Session> find(const Session::Id& id) EXCLUDES(mLock);

  private:
    // Not ok when no client waits, or, with `*isExhausted`, when there is no descriptor for it.
    android::base::unique_fd accept(bool* isExhausted);

    const android::base::unique_fd mSocket;
    AIBinder* const mRoot;
    const size_t mMaxCalls;

    // Given up for a moment when the process has no descriptor left, to turn a client away at once.
    android::base::unique_fd mReserve;  // the owning thread's

    std::mutex mLock;
    std::map<Session::Id, std::weak_ptr<Session>> mSessions GUARDED_BY(mLock);
    size_t mForgetAt GUARDED_BY(mLock) = 64;  // sessions, when those that have ended are forgotten
};

}  // namespace android::host
