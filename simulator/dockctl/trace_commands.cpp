// SPDX-License-Identifier: Apache-2.0
#include "trace_commands.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>

#include "decode.h"
#include "dock/json.h"
#include "session.h"
#include "trace/trace_mask.h"

namespace dockctl {
namespace {

using virtual_dock::TraceDifference;
using virtual_dock::TraceEntry;
using virtual_dock::TraceExchange;
using virtual_dock::TraceMatcher;
using virtual_dock::TraceReader;

void openTrace(const std::string& path, TraceReader* reader) {
    std::string problem;
    if (!reader->open(path, &problem)) throw TraceError(problem);
}

// After the last entry: a trace that is not whole is an error, after what it had was used.
void checkEnd(const std::string& path, const TraceReader& reader) {
    if (!reader.problem().empty()) {
        throw TraceError(path + ", " + reader.problem() + "; what comes before was used");
    }
}

void showEntry(const TraceReader& reader, const TraceEntry& entry, bool json) {
    Json members = traceJson(entry);
    const auto* const exchange = std::get_if<TraceExchange>(&entry);
    if (!json) {
        members["number"] = reader.line();
        members["requestLength"] = exchange != nullptr ? exchange->request.size() : 0;
        members["answerLength"] = exchange != nullptr ? exchange->length : 0;
        if (!members.contains("answer")) members["answer"] = "";
    }
    if (exchange == nullptr) {
        if (json) return say(stdout, "{}\n", toText(members));
        return printUevent(members);
    }
    const bool answered = members.contains("answer");
    if (!answered) members["answer"] = "";
    explainLogEntry(&members);
    if (!answered) members.erase("answer");
    if (json) {
        say(stdout, "{}\n", toText(members));
    } else {
        printLogEntry(members);
    }
}

int showTrace(const std::string& path, bool json) {
    TraceReader reader;
    openTrace(path, &reader);
    TraceEntry entry;
    while (reader.next(&entry)) showEntry(reader, entry, json);
    checkEnd(path, reader);
    return kDone;
}

struct TypeFigures {
    std::vector<uint32_t> microseconds;
    std::map<uint32_t, uint64_t> results;
};

int countTrace(const std::string& path, bool json) {
    TraceReader reader;
    openTrace(path, &reader);
    std::map<std::pair<virtual_dock::Operation, int32_t>, TypeFigures> types;
    uint64_t exchanges = 0;
    uint64_t uevents = 0;
    int64_t latestNs = reader.header().timeNs;
    TraceEntry entry;
    while (reader.next(&entry)) {
        latestNs = std::max(latestNs, std::visit([](const auto& e) { return e.timeNs; }, entry));
        const auto* const exchange = std::get_if<TraceExchange>(&entry);
        ++(exchange != nullptr ? exchanges : uevents);
        if (exchange == nullptr) continue;
        TypeFigures& figures = types[{exchange->operation, exchange->type}];
        figures.microseconds.push_back(
            static_cast<uint32_t>(std::min<int64_t>(exchange->microseconds, UINT32_MAX)));
        ++figures.results[exchange->result];
    }
    Json list = Json::array();
    for (auto& [key, figures] : types) {
        auto& durations = figures.microseconds;
        std::sort(durations.begin(), durations.end());
        Json results = Json::object();
        for (const auto& [result, count] : figures.results) results[describeResult(result)] = count;
        list.push_back({{"operation", virtual_dock::operationName(key.first)},
                        {"type", key.second},
                        {"count", durations.size()},
                        {"minMicroseconds", durations.front()},
                        {"medianMicroseconds", durations[durations.size() / 2]},
                        {"maxMicroseconds", durations.back()},
                        {"results", results}});
    }
    const int64_t spanMs = (latestNs - reader.header().timeNs) / 1'000'000;
    if (json) {
        const Json all = {{"exchanges", exchanges},
                          {"uevents", uevents},
                          {"milliseconds", spanMs},
                          {"types", list}};
        say(stdout, "{}\n", toText(all));
    } else {
        say(stdout, "{} exchanges, {} uevents, {} ms\n", exchanges, uevents, spanMs);
        say(stdout, "{:<24}{:>7}{:>10}{:>10}{:>10}  {}\n", "operation:type", "count", "min us",
            "median us", "max us", "results");
        for (const Json& each : list) {
            std::string results;
            for (const auto& [result, count] : each["results"].items()) {
                results += (results.empty() ? "" : ", ") + count.dump() + " " + result;
            }
            say(stdout, "{:<24}{:>7}{:>10}{:>10}{:>10}  {}\n",
                each["operation"].get<std::string>() + ":" + each["type"].dump(),
                each["count"].dump(), each["minMicroseconds"].dump(),
                each["medianMicroseconds"].dump(), each["maxMicroseconds"].dump(), results);
        }
    }
    checkEnd(path, reader);
    return kDone;
}

// What the second trace does otherwise than the first.
std::vector<TraceDifference> compare(const TraceReader& first, TraceMatcher* matcher,
                                     TraceReader* second) {
    using Kind = TraceDifference::Kind;
    std::vector<TraceDifference> all;
    TraceEntry entry;
    TraceEntry recorded;
    while (second->next(&entry)) {
        const auto* const exchange = std::get_if<TraceExchange>(&entry);
        if (exchange == nullptr) continue;
        const auto found = matcher->find(exchange->operation, exchange->type, exchange->request);
        const bool isThere = found.index != TraceMatcher::kNone;
        TraceDifference difference{.kind = isThere ? Kind::kReordered : Kind::kUnexpected,
                                   .line = isThere ? matcher->line(found.index) : 0,
                                   .operation = exchange->operation,
                                   .type = exchange->type,
                                   .request = exchange->request};
        if (!isThere || found.reordered) all.push_back(difference);
        if (!isThere || !first.readAt(matcher->place(found.index), &recorded)) continue;
        const auto* const before = std::get_if<TraceExchange>(&recorded);
        if (before != nullptr &&
            (before->result != exchange->result || before->answer != exchange->answer)) {
            difference.kind = Kind::kAnswered;
            all.push_back(std::move(difference));
        }
    }
    for (const uint32_t index : matcher->missing()) {
        if (!first.readAt(matcher->place(index), &recorded)) continue;
        const auto& missing = std::get<TraceExchange>(recorded);
        all.push_back({.kind = Kind::kMissing,
                       .line = matcher->line(index),
                       .operation = missing.operation,
                       .type = missing.type,
                       .request = missing.request});
    }
    virtual_dock::pairChanged(&all);
    return all;
}

int diffTraces(const std::string& firstPath, const std::string& secondPath, bool json) {
    TraceReader first;
    TraceReader second;
    openTrace(firstPath, &first);
    openTrace(secondPath, &second);
    TraceMatcher matcher;
    TraceEntry entry;
    while (first.next(&entry)) {
        const auto* const exchange = std::get_if<TraceExchange>(&entry);
        if (exchange != nullptr) matcher.add(*exchange, first.place(), first.line());
    }
    const std::vector<TraceDifference> all = compare(first, &matcher, &second);
    for (const TraceDifference& each : all) printDifference(each, json);
    checkEnd(firstPath, first);
    checkEnd(secondPath, second);
    return all.empty() ? kDone : kRefused;
}

int maskTrace(const std::string& path, const std::string& outPath, bool firmware) {
    TraceReader reader;
    openTrace(path, &reader);
    const int created = open(outPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    FILE* const out = created < 0 ? nullptr : fdopen(created, "w");
    if (out == nullptr) throw TraceError("cannot create " + outPath + ": " + std::strerror(errno));
    const auto& header = reader.header();
    Json libraries = Json::array();
    for (const std::string& each : header.libraries) {
        // The folders may tell whose they are.
        libraries.push_back(virtual_dock::textJson(each.substr(each.rfind('/') + 1)));
    }
    const Json first = {{"trace", 1},
                        {"recorder", header.recorder},
                        {"timeNs", header.timeNs},
                        {"wallTimeNs", header.wallTimeNs},
                        {"libraries", libraries}};
    std::fputs((toText(first) + "\n").c_str(), out);
    virtual_dock::TraceMask mask(firmware);
    TraceEntry entry;
    while (reader.next(&entry)) {
        if (auto* exchange = std::get_if<TraceExchange>(&entry)) mask.apply(exchange);
        std::fputs((toText(traceJson(entry)) + "\n").c_str(), out);
    }
    const bool failed = std::fflush(out) != 0 || std::ferror(out) != 0;
    const int error = errno;
    std::fclose(out);
    if (failed) {
        unlink(outPath.c_str());
        throw TraceError("cannot write " + outPath + ": " + std::strerror(error));
    }
    checkEnd(path, reader);
    return kDone;
}

}  // namespace

int runTrace(const Invocation& invocation) {
    const std::vector<std::string>& words = invocation.words;
    if (words[0] == "show") return showTrace(words[1], invocation.json);
    if (words[0] == "stat") return countTrace(words[1], invocation.json);
    if (words[0] == "diff") return diffTraces(words[1], words[2], invocation.json);
    return maskTrace(words[1], words[2], invocation.maskFirmware);
}

}  // namespace dockctl
