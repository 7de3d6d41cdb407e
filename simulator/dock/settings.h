// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dock_model.h"
#include "json.h"

namespace virtual_dock {

// One value of the dock that people may read and set by its key.
struct Setting {
    std::string key;
    Event event;         // what a change is announced as
    std::string values;  // what it takes, for people: "0..255", "text, at most 200 bytes"
    std::function<Json()> get;
    std::function<bool(const std::string&)> set;  // false: not one of the values; nothing changed
};

// Every setting, in the order in which people read them. They refer to the model: use them under
// its lock and drop them with it.
std::vector<Setting> settingsOf(DockModel* model, int64_t nowNs);

}  // namespace virtual_dock
