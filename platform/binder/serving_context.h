// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "binder.h"
#include "peer_limits.h"

namespace android::host {

class Connection;
class Session;

// For the time of its life the current thread serves a call that arrived on `connection`. Calls
// back to the same peer then go out on that connection, where the peer waits and serves them: a
// peer that can be called nowhere else can be called there.
class ServingContext {
  public:
    enum class Kind {
        kOneway,
        kCall,        // the peer waits for an answer on the connection
        kDiagnostic,  // likewise, for output too: kDiagnosticsTimeout applies
    };

    ServingContext(Session& session, Connection& connection, const Caller& caller, Kind kind);
    ~ServingContext();
    ServingContext(const ServingContext&) = delete;
    ServingContext& operator=(const ServingContext&) = delete;

    // Who makes the innermost call that this thread serves; null when it serves none.
    static const Caller* caller();

    // The connection of the peer whose dump or shell command this thread serves, for the first who
    // asks; null for others, and when it serves no such call.
    static Connection* takeRequester();

    // The connection for a call back to that session's peer, or null when the thread serves none.
    static Connection* nestedConnection(const Session& session);

    // How many calls of that session the current thread serves, one inside the other.
    static size_t depth(const Session& session);

    // False once a dump or shell command may not wait for further peers.
    static bool mayCall();

  private:
    const Session& mSession;
    Connection& mConnection;
    const Kind mKind;
    const Deadline mCallsUntil;
    bool mRequesterTaken = false;
    const Caller mCaller;
    ServingContext* const mOuter;
};

}  // namespace android::host
