// SPDX-License-Identifier: Apache-2.0
#include "trace_entry.h"

#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

#include "dock/words.h"

namespace virtual_dock {
namespace {

using TraceJson = nlohmann::json;

constexpr int64_t kFormatVersion = 1;
constexpr int64_t kMaxNumber = std::numeric_limits<int64_t>::max();

// The members of a line; remembers the first that is not as it has to be.
class TraceMembers {
  public:
    explicit TraceMembers(std::string_view line) : mLine(TraceJson::parse(line, nullptr, false)) {
        if (mLine.is_discarded()) {
            mProblem = "this is no JSON";
        } else if (!mLine.is_object()) {
            mProblem = "a line has to be a JSON object";
        }
    }

    const std::string& problem() const { return mProblem; }
    bool has(const char* name) const { return mLine.is_object() && mLine.contains(name); }
    bool isNull(const char* name) const { return has(name) && mLine.find(name)->is_null(); }

    int64_t number(const char* name, int64_t min, int64_t max) {
        const TraceJson* const value = find(name);
        if (value != nullptr && value->is_number_integer()) {
            // Beyond int64_t is unsigned, and beyond every limit here.
            const bool huge = value->is_number_unsigned() &&
                              value->get<uint64_t>() > static_cast<uint64_t>(kMaxNumber);
            const int64_t number = huge ? 0 : value->get<int64_t>();
            if (!huge && number >= min && number <= max) return number;
        }
        complain(name, "a whole number from " + std::to_string(min) + " to " + std::to_string(max));
        return min;
    }

    std::string text(const char* name) {
        const TraceJson* const value = find(name);
        if (value != nullptr && value->is_string()) return *value->get_ptr<const std::string*>();
        complain(name, "a string");
        return {};
    }

    std::vector<uint8_t> bytes(const char* name) {
        const TraceJson* const value = find(name);
        if (value != nullptr && value->is_string()) {
            const std::string& hex = *value->get_ptr<const std::string*>();
            if (hex.empty()) return {};
            auto bytes = parseHex(hex);
            if (bytes) return std::move(*bytes);
        }
        complain(name, "a string of an even number of hex digits");
        return {};
    }

    // Each character is one byte.
    std::vector<std::string> byteStrings(const char* name) {
        std::vector<std::string> all;
        const TraceJson* const value = find(name);
        bool good = value != nullptr && value->is_array();
        if (good) {
            for (const TraceJson& each : *value) {
                std::string bytes;
                good = good && each.is_string() &&
                       toBytes(*each.get_ptr<const std::string*>(), &bytes);
                if (!good) break;
                all.push_back(std::move(bytes));
            }
        }
        if (!good) complain(name, "an array of strings with characters up to \\u00ff");
        return all;
    }

    void complain(const std::string& name, const std::string& wanted) {
        if (mProblem.empty()) mProblem = "\"" + name + "\" has to be " + wanted;
    }

  private:
    const TraceJson* find(const char* name) const {
        return has(name) ? &*mLine.find(name) : nullptr;
    }

    // The parser has checked that it is UTF-8.
    static bool toBytes(const std::string& text, std::string* bytes) {
        for (size_t i = 0; i < text.size(); ++i) {
            const auto first = static_cast<uint8_t>(text[i]);
            if (first < 0x80) {
                *bytes += text[i];
            } else if (first <= 0xC3 && i + 1 < text.size()) {
                const auto second = static_cast<uint8_t>(text[++i]);
                *bytes += static_cast<char>((first & 0x03) << 6 | (second & 0x3F));
            } else {
                return false;
            }
        }
        return true;
    }

    TraceJson mLine;
    std::string mProblem;
};

TraceExchange readExchange(TraceMembers* members) {
    TraceExchange exchange;
    exchange.timeNs = members->number("timeNs", 0, kMaxNumber);
    exchange.wallTimeNs = members->number("wallTimeNs", 0, kMaxNumber);
    exchange.thread = members->number("thread", 0, kMaxNumber);
    const std::string operation = members->text("operation");
    if (members->problem().empty() && !operationFromName(operation, &exchange.operation)) {
        members->complain("operation", "the name of a C function of the libraries");
    }
    exchange.type = static_cast<int32_t>(members->number(
        "type", std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
    const int64_t max32 = std::numeric_limits<uint32_t>::max();
    exchange.timeLimitMs = static_cast<uint32_t>(members->number("timeLimitMs", 0, max32));
    exchange.request = members->bytes("request");
    if (!members->isNull("capacity"))
        exchange.capacity = members->number("capacity", 0, kMaxNumber);
    exchange.result = static_cast<uint32_t>(members->number("result", 0, max32));
    if (members->has("answer")) exchange.answer = members->bytes("answer");
    if (exchange.answer.size() > exchange.capacity.value_or(0)) {
        members->complain("answer", "no longer than \"capacity\"");
    }
    exchange.length = exchange.answer.size();
    if (members->has("length")) {
        exchange.length = static_cast<uint64_t>(members->number("length", 0, kMaxNumber));
    }
    exchange.microseconds = members->number("microseconds", 0, kMaxNumber / 1000);
    return exchange;
}

}  // namespace

bool parseTraceHeader(std::string_view line, TraceHeader* header, std::string* problem) {
    TraceMembers members(line);
    if (!members.has("trace")) {
        *problem = "this is not a trace: its first line has no member \"trace\"";
        return false;
    }
    const int64_t version = members.number("trace", 1, kMaxNumber);
    if (members.problem().empty() && version > kFormatVersion) {
        *problem = "the trace has format " + std::to_string(version) + "; this program reads 1";
        return false;
    }
    header->recorder = members.text("recorder");
    header->timeNs = members.number("timeNs", 0, kMaxNumber);
    header->wallTimeNs = members.number("wallTimeNs", 0, kMaxNumber);
    header->libraries = members.byteStrings("libraries");
    *problem = members.problem();
    return problem->empty();
}

bool parseTraceEntry(std::string_view line, TraceEntry* entry, std::string* problem) {
    TraceMembers members(line);
    if (members.problem().empty()) {
        if (members.has("uevent")) {
            TraceUevent uevent;
            uevent.timeNs = members.number("timeNs", 0, kMaxNumber);
            uevent.wallTimeNs = members.number("wallTimeNs", 0, kMaxNumber);
            uevent.lines = members.byteStrings("uevent");
            *entry = std::move(uevent);
        } else if (members.has("operation")) {
            *entry = readExchange(&members);
        } else {
            *problem = "a line has to have a member \"operation\" or \"uevent\"";
            return false;
        }
    }
    *problem = members.problem();
    return problem->empty();
}

}  // namespace virtual_dock
