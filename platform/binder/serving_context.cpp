// SPDX-License-Identifier: Apache-2.0
#include "serving_context.h"

namespace host::binder {
namespace {

thread_local ServingContext* tInnermost = nullptr;
thread_local const Caller* tCaller = nullptr;

}  // namespace

CallerScope::CallerScope(const Caller& caller) : mPrevious(tCaller) {
    tCaller = &caller;
}

CallerScope::~CallerScope() {
    tCaller = mPrevious;
}

const Caller* CallerScope::current() {
    return tCaller;
}

ServingContext::ServingContext(Session& session, Connection& connection, const Caller& caller,
                               bool mayNest)
    : mSession(session),
      mConnection(connection),
      mMayNest(mayNest),
      mCaller(caller),
      mOuter(tInnermost) {
    tInnermost = this;
}

ServingContext::~ServingContext() {
    tInnermost = mOuter;
}

Connection* ServingContext::nestedConnection(const Session& session) {
    for (ServingContext* c = tInnermost; c != nullptr; c = c->mOuter) {
        if (&c->mSession == &session) return c->mMayNest ? &c->mConnection : nullptr;
    }
    return nullptr;
}

}  // namespace host::binder
