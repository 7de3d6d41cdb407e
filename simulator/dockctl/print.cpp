// SPDX-License-Identifier: Apache-2.0
#include "print.h"

#include <fmt/core.h>
#include <host/utf8.h>

#include <ctime>
#include <set>
#include <string>

#include "decode.h"
#include "dock/words.h"

namespace dockctl {
namespace {

// Settings that people know by their hexadecimal form.
bool isHexKey(const std::string& key) {
    static const std::set<std::string> kHexKeys = {
        "phone.qi-spec", "dock.id", "dock.ptmc", "rtx.prmc", "info.flags", "features.default"};
    return kHexKeys.count(key) != 0;
}

// The dock gives each byte of its texts as one character (see textJson).
std::string bytesOf(std::string_view characters) {
    std::string bytes;
    for (std::string_view rest = characters; !rest.empty();) {
        const char32_t c = android::host::takeCharacter(&rest);
        if (c > 0xFF) return std::string(characters);
        bytes += static_cast<char>(c);
    }
    return bytes;
}

std::string valueText(const std::string& key, const Json& value) {
    // A line feed in it does not begin a line.
    if (value.is_string()) return bytesOf(value.get<std::string>());
    if (value.is_number_integer() && isHexKey(key)) {
        return fmt::format("0x{:x}", value.get<uint64_t>());
    }
    return toText(value);
}

// {"a": 1, "b": "x"} as "a 1, b x".
std::string membersText(const Json& object) {
    std::string text;
    for (const auto& [key, value] : object.items()) {
        if (!text.empty()) text += ", ";
        text += key + " " + valueText(key, value);
    }
    return text;
}

void printList(const Json& status, const char* name, const char* title) {
    if (!status.contains(name)) return;
    size_t number = 0;
    for (const Json& item : status[name]) {
        say(stdout, "{:<28}{}\n", fmt::format("{} {}", title, number++), membersText(item));
    }
}

std::string spacedHex(const std::string& hex) {
    std::string text;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) {
        if (i > 0) text += ' ';
        text += hex.substr(i, 2);
    }
    return text;
}

void printBytes(const char* title, const std::string& hex, size_t length) {
    if (hex.empty()) return;
    const size_t kept = hex.size() / 2;
    say(stdout, "{:>14}  {}{}\n", title, spacedHex(hex),
        kept < length ? fmt::format(" ... {} bytes in all", length) : "");
}

// A moment since 1970 in the form of the service's log.
std::string wallClock(int64_t nanoseconds) {
    const std::time_t seconds = nanoseconds / 1'000'000'000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof(text), "%m-%d %H:%M:%S", &local);
    return fmt::format("{}.{:03}", text, nanoseconds / 1'000'000 % 1000);
}

// Two lines: what lies there, and what the dock is.
void printSummary(const Json& status) {
    const auto value = [&](const std::string& key) {
        return valueText(key, status["settings"][key]);
    };
    const bool placed = status["settings"]["dock.placed"];
    const bool charging = status["settings"]["dock.charging"];
    say(stdout, "{}, alignment {}, fan level {}, boost {} C, puck {} C\n",
        !placed ? "no phone on the dock"
        : charging
            ? "phone charging, power " + value("power.negotiated") + " of " + value("power.max")
            : "phone on the dock without power",
        value("align.state"), value("fan.level"), value("temperature.boost"),
        value("temperature.puck"));
    const bool connected = status["settings"]["rtx.connected"];
    say(stdout, "firmware {}.{}, reverse transmit {}{}, {} faults set, {} requests so far\n\n",
        value("firmware.0.major"), value("firmware.0.minor"), value("rtx.mode"),
        connected ? " (device connected)" : "", status["faults"].size(),
        status["requests"].get<uint64_t>());
}

}  // namespace

std::string toText(const Json& json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

void printStatus(const Json& status) {
    printSummary(status);
    for (const auto& [key, value] : status["settings"].items()) {
        say(stdout, "{:<28}{}\n", key, valueText(key, value));
    }
    printList(status, "fans", "fan");
    printList(status, "certificates", "certificate slot");
    printList(status, "firmware", "firmware target");
    if (status.contains("legacyFirmware")) {
        say(stdout, "{:<28}{}\n", "legacy firmware", membersText(status["legacyFirmware"]));
    }
    printList(status, "features", "feature");
    printList(status, "faults", "fault");
    printList(status, "uploads", "upload");
    for (const char* name : {"qiId", "authStarts", "uploadCount", "requests"}) {
        if (status.contains(name)) say(stdout, "{:<28}{}\n", name, status[name].dump());
    }
    if (status.contains("recording")) {
        say(stdout, "{:<28}{}\n", "recording", membersText(status["recording"]));
    }
}

void printValues(const Json& reply) {
    for (const auto& [key, value] : reply["values"].items()) {
        say(stdout, "{}\n", valueText(key, value));
    }
}

void printRecording(const Json& reply) {
    say(stdout, "{}: {} lines\n", valueText("file", reply["file"]), reply["lines"].dump());
}

void printKeys(const Json& reply) {
    for (const Json& item : reply["keys"]) {
        const std::string key = item["key"];
        say(stdout, "{:<28}{:<16}  {}\n", key, valueText(key, item["value"]),
            item["values"].get<std::string>());
    }
}

void explainLogEntry(Json* entry) {
    LoggedRequest logged;
    const std::string operation = (*entry)["operation"];
    if (!virtual_dock::operationFromName(operation, &logged.operation)) return;
    logged.type = (*entry)["type"];
    logged.result = (*entry)["result"];
    logged.request =
        virtual_dock::parseHex((*entry)["request"].get<std::string>()).value_or(ByteVector());
    logged.answer =
        virtual_dock::parseHex((*entry)["answer"].get<std::string>()).value_or(ByteVector());
    (*entry)["time"] = wallClock((*entry)["wallTimeNs"]);
    (*entry)["meaning"] = describeRequest(logged);
    (*entry)["answerMeaning"] = describeAnswer(logged);
    (*entry)["resultMeaning"] = describeResult(logged.result);
}

void printLogEntry(const Json& entry) {
    if (entry.contains("lost")) {
        say(stdout, "... {} requests were pushed out of the log\n", entry["lost"].dump());
        return;
    }
    std::string answer = entry["answerMeaning"];
    answer = entry["resultMeaning"].get<std::string>() + (answer.empty() ? "" : ": ") + answer;
    say(stdout, "{:>6} {}  {}:{}  {} -> {}\n", entry["number"].dump(),
        entry["time"].get<std::string>(), entry["operation"].get<std::string>(),
        entry["type"].dump(), entry["meaning"].get<std::string>(), answer);
    printBytes("sent", entry["request"], entry["requestLength"]);
    printBytes("got", entry["answer"], entry["answerLength"]);
}

void printUevent(const Json& entry) {
    std::string text;
    for (const Json& line : entry["uevent"]) text += " " + line.get<std::string>();
    say(stdout, "{:>6} {}  uevent{}\n", entry["number"].dump(), wallClock(entry["wallTimeNs"]),
        text);
}

}  // namespace dockctl
