// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include <utility>

namespace virtual_dock {

bool Faults::set(Fault fault) {
    clear(fault.operation, fault.type, fault.kind);
    if (mFaults.size() >= kMaxFaults) return false;
    mFaults.push_back(std::move(fault));
    return true;
}

void Faults::clear(Operation operation, std::optional<int32_t> type, Fault::Kind kind) {
    std::erase_if(mFaults, [&](const Fault& fault) {
        return fault.operation == operation && fault.type == type && fault.kind == kind;
    });
}

Fault* Faults::find(Operation operation, int32_t type, Fault::Kind kind) {
    Fault* found = nullptr;
    for (Fault& fault : mFaults) {
        if (fault.operation != operation || fault.kind != kind) continue;
        if (fault.type == type) return &fault;
        if (!fault.type) found = &fault;
    }
    return found;
}

void Faults::use(Fault* fault) {
    if (!fault->remaining || --*fault->remaining > 0) return;
    mFaults.erase(mFaults.begin() + (fault - mFaults.data()));
}

FaultOutcome Faults::take(Operation operation, int32_t type) {
    FaultOutcome outcome;
    if (Fault* delay = find(operation, type, Fault::Kind::kDelay)) {
        outcome.delayMs = delay->delayMs;
        use(delay);
    }
    if (Fault* fail = find(operation, type, Fault::Kind::kFail)) {
        outcome.result = fail->result;
        use(fail);
        return outcome;
    }
    if (Fault* answer = find(operation, type, Fault::Kind::kAnswer)) {
        outcome.answer = answer->answer;
        use(answer);
    }
    return outcome;
}

}  // namespace virtual_dock
