// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binder.h"

namespace host::binder {

class Connection;
class Session;

// For the time of its life the current thread serves a call that arrived on `connection`. Calls
// back to the same peer then go out on that connection, where the peer waits and serves them: a
// peer that can be called nowhere else can be called there.
class ServingContext {
  public:
    // `mayNest`: the peer waits for an answer on the connection.
    ServingContext(Session& session, Connection& connection, const Caller& caller, bool mayNest);
    ~ServingContext();
    ServingContext(const ServingContext&) = delete;
    ServingContext& operator=(const ServingContext&) = delete;

    // The connection for a call back to that session's peer, or null when the thread serves none.
    static Connection* nestedConnection(const Session& session);

  private:
    const Session& mSession;
    Connection& mConnection;
    const bool mMayNest;
    const CallerScope mCaller;
    ServingContext* const mOuter;
};

}  // namespace host::binder
