// SPDX-License-Identifier: Apache-2.0
#include "replayer.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <map>
#include <utility>

#include "trace_line.h"

namespace virtual_dock {
namespace {

// How many exchanges may end before the line of a uevent that came before them is written.
constexpr uint32_t kLateLines = 64;
// A recorder may be woken this much later than the thread of the service that reacts to the uevent.
constexpr int64_t kLateNs = 1'000'000;

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

std::chrono::steady_clock::time_point toTimePoint(int64_t momentNs) {
    return std::chrono::steady_clock::time_point(std::chrono::nanoseconds(momentNs));
}

int64_t laterBy(int64_t momentNs, int64_t nanoseconds) {
    return nanoseconds > kNever - momentNs ? kNever : momentNs + nanoseconds;
}

Outcome give(const TraceExchange& recorded, const Exchange& exchange) {
    if (recorded.result != kOk) return {.result = recorded.result};
    if (exchange.answer == nullptr) return {};
    const bool boasted = recorded.length > recorded.answer.size();
    if (!boasted && recorded.answer.size() > exchange.capacity) return {.result = kReceiveFailed};
    const size_t size = std::min(recorded.answer.size(), exchange.capacity);
    if (size > 0) std::memcpy(exchange.answer, recorded.answer.data(), size);
    return {.length = static_cast<size_t>(recorded.length)};
}

}  // namespace

// When an exchange began, and on which thread.
struct Replayer::Begin {
    int64_t timeNs;
    int64_t thread;
};

void Replayer::placeUevent(const std::vector<Begin>& begins, int64_t firstNs, int64_t eventThread,
                           Uevent* uevent) {
    // Exchanges that it caused may stand before it.
    const uint32_t end = uevent->before;
    for (uint32_t i = end - std::min(end, kLateLines); i < end; ++i) {
        const int64_t lateNs = begins[i].thread == eventThread ? kLateNs : 0;
        if (begins[i].timeNs <= uevent->timeNs - lateNs) continue;
        uevent->before = i;
        break;
    }
    const int64_t previousNs = uevent->before > 0 ? begins[uevent->before - 1].timeNs : firstNs;
    uevent->gapNs = std::max<int64_t>(uevent->timeNs - previousNs, 0);
    uevent->offsetNs = std::max<int64_t>(uevent->timeNs - firstNs, 0);
}

Replayer::Replayer(ReplayOptions options, Report report)
    : mOptions(options), mReport(std::move(report)) {}

bool Replayer::open(const std::string& path, std::string* problem, std::string* warning) {
    if (!mReader.open(path, problem)) return false;
    std::lock_guard lock(mLock);
    TraceEntry entry;
    int64_t firstNs = -1;
    std::vector<Begin> begins;
    std::map<int64_t, int> reactions;  // by thread: how often its exchange is next after a uevent
    bool isNext = false;
    while (mReader.next(&entry)) {
        const int64_t timeNs = std::visit([](const auto& each) { return each.timeNs; }, entry);
        if (firstNs < 0) firstNs = timeNs;
        const auto* const exchange = std::get_if<TraceExchange>(&entry);
        if (exchange != nullptr) {
            mMatcher.add(*exchange, mReader.place(), mReader.line());
            begins.push_back({timeNs, exchange->thread});
            if (isNext) ++reactions[exchange->thread];
        } else {
            mUevents.push_back(
                {.place = mReader.place(), .timeNs = timeNs, .before = mMatcher.count()});
        }
        isNext = exchange == nullptr;
    }
    const auto most =
        std::max_element(reactions.begin(), reactions.end(),
                         [](const auto& a, const auto& b) { return a.second < b.second; });
    const int64_t eventThread = most != reactions.end() ? most->first : -1;
    for (Uevent& uevent : mUevents) placeUevent(begins, firstNs, eventThread, &uevent);
    *warning = mReader.problem();
    return true;
}

int64_t Replayer::scaled(int64_t nanoseconds) const {
    if (mOptions.speed <= 0) return 0;
    const double slowed = static_cast<double>(nanoseconds) / mOptions.speed;
    return slowed < 9e18 ? static_cast<int64_t>(slowed) : kNever;
}

Outcome Replayer::exchange(const Exchange& exchange) {
    const int64_t nowNs = TraceMoment::now().timeNs;
    // An answer may overwrite it.
    TraceDifference difference{.kind = TraceDifference::Kind::kUnexpected,
                               .operation = exchange.operation,
                               .type = exchange.type,
                               .request = {exchange.request.begin(), exchange.request.end()}};
    bool differs = false;
    bool isThere = false;
    TracePlace place;
    {
        std::lock_guard lock(mLock);
        const uint32_t before = mMatcher.foundInARow();
        const TraceMatcher::Found found =
            mMatcher.find(exchange.operation, exchange.type, exchange.request);
        if (mFirstNs == 0) mFirstNs = nowNs;
        mLatestNs = nowNs;
        if (mMatcher.foundInARow() != before) mProgressNs = nowNs;
        uint32_t index = found.index;
        if (index != TraceMatcher::kNone) {
            difference.kind = TraceDifference::Kind::kReordered;
            difference.line = mMatcher.line(index);
            differs = found.reordered;
        } else {
            differs = true;
            if (!mOptions.strict) index = found.similar;
        }
        isThere = index != TraceMatcher::kNone;
        if (isThere) place = mMatcher.place(index);
        if (differs && mDifferences.size() < kMaxDifferences) {
            mDifferences.push_back(difference);
        } else if (differs) {
            ++mUnreported;
        }
    }
    mChanged.notify_all();
    if (differs && mReport) mReport(difference);
    TraceEntry entry;
    if (!isThere || !mReader.readAt(place, &entry)) return {.result = kUnavailable};
    const auto* const recorded = std::get_if<TraceExchange>(&entry);
    if (recorded == nullptr) return {.result = kUnavailable};
    waitUntil(laterBy(nowNs, scaled(recorded->microseconds * 1000)));
    return give(*recorded, exchange);
}

void Replayer::waitUntil(int64_t momentNs) {
    std::unique_lock lock(mLock);
    const android::base::ScopedLockAssertion assertion(mLock);
    while (!mStopped && TraceMoment::now().timeNs < momentNs) {
        mChanged.wait_until(lock, toTimePoint(momentNs));
    }
}

int64_t Replayer::dueNs(const Uevent& uevent) const {
    if (mMatcher.foundInARow() >= uevent.before) {
        // With nothing before it, it waits for the service to be there.
        if (mFirstNs == 0) return kNever;
        return laterBy(std::max(mProgressNs, mFirstNs), scaled(uevent.gapNs));
    }
    if (mOptions.strict || mFirstNs == 0) return kNever;
    return std::max(laterBy(mFirstNs, scaled(uevent.offsetNs)), laterBy(mLatestNs, kPatienceNs));
}

void Replayer::sendUevents(const Send& send) {
    for (const Uevent& uevent : mUevents) {
        {
            std::unique_lock lock(mLock);
            const android::base::ScopedLockAssertion assertion(mLock);
            while (!mStopped) {
                const int64_t due = dueNs(uevent);
                if (TraceMoment::now().timeNs >= due) break;
                if (due == kNever) {
                    mChanged.wait(lock);
                } else {
                    mChanged.wait_until(lock, toTimePoint(due));
                }
            }
            if (mStopped) return;
            mProgressNs = TraceMoment::now().timeNs;
            ++mSent;
        }
        TraceEntry entry;
        if (!mReader.readAt(uevent.place, &entry)) continue;
        if (const auto* recorded = std::get_if<TraceUevent>(&entry)) send(recorded->lines);
    }
}

void Replayer::stop() {
    {
        std::lock_guard lock(mLock);
        mStopped = true;
    }
    mChanged.notify_all();
}

Replayer::Progress Replayer::progress() const {
    std::lock_guard lock(mLock);
    return {mMatcher.count(), static_cast<uint32_t>(mMatcher.missing().size()),
            static_cast<uint32_t>(mUevents.size()), mSent, mUnreported};
}

std::vector<TraceDifference> Replayer::differences() const {
    std::lock_guard lock(mLock);
    std::vector<TraceDifference> all = mDifferences;
    for (const uint32_t index : mMatcher.missing()) {
        if (all.size() >= 2 * kMaxDifferences) break;
        TraceEntry entry;
        if (!mReader.readAt(mMatcher.place(index), &entry)) continue;
        auto* const recorded = std::get_if<TraceExchange>(&entry);
        if (recorded == nullptr) continue;
        all.push_back({.kind = TraceDifference::Kind::kMissing,
                       .line = mMatcher.line(index),
                       .operation = recorded->operation,
                       .type = recorded->type,
                       .request = std::move(recorded->request)});
    }
    pairChanged(&all);
    return all;
}

std::vector<std::string> resentLines(const std::vector<std::string>& recorded) {
    constexpr std::string_view kSynthetic = "SYNTH_ARG_";
    constexpr std::string_view kInterface = "INTERFACE=SOURCE=";
    constexpr std::string_view kAdded[] = {
        "ACTION=", "DEVPATH=", "SUBSYSTEM=", "SEQNUM=",  "SYNTH_UUID=",
        "MAJOR=",  "MINOR=",   "DEVNAME=",   "DEVMODE=", "IFINDEX="};
    std::vector<std::string> lines;
    for (size_t i = 0; i < recorded.size(); ++i) {
        std::string_view line = recorded[i];
        // "change@/devices/..."
        if (i == 0 && line.find('@') < line.find('=')) continue;
        const bool added =
            std::any_of(std::begin(kAdded), std::end(kAdded),
                        [&](std::string_view name) { return line.starts_with(name); });
        if (added) continue;
        if (line.starts_with(kSynthetic)) line.remove_prefix(kSynthetic.size());
        if (line.starts_with(kInterface)) {
            // The interface's name was in the first line too, before all others.
            line.remove_prefix(std::string_view("INTERFACE=").size());
            lines.emplace(lines.begin(), line);
        } else {
            lines.emplace_back(line);
        }
    }
    return lines;
}

}  // namespace virtual_dock
