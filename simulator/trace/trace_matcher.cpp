// SPDX-License-Identifier: Apache-2.0
#include "trace_matcher.h"

#include <algorithm>

namespace virtual_dock {
namespace {

// 64 bits: by chance two requests of a trace share a key once in billions of traces.
uint64_t traceKey(Operation operation, int32_t type, Bytes request) {
    uint64_t hash = 0xcbf29ce484222325;
    const auto mix = [&](uint8_t byte) { hash = (hash ^ byte) * 0x100000001b3; };
    mix(static_cast<uint8_t>(operation));
    for (int shift = 0; shift < 32; shift += 8) {
        mix(static_cast<uint8_t>(static_cast<uint32_t>(type) >> shift));
    }
    for (const uint8_t byte : request) mix(byte);
    return hash;
}

}  // namespace

const char* differenceName(TraceDifference::Kind kind) {
    switch (kind) {
        case TraceDifference::Kind::kUnexpected:
            return "unexpected";
        case TraceDifference::Kind::kMissing:
            return "missing";
        case TraceDifference::Kind::kChanged:
            return "changed";
        case TraceDifference::Kind::kReordered:
            return "reordered";
        case TraceDifference::Kind::kAnswered:
            return "answered otherwise";
    }
    return "";
}

uint32_t TraceMatcher::add(const TraceExchange& exchange, const TracePlace& place, uint64_t line) {
    const uint32_t index = count();
    const uint64_t key = traceKey(exchange.operation, exchange.type, exchange.request);
    const auto [queue, isFirst] = mQueues.try_emplace(key, index, index);
    const uint32_t previous = queue->second.second;
    if (!isFirst) {
        const auto [first, last] = queue->second;
        if (first == kNone) {
            queue->second.first = index;
        } else {
            mEntries[last].next = index;
        }
        queue->second.second = index;
    }
    const auto thread =
        mThreads.try_emplace(exchange.thread, static_cast<uint32_t>(mThreads.size())).first->second;
    if (thread == mLatestOfThread.size()) mLatestOfThread.push_back(0);
    mSimilar.try_emplace({exchange.operation, exchange.type}, index);
    if (queue->second.second != previous && mEntries[previous].thread != thread)
        mShared.insert(key);
    mEntries.push_back({place, line, kNone, thread, false});
    return index;
}

TraceMatcher::Found TraceMatcher::find(Operation operation, int32_t type, Bytes request) {
    Found found;
    const auto similar = mSimilar.find({operation, type});
    const auto queue = mQueues.find(traceKey(operation, type, request));
    if (queue == mQueues.end() || queue->second.first == kNone) {
        if (similar != mSimilar.end()) found.similar = similar->second;
        return found;
    }
    found.index = queue->second.first;
    Entry& entry = mEntries[found.index];
    queue->second.first = entry.next;
    entry.found = true;
    // Whose a shared one is cannot be told: it says nothing about the order within a thread.
    if (mShared.count(queue->first) == 0) {
        uint32_t& latest = mLatestOfThread[entry.thread];
        found.reordered = found.index + 1 < latest;
        latest = std::max(latest, found.index + 1);
    }
    while (mFoundInARow < count() && mEntries[mFoundInARow].found) ++mFoundInARow;
    similar->second = found.index;
    return found;
}

std::vector<uint32_t> TraceMatcher::missing() const {
    std::vector<uint32_t> indices;
    for (uint32_t index = mFoundInARow; index < count(); ++index) {
        if (!mEntries[index].found) indices.push_back(index);
    }
    return indices;
}

void pairChanged(std::vector<TraceDifference>* differences) {
    using Kind = TraceDifference::Kind;
    std::map<std::pair<Operation, int32_t>, std::vector<TraceDifference*>> unexpected;
    for (TraceDifference& each : *differences) {
        if (each.kind == Kind::kUnexpected) {
            unexpected[{each.operation, each.type}].push_back(&each);
        }
    }
    for (auto& [key, list] : unexpected) std::reverse(list.begin(), list.end());
    std::vector<TraceDifference> left;
    std::vector<bool> paired(differences->size());
    for (size_t i = 0; i < differences->size(); ++i) {
        TraceDifference& each = (*differences)[i];
        const auto partners = unexpected.find({each.operation, each.type});
        if (each.kind != Kind::kMissing || partners == unexpected.end()) continue;
        if (partners->second.empty()) continue;
        TraceDifference* const partner = partners->second.back();
        partners->second.pop_back();
        partner->kind = Kind::kChanged;
        partner->line = each.line;
        partner->recorded = std::move(each.request);
        paired[i] = true;
    }
    for (size_t i = 0; i < differences->size(); ++i) {
        if (!paired[i]) left.push_back(std::move((*differences)[i]));
    }
    *differences = std::move(left);
}

}  // namespace virtual_dock
