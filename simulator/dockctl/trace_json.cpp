// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "decode.h"
#include "dock/json.h"
#include "trace_commands.h"

namespace dockctl {
namespace {

using virtual_dock::TraceDifference;
using virtual_dock::TraceExchange;
using virtual_dock::TraceUevent;

std::string hexOf(const ByteVector& bytes) {
    return virtual_dock::hexJson(bytes).get<std::string>();
}

Json exchangeJson(const TraceExchange& exchange) {
    Json json = {{"timeNs", exchange.timeNs},
                 {"wallTimeNs", exchange.wallTimeNs},
                 {"thread", exchange.thread},
                 {"operation", virtual_dock::operationName(exchange.operation)},
                 {"type", exchange.type},
                 {"timeLimitMs", exchange.timeLimitMs},
                 {"request", virtual_dock::hexJson(exchange.request)},
                 {"capacity", nullptr},
                 {"result", exchange.result}};
    if (exchange.capacity) json["capacity"] = *exchange.capacity;
    if (exchange.result == virtual_dock::kOk && exchange.capacity) {
        json["answer"] = virtual_dock::hexJson(exchange.answer);
        if (exchange.length != exchange.answer.size()) json["length"] = exchange.length;
    }
    json["microseconds"] = exchange.microseconds;
    return json;
}

LoggedRequest logged(const TraceDifference& difference, const ByteVector& request) {
    LoggedRequest logged;
    logged.operation = difference.operation;
    logged.type = difference.type;
    logged.request = request;
    return logged;
}

}  // namespace

Json traceJson(const virtual_dock::TraceEntry& entry) {
    if (const auto* exchange = std::get_if<TraceExchange>(&entry)) return exchangeJson(*exchange);
    const auto& uevent = std::get<TraceUevent>(entry);
    Json lines = Json::array();
    for (const std::string& line : uevent.lines) lines.push_back(virtual_dock::textJson(line));
    return {{"timeNs", uevent.timeNs}, {"wallTimeNs", uevent.wallTimeNs}, {"uevent", lines}};
}

void printDifference(const TraceDifference& difference, bool json) {
    const char* const operation = virtual_dock::operationName(difference.operation);
    const bool changed = difference.kind == TraceDifference::Kind::kChanged;
    if (json) {
        Json members = {{"difference", virtual_dock::differenceName(difference.kind)},
                        {"operation", operation},
                        {"type", difference.type},
                        {"request", virtual_dock::hexJson(difference.request)}};
        if (difference.line != 0) members["line"] = difference.line;
        if (changed) members["recorded"] = virtual_dock::hexJson(difference.recorded);
        say(stdout, "{}\n", toText(members));
        return;
    }
    std::string text =
        fmt::format("{}: {}:{}  {}", virtual_dock::differenceName(difference.kind), operation,
                    difference.type, describeRequest(logged(difference, difference.request)));
    if (!difference.request.empty()) text += fmt::format(" [{}]", hexOf(difference.request));
    if (changed) {
        text += fmt::format(", recorded: {} [{}]",
                            describeRequest(logged(difference, difference.recorded)),
                            hexOf(difference.recorded));
    }
    if (difference.line != 0) text += fmt::format(" (line {})", difference.line);
    say(stdout, "{}\n", text);
}

}  // namespace dockctl
