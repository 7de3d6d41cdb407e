// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

namespace dockctl {

using Json = nlohmann::ordered_json;

// Each writes to standard output, for people.
void printStatus(const Json& status);
void printKeys(const Json& reply);

// Adds the members "name", "meaning" and "answerMeaning" to a log entry.
void explainLogEntry(Json* entry);
void printLogEntry(const Json& entry);

}  // namespace dockctl
