// SPDX-License-Identifier: Apache-2.0
#include "serving_context.h"

#include <utility>

namespace android::host {
namespace {

thread_local ServingContext* tInnermost = nullptr;

}  // namespace

ServingContext::ServingContext(Session& session, Connection& connection, const Caller& caller,
                               Kind kind)
    : mSession(session),
      mConnection(connection),
      mKind(kind),
      mCallsUntil(kind == Kind::kDiagnostic ? Clock::now() + kDiagnosticsTimeout : kNoDeadline),
      mCaller(caller),
      mOuter(tInnermost) {
    tInnermost = this;
}

ServingContext::~ServingContext() {
    tInnermost = mOuter;
}

const Caller* ServingContext::caller() {
    return tInnermost == nullptr ? nullptr : &tInnermost->mCaller;
}

Connection* ServingContext::takeRequester() {
    ServingContext* c = tInnermost;
    if (c == nullptr || c->mKind != Kind::kDiagnostic) return nullptr;
    return std::exchange(c->mRequesterTaken, true) ? nullptr : &c->mConnection;
}

Connection* ServingContext::nestedConnection(const Session& session) {
    for (ServingContext* c = tInnermost; c != nullptr; c = c->mOuter) {
        if (&c->mSession == &session) return c->mKind != Kind::kOneway ? &c->mConnection : nullptr;
    }
    return nullptr;
}

size_t ServingContext::depth(const Session& session) {
    size_t depth = 0;
    for (ServingContext* c = tInnermost; c != nullptr; c = c->mOuter) {
        if (&c->mSession == &session) ++depth;
    }
    return depth;
}

bool ServingContext::mayCall() {
    for (ServingContext* c = tInnermost; c != nullptr; c = c->mOuter) {
        if (c->mCallsUntil != kNoDeadline && Clock::now() > c->mCallsUntil) return false;
    }
    return true;
}

}  // namespace android::host
