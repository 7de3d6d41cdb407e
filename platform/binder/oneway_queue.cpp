// SPDX-License-Identifier: Apache-2.0
#include "oneway_queue.h"

#include <utility>

#include "rpc_wire.h"

namespace android::host {

OnewayQueue::Arrival OnewayQueue::arrived(uint64_t number, OnewayCall* call, size_t* budget) {
    // A peer that had forgotten the object and was sent it again counts from 0, although its last
    // DEC_STRONG had not arrived here. Its calls come after all earlier ones.
    if (number == 0 && std::exchange(mFirstCame, true)) {
        mFirst = !mWaiting.empty() ? mWaiting.rbegin()->first + 1 : mNext + (mIsRunning ? 1 : 0);
    }
    const uint64_t place = mFirst + number;
    if (place < mNext || mWaiting.contains(place)) return Arrival::kRepeated;
    if (place == mNext && !mIsRunning) {
        mIsRunning = true;
        mGapSince = kNoDeadline;
        return Arrival::kRun;
    }
    if (!call->parcel->fds().empty() || mWaiting.size() >= kMaxQueuedOneway ||
        *budget + call->cost() > kMaxWaitingOnewayBytes) {
        return Arrival::kRefused;
    }
    *budget += call->cost();
    mWaiting.emplace(place, std::move(*call));
    if (mGapSince == kNoDeadline) mGapSince = Clock::now();
    return Arrival::kKept;
}

OnewayCall OnewayQueue::next(size_t* budget) {
    ++mNext;
    auto due = mWaiting.find(mNext);
    if (due == mWaiting.end()) {
        mIsRunning = false;
        mGapSince = mWaiting.empty() ? kNoDeadline : Clock::now();
        return {};
    }
    OnewayCall call = std::move(due->second);
    *budget -= call.cost();
    mWaiting.erase(due);
    return call;
}

void OnewayQueue::clear(size_t* budget) {
    for (const auto& [_, call] : mWaiting) *budget -= call.cost();
    mWaiting.clear();
    mGapSince = kNoDeadline;
}

}  // namespace android::host
