// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>
#include <host/escape.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <type_traits>

namespace dockctl {

using Json = nlohmann::ordered_json;

// Untrusted text as it may be shown; numbers as they are.
template <typename T>
auto shown(const T& value) {
    if constexpr (std::is_convertible_v<const T&, std::string_view>) {
        return android::host::escaped(value);
    } else {
        return value;
    }
}

// Prints as fmt::print does, with the texts among the arguments escaped (host/escape.h). main()
// reports output that fails.
template <typename... Arguments>
void say(FILE* to, const char* format, const Arguments&... arguments) {
    std::fputs(fmt::format(fmt::runtime(format), shown(arguments)...).c_str(), to);
}

// Each writes to standard output, for people.
void printStatus(const Json& status);
void printKeys(const Json& reply);
void printValues(const Json& reply);
void printRecording(const Json& reply);

// JSON on one line, in ASCII, so that no character controls a terminal.
std::string toText(const Json& json);

// Adds the members "time" (of the wall clock, as in the service's log), "meaning", "answerMeaning"
// and "resultMeaning" to a log entry.
void explainLogEntry(Json* entry);
void printLogEntry(const Json& entry);

// A line of a trace with a uevent; its member "number" is the line's.
void printUevent(const Json& entry);

}  // namespace dockctl
