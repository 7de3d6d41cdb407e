// SPDX-License-Identifier: Apache-2.0
//
// The serving end of one name: a listening socket, the opening of its connections, its sessions.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "session.h"

namespace host::binder {

class Listener : public Pollable {
  public:
    // Sessions made here give out `root`, of which the listener keeps a strong reference.
    Listener(android::base::unique_fd socket, AIBinder* root);
    ~Listener() override;

    int fd() const override { return mSocket.get(); }
    void onReady(bool drain) override;

    std::shared_ptr<Session> open(const Session::Setup& setup) EXCLUDES(mLock);
    std::shared_ptr<Session> find(const Session::Id& id) EXCLUDES(mLock);

  private:
    android::base::unique_fd accept();

    const android::base::unique_fd mSocket;
    AIBinder* const mRoot;
    // Given up for a moment when the process has no descriptor left, to turn a caller away at once.
    android::base::unique_fd mReserve;  // the owning thread's

    std::mutex mLock;
    std::map<Session::Id, std::weak_ptr<Session>> mSessions GUARDED_BY(mLock);
};

}  // namespace host::binder
