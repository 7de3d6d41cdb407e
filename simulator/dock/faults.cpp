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

std::optional<Fault> Faults::use(Operation operation, int32_t type, Fault::Kind kind) {
    Fault* const fault = find(operation, type, kind);
    if (fault == nullptr) return std::nullopt;
    if (fault->skipped > 0) {
        --fault->skipped;
        return std::nullopt;
    }
    if (!fault->remaining || --*fault->remaining > 0) return *fault;
    Fault last = std::move(*fault);
    mFaults.erase(mFaults.begin() + (fault - mFaults.data()));
    return last;
}

FaultOutcome Faults::take(Operation operation, int32_t type) {
    FaultOutcome outcome;
    if (const auto delay = use(operation, type, Fault::Kind::kDelay)) {
        outcome.delayMs = delay->delayMs;
    }
    if (const auto fail = use(operation, type, Fault::Kind::kFail)) {
        outcome.result = fail->result;
    } else if (auto answer = use(operation, type, Fault::Kind::kAnswer)) {
        outcome.answer = std::move(answer->answer);
    }
    return outcome;
}

}  // namespace virtual_dock
