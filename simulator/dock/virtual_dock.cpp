// SPDX-License-Identifier: Apache-2.0
#include "virtual_dock.h"

#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <chrono>

namespace virtual_dock {

VirtualDock::VirtualDock() : mWakeFd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

VirtualDock::~VirtualDock() {
    close(mWakeFd);
}

int64_t VirtualDock::now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

void VirtualDock::wakeLocked() {
    if (mAwake) return;
    mAwake = true;
    eventfd_write(mWakeFd, 1);
}

bool VirtualDock::waitOut(uint32_t delayMs, uint32_t timeLimitMs) {
    const bool tooLong = timeLimitMs != 0 && delayMs > timeLimitMs;
    const auto end = std::chrono::steady_clock::now() +
                     std::chrono::milliseconds(tooLong ? timeLimitMs : delayMs);
    std::unique_lock lock(mDelayLock);
    const android::base::ScopedLockAssertion assertion(mDelayLock);
    const uint64_t resets = mResets;
    while (mDelays && mResets == resets) {
        if (mDelayEnded.wait_until(lock, end) == std::cv_status::timeout) return !tooLong;
    }
    return true;
}

uint32_t VirtualDock::performLocked(const Exchange& exchange, const FaultOutcome* outcome,
                                    AnswerBuffer* answer) {
    uint32_t result = outcome != nullptr ? outcome->result : kOk;
    const int64_t nowNs = now();
    if (result == kOk) {
        Event event = Event::kNone;
        result = mModel.answer(exchange, answer, &event, nowNs);
        mFirmwareState.save(&mModel.firmware);
        if (event != Event::kNone && mEvents.size() < kMaxEvents) {
            mEvents.push_back(event);
            wakeLocked();
        }
        if (outcome != nullptr && outcome->answer) {
            answer->clear();
            answer->add(*outcome->answer);
            result = kOk;
        }
    }
    if (result != kOk) answer->clear();
    mLog.append(exchange.operation, exchange.type, result, exchange.request, answer->bytes(),
                nowNs);
    if (mFollowers > 0) wakeLocked();
    return result;
}

uint32_t VirtualDock::perform(const Exchange& exchange, AnswerBuffer* answer) {
    FaultOutcome outcome;
    {
        std::lock_guard lock(mLock);
        if (mFaults.empty()) return performLocked(exchange, nullptr, answer);
        outcome = mFaults.take(exchange.operation, exchange.type);
    }
    if (outcome.delayMs != 0 && !waitOut(outcome.delayMs, exchange.timeLimitMs)) {
        outcome.result = kTimedOut;
    }
    std::lock_guard lock(mLock);
    return performLocked(exchange, &outcome, answer);
}

Outcome VirtualDock::exchange(const Exchange& exchange) {
    AnswerBuffer answer;
    const uint32_t result = perform(exchange, &answer);
    if (result != kOk || exchange.answer == nullptr) return {result, 0};
    if (answer.size() > exchange.capacity) return {kReceiveFailed, 0};
    if (answer.size() > 0) std::memcpy(exchange.answer, answer.bytes().data(), answer.size());
    return {kOk, answer.size()};
}

bool VirtualDock::keepFirmware(const std::string& folder, std::string* problem) {
    std::lock_guard lock(mLock);
    if (!mFirmwareState.open(folder, now(), &mModel.firmware, problem)) return false;
    mModel.showFirmwareVersion();
    return true;
}

void VirtualDock::reset() {
    {
        std::lock_guard lock(mLock);
        mModel = DockModel();
        mFirmwareState.save(&mModel.firmware);
        mFaults = Faults();
    }
    std::lock_guard lock(mDelayLock);
    ++mResets;
    mDelayEnded.notify_all();
}

std::vector<Event> VirtualDock::clearWake() {
    std::lock_guard lock(mLock);
    eventfd_t ignored;
    eventfd_read(mWakeFd, &ignored);
    mAwake = false;
    return std::exchange(mEvents, {});
}

void VirtualDock::endDelays() {
    std::lock_guard lock(mDelayLock);
    mDelays = false;
    mDelayEnded.notify_all();
}

uint64_t VirtualDock::addFollower() {
    std::lock_guard lock(mLock);
    ++mFollowers;
    return mLog.newest();
}

void VirtualDock::removeFollower() {
    std::lock_guard lock(mLock);
    --mFollowers;
}

VirtualDock& processDock() {
    static VirtualDock* const dock = new VirtualDock();
    return *dock;
}

Endpoint& recordedProcessDock() {
    return processDock().recorder();
}

}  // namespace virtual_dock
