// SPDX-License-Identifier: Apache-2.0
#include <limits>
#include <optional>
#include <utility>

#include "commands.h"
#include "words.h"

namespace virtual_dock {
namespace {

constexpr int64_t kMaxDelayMs = 600'000;

// OPERATION or OPERATION:TYPE. The problem, or nothing when the fault has both now.
std::optional<std::string> parseTarget(const std::string& word, Fault* fault) {
    const size_t colon = word.find(':');
    const std::string name = word.substr(0, colon);
    if (!operationFromName(name, &fault->operation)) {
        return unknownName("operation", name, operationNames());
    }
    if (colon == std::string::npos) return std::nullopt;
    const auto type = parseNumber(word.substr(colon + 1), std::numeric_limits<int32_t>::min(),
                                  std::numeric_limits<int32_t>::max());
    if (!type || typeName(fault->operation, static_cast<int32_t>(*type)) == nullptr) {
        std::string types;
        for (const int32_t each : typesOf(fault->operation)) {
            types += (types.empty() ? ": it has " : ", ") + std::to_string(each);
        }
        return name + " has no request type \"" + word.substr(colon + 1) + "\"" + types;
    }
    fault->type = static_cast<int32_t>(*type);
    return std::nullopt;
}

// The value of the fault. *clears tells that it means none at all.
std::optional<std::string> parseValue(const std::string& word, Fault* fault, bool* clears) {
    if (fault->kind == Fault::Kind::kAnswer) {
        const auto bytes = parseHex(word);
        *clears = word == "none";
        if (!bytes && !*clears) return "\"" + word + "\" is neither hex bytes nor none";
        if (bytes) fault->answer = *bytes;
        return std::nullopt;
    }
    const bool isDelay = fault->kind == Fault::Kind::kDelay;
    const int64_t min = isDelay ? 0 : std::numeric_limits<int32_t>::min();
    const int64_t max = isDelay ? kMaxDelayMs : std::numeric_limits<uint32_t>::max();
    const auto value = parseNumber(word, min, max);
    if (!value) {
        return "\"" + word + "\" is not a " +
               (isDelay ? "number of milliseconds from 0 to 600000" : "32-bit result");
    }
    *clears = *value == 0;
    (isDelay ? fault->delayMs : fault->result) = static_cast<uint32_t>(*value);
    return std::nullopt;
}

}  // namespace

std::string setFault(VirtualDock* dock, const std::vector<std::string>& words) {
    Fault fault{};
    fault.kind = words[0] == "fail"    ? Fault::Kind::kFail
                 : words[0] == "delay" ? Fault::Kind::kDelay
                                       : Fault::Kind::kAnswer;
    bool clears = false;
    if (auto problem = parseTarget(words[1], &fault)) return usageError(*problem);
    if (auto problem = parseValue(words[2], &fault, &clears)) return usageError(*problem);
    if (words.size() > 3) {
        const auto count = parseNumber(words[3], 1, std::numeric_limits<uint32_t>::max());
        if (!count) return usageError("\"" + words[3] + "\" is not a count of 1 or more");
        fault.remaining = static_cast<uint32_t>(*count);
    }
    if (words.size() > 4) {
        const auto skipped = parseNumber(words[4], 0, std::numeric_limits<uint32_t>::max());
        if (!skipped) return usageError("\"" + words[4] + "\" is not a number of requests");
        fault.skipped = static_cast<uint32_t>(*skipped);
    }
    const bool done = dock->withFaults([&](Faults& faults) {
        if (!clears) return faults.set(std::move(fault));
        faults.clear(fault.operation, fault.type, fault.kind);
        return true;
    });
    return done ? doneReply() : refusal("no room for another fault; `reset` clears them all");
}

}  // namespace virtual_dock
