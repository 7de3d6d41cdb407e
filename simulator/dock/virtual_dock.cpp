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
    while (mResets == resets) {
        if (mDelayEnded.wait_until(lock, end) == std::cv_status::timeout) return !tooLong;
    }
    return true;
}

template <typename Work>
uint32_t VirtualDock::performLocked(Operation operation, int32_t type, Bytes request,
                                    const FaultOutcome* outcome, AnswerBuffer* answer, Work work) {
    uint32_t result = outcome != nullptr ? outcome->result : kOk;
    const int64_t nowNs = now();
    if (result == kOk) {
        Event event = Event::kNone;
        result = work(mModel, answer, &event, nowNs);
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
    mLog.append(operation, type, result, request, answer->bytes(), nowNs);
    if (mFollowers > 0) wakeLocked();
    return result;
}

template <typename Work>
uint32_t VirtualDock::perform(Operation operation, int32_t type, Bytes request,
                              uint32_t timeLimitMs, AnswerBuffer* answer, Work work) {
    FaultOutcome outcome;
    {
        std::lock_guard lock(mLock);
        if (mFaults.empty()) {
            return performLocked(operation, type, request, nullptr, answer, work);
        }
        outcome = mFaults.take(operation, type);
    }
    if (outcome.delayMs != 0 && !waitOut(outcome.delayMs, timeLimitMs)) {
        outcome.result = kTimedOut;
    }
    std::lock_guard lock(mLock);
    return performLocked(operation, type, request, &outcome, answer, work);
}

uint32_t VirtualDock::readStatus(int32_t selector, uint32_t* value) {
    AnswerBuffer answer;
    const uint32_t result = perform(
        Operation::kGetWlcInfo, selector, {}, 0, &answer,
        [selector](DockModel& model, AnswerBuffer* out, Event*, int64_t) {
            uint32_t read = 0;
            const Result status = model.charger.readStatus(selector, model.fans.fanLevel(), &read);
            out->add32(read);
            return status;
        });
    if (result != kOk) return result;
    if (answer.size() < sizeof(uint32_t)) return kReceiveFailed;
    *value = readLe32(answer.bytes(), 0);
    return kOk;
}

uint32_t VirtualDock::readAlignment(Alignment* alignment) {
    AnswerBuffer answer;
    const uint32_t result = perform(Operation::kGetAlignment, 0, {}, 0, &answer,
                                    [](DockModel& model, AnswerBuffer* out, Event*, int64_t) {
                                        const Alignment reported =
                                            model.charger.reportedAlignment();
                                        out->add8(reported.state);
                                        out->add8(reported.subState);
                                        out->add32(static_cast<uint32_t>(reported.value1));
                                        out->add32(static_cast<uint32_t>(reported.value2));
                                        return kOk;
                                    });
    if (result != kOk) return result;
    constexpr size_t kLength = 10;
    if (answer.size() < kLength) return kReceiveFailed;
    alignment->state = answer.bytes()[0];
    alignment->subState = answer.bytes()[1];
    alignment->value1 = static_cast<int32_t>(readLe32(answer.bytes(), 2));
    alignment->value2 = static_cast<int32_t>(readLe32(answer.bytes(), 6));
    return kOk;
}

namespace {

void put64(int64_t value, AnswerBuffer* out) {
    out->add32(static_cast<uint32_t>(value));
    out->add32(static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32));
}

}  // namespace

uint32_t VirtualDock::getFeature(int64_t query, int64_t* value) {
    AnswerBuffer asked;
    put64(query, &asked);
    AnswerBuffer answer;
    const uint32_t result = perform(Operation::kGetFeature, 0, asked.bytes(), 0, &answer,
                                    [query](DockModel& model, AnswerBuffer* out, Event*, int64_t) {
                                        put64(model.features.get(query), out);
                                        return model.charger.docked ? kOk : kUnavailable;
                                    });
    if (result != kOk) return result;
    if (answer.size() < sizeof(int64_t)) return kReceiveFailed;
    *value = static_cast<int64_t>(readLe32(answer.bytes(), 0) |
                                  uint64_t{readLe32(answer.bytes(), 4)} << 32);
    return kOk;
}

uint32_t VirtualDock::setFeature(int64_t query, int64_t value) {
    AnswerBuffer asked;
    put64(query, &asked);
    put64(value, &asked);
    AnswerBuffer answer;
    return perform(Operation::kSetFeature, 0, asked.bytes(), 0, &answer,
                   [query, value](DockModel& model, AnswerBuffer*, Event*, int64_t) {
                       return model.charger.docked ? model.features.set(query, value)
                                                   : kUnavailable;
                   });
}

uint32_t VirtualDock::setQiId(uint16_t qiId) {
    AnswerBuffer asked;
    asked.add16(qiId);
    AnswerBuffer answer;
    return perform(Operation::kSetQiId, 0, asked.bytes(), 0, &answer,
                   [qiId](DockModel& model, AnswerBuffer*, Event*, int64_t) {
                       model.qiId = qiId;
                       return kOk;
                   });
}

uint32_t VirtualDock::startAuthentication() {
    AnswerBuffer answer;
    return perform(Operation::kSetAuthStart, 0, {}, 0, &answer,
                   [](DockModel& model, AnswerBuffer*, Event*, int64_t) {
                       if (!model.charger.docked) return kUnavailable;
                       if (!model.authReady) return kRefused;
                       ++model.authStarts;
                       return kOk;
                   });
}

uint32_t VirtualDock::upload(const FwUpdateData& data, int32_t flag) {
    AnswerBuffer answer;
    const Bytes bytes(reinterpret_cast<const uint8_t*>(&data), sizeof(data));
    return perform(Operation::kUploadFwUpdateData, flag, bytes, 0, &answer,
                   [&data](DockModel& model, AnswerBuffer*, Event*, int64_t) {
                       model.uploads.add(data);
                       return kOk;
                   });
}

uint32_t VirtualDock::request(Operation operation, int32_t type, Bytes request, uint8_t* response,
                              size_t* responseLength, uint32_t timeLimitMs) {
    if (request.data() == nullptr && !request.empty()) return kInvalidArgument;
    if ((response == nullptr) != (responseLength == nullptr)) return kInvalidArgument;
    AnswerBuffer answer;
    const uint32_t result =
        perform(operation, type, request, timeLimitMs, &answer,
                [=](DockModel& model, AnswerBuffer* out, Event* event, int64_t nowNs) {
                    return model.answerRequest(operation, type, request, out, event, nowNs);
                });
    if (result != kOk || response == nullptr) return result;
    if (answer.size() > *responseLength) return kReceiveFailed;
    if (answer.size() > 0) std::memcpy(response, answer.bytes().data(), answer.size());
    *responseLength = answer.size();
    return kOk;
}

uint32_t VirtualDock::rtxRequest(int32_t type, char* area) {
    AnswerBuffer answer;
    const uint32_t result = perform(Operation::kRtxRequest, type, {}, 0, &answer,
                                    [type](DockModel& model, AnswerBuffer* out, Event* event,
                                           int64_t) { return model.rtx.answer(type, out, event); });
    if (result != kOk) return result;
    const size_t limit = type == rtx::kSupported ? 1 : ReverseTransmit::kAreaSize;
    const size_t count = std::min(answer.size(), limit);
    if (count > 0) std::memcpy(area, answer.bytes().data(), count);
    return kOk;
}

void VirtualDock::reset() {
    {
        std::lock_guard lock(mLock);
        mModel = DockModel();
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

}  // namespace virtual_dock
