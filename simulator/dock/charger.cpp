// SPDX-License-Identifier: Apache-2.0
#include "charger.h"

namespace virtual_dock {

Result Charger::readStatus(int32_t selector, uint32_t fanLevel, uint32_t* value) const {
    if (selector < status::kQiSpec || selector > status::kProduct) return kInvalidArgument;
    if (selector != status::kQiSpec && !docked) return kUnavailable;
    const uint32_t values[] = {qiSpec,      compatibility, maxPower, charging ? negotiatedPower : 0,
                               limitReason, ptmc,          fanLevel, dockId,
                               product};
    *value = values[selector];
    return kOk;
}

Alignment Charger::reportedAlignment() const {
    if (docked && charging) return alignment;
    Alignment off;
    off.state = Alignment::kOff;
    return off;
}

int64_t Features::get(int64_t query) const {
    for (const auto& [key, value] : mValues) {
        if (key == query) return value;
    }
    return defaultValue;
}

Result Features::set(int64_t query, int64_t value) {
    for (auto& [key, held] : mValues) {
        if (key == query) {
            held = value;
            return kOk;
        }
    }
    if (mValues.size() >= kMaxQueries) return kRefused;
    mValues.emplace_back(query, value);
    return kOk;
}

}  // namespace virtual_dock
