// SPDX-License-Identifier: Apache-2.0
#include "commands.h"

#include <optional>
#include <utility>

#include "settings.h"
#include "words.h"

namespace virtual_dock {
namespace {

using Words = std::vector<std::string>;
using Changes = std::vector<std::pair<std::string, std::string>>;  // key, value

std::string changedReply(const UeventOutcome& outcome) {
    const char* const detail = outcome.sent ? "by" : "reason";
    return toLine(
        {{"ok", true}, {"uevent", {{"sent", outcome.sent}, {detail, textJson(outcome.detail)}}}});
}

std::string announce(Event event) {
    return event == Event::kNone ? doneReply() : changedReply(sendUevent(event));
}

bool hasPower(const DockModel& model) {
    return model.charger.docked && model.charger.charging;
}

// The setting of a key; null with the problem when there is none.
Setting* findSetting(std::vector<Setting>* settings, const std::string& key, std::string* problem) {
    Words keys;
    for (Setting& setting : *settings) {
        if (setting.key == key) return &setting;
        keys.push_back(setting.key);
    }
    *problem = unknownName("key", key, keys);
    return nullptr;
}

// What two changes made at once are announced as.
Event combined(Event first, Event second) {
    if (first == Event::kNone || first == second) return second;
    return second == Event::kNone ? first : Event::kAll;
}

// Makes all changes or none, and announces them with one uevent.
std::string change(VirtualDock* dock, const Changes& changes) {
    Event event = Event::kNone;
    std::string problem;
    const bool done = dock->withModel([&](DockModel& model, int64_t nowNs) {
        DockModel changed = model;
        std::vector<Setting> settings = settingsOf(&changed, nowNs);
        for (const auto& [key, value] : changes) {
            Setting* const setting = findSetting(&settings, key, &problem);
            if (setting == nullptr) return false;
            if (!setting->set(value)) {
                problem =
                    "\"" + value + "\" is not a value of " + key + ": it takes " + setting->values;
                return false;
            }
            event = combined(event, setting->event);
        }
        if (hasPower(model) && !hasPower(changed)) event = Event::kWlcOff;
        model = std::move(changed);
        return true;
    });
    return done ? announce(event) : usageError(problem);
}

std::string runStatus(VirtualDock* dock, const Words&) {
    Json reply = {{"ok", true}};
    reply.update(dockJson(dock));
    return toLine(reply);
}

std::string runKeys(VirtualDock* dock, const Words&) {
    Json keys = Json::array();
    dock->withModel([&](DockModel& model, int64_t nowNs) {
        for (const Setting& setting : settingsOf(&model, nowNs)) {
            keys.push_back(
                {{"key", setting.key}, {"values", setting.values}, {"value", setting.get()}});
        }
    });
    return toLine({{"ok", true}, {"keys", std::move(keys)}});
}

std::string runGet(VirtualDock* dock, const Words& words) {
    Json values = Json::object();
    std::string problem;
    dock->withModel([&](DockModel& model, int64_t nowNs) {
        std::vector<Setting> settings = settingsOf(&model, nowNs);
        for (size_t i = 1; i < words.size() && problem.empty(); ++i) {
            const Setting* const setting = findSetting(&settings, words[i], &problem);
            if (setting != nullptr) values[words[i]] = setting->get();
        }
    });
    if (!problem.empty()) return usageError(problem);
    return toLine({{"ok", true}, {"values", std::move(values)}});
}

// KEY VALUE or any number of KEY=VALUE.
std::string runSet(VirtualDock* dock, const Words& words) {
    if (words.size() == 3 && words[1].find('=') == std::string::npos) {
        return change(dock, {{words[1], words[2]}});
    }
    Changes changes;
    for (size_t i = 1; i < words.size(); ++i) {
        const size_t equals = words[i].find('=');
        if (equals == std::string::npos)
            return usageError("set takes KEY=VALUE, not \"" + words[i] + "\"");
        changes.emplace_back(words[i].substr(0, equals), words[i].substr(equals + 1));
    }
    return change(dock, changes);
}

std::string runPlace(VirtualDock* dock, const Words& words) {
    Changes changes = {{"dock.placed", "true"}, {"dock.charging", "true"}};
    for (size_t i = 1; i < words.size(); ++i) {
        const size_t equals = words[i].find('=');
        const std::string name = words[i].substr(0, equals);
        if (equals == std::string::npos || (name != "ptmc" && name != "product" && name != "id")) {
            return usageError("place takes ptmc=N, product=N and id=N, not \"" + words[i] + "\"");
        }
        changes.emplace_back("dock." + name, words[i].substr(equals + 1));
    }
    return change(dock, changes);
}

std::string runRemove(VirtualDock* dock, const Words&) {
    return change(dock, {{"dock.placed", "false"}});
}

std::string runCharging(VirtualDock* dock, const Words& words) {
    if (words[1] != "on" && words[1] != "off") return usageError("charging takes on or off");
    return change(dock, {{"dock.charging", words[1] == "on" ? "true" : "false"}});
}

std::string runAlign(VirtualDock* dock, const Words& words) {
    constexpr const char* kKeys[] = {"align.state", "align.sub", "align.value1", "align.value2"};
    Changes changes;
    for (size_t i = 1; i < words.size(); ++i) changes.emplace_back(kKeys[i - 1], words[i]);
    return change(dock, changes);
}

std::string runFanLevel(VirtualDock* dock, const Words& words) {
    return change(dock, {{"fan.level", words[1]}});
}

std::string runTemperature(VirtualDock* dock, const Words& words) {
    return change(dock, {{"temperature.boost", words[1]}, {"temperature.puck", words[2]}});
}

std::string runRtx(VirtualDock* dock, const Words& words) {
    const std::string& verb = words[1];
    if (verb == "connect" && words.size() == 2) return change(dock, {{"rtx.connected", "true"}});
    if (verb == "disconnect" && words.size() == 2) {
        return change(dock, {{"rtx.connected", "false"}});
    }
    if (verb == "error" && words.size() == 3) return change(dock, {{"rtx.error", words[2]}});
    if (verb == "mode" && words.size() == 3) return change(dock, {{"rtx.mode", words[2]}});
    return usageError("\"" + verb +
                      "\" is not an rtx command; these are: connect, disconnect, error N, mode "
                      "off|available|active");
}

std::string runUevent(VirtualDock*, const Words& words) {
    const UeventOutcome outcome = sendUeventLines({words.begin() + 1, words.end()});
    return outcome.sent ? changedReply(outcome) : refusal("no uevent was sent: " + outcome.detail);
}

std::string runReset(VirtualDock* dock, const Words&) {
    dock->reset();
    return announce(Event::kAll);
}

constexpr size_t kMaxWords = 128;

struct Command {
    const char* name;
    const char* usage;
    size_t minArguments;
    size_t maxArguments;
    std::string (*run)(VirtualDock*, const Words&);
};

constexpr Command kCommands[] = {
    {"status", "status", 0, 0, runStatus},
    {"keys", "keys", 0, 0, runKeys},
    {"get", "get KEY...", 1, kMaxWords, runGet},
    {"set", "set KEY=VALUE...", 1, kMaxWords, runSet},
    {"place", "place [ptmc=N] [product=N] [id=N]", 0, 3, runPlace},
    {"remove", "remove", 0, 0, runRemove},
    {"charging", "charging on|off", 1, 1, runCharging},
    {"align", "align STATE [SUB [V1 [V2]]]", 1, 4, runAlign},
    {"fan-level", "fan-level N", 1, 1, runFanLevel},
    {"temperature", "temperature BOOST PUCK", 2, 2, runTemperature},
    {"rtx", "rtx connect|disconnect|error N|mode MODE", 1, 2, runRtx},
    {"fail", "fail OPERATION[:TYPE] RESULT [COUNT [AFTER]]", 2, 4, setFault},
    {"delay", "delay OPERATION[:TYPE] MS [COUNT [AFTER]]", 2, 4, setFault},
    {"answer", "answer OPERATION[:TYPE] HEX|none [COUNT [AFTER]]", 2, 4, setFault},
    {"uevent", "uevent NAME=VALUE...", 1, 16, runUevent},
    {"record", "record FILE|stop", 1, 1, runRecord},
    {"reset", "reset", 0, 0, runReset},
};

}  // namespace

std::string errorReply(std::string_view kind, std::string_view message) {
    return toLine({{"ok", false}, {"kind", kind}, {"message", textJson(message)}});
}

std::string usageError(std::string_view message) {
    return errorReply("usage", message);
}
std::string refusal(std::string_view message) {
    return errorReply("refused", message);
}
std::string doneReply() {
    return "{\"ok\":true}";
}

std::string runCommand(VirtualDock* dock, std::string_view line) {
    const std::optional<Words> words = splitWords(line);
    if (!words) return usageError("a % must be followed by two hex digits");
    if (words->empty()) return usageError("empty line");
    Words names;
    for (const Command& command : kCommands) {
        names.emplace_back(command.name);
        if (words->front() != command.name) continue;
        const size_t arguments = words->size() - 1;
        if (arguments < command.minArguments || arguments > command.maxArguments) {
            return usageError(std::string("usage: ") + command.usage);
        }
        return command.run(dock, *words);
    }
    return usageError(unknownName("command", words->front(), names));
}

}  // namespace virtual_dock
