// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

// Not part of Android: what the getprop and setprop tools need beyond android-base/properties.h.

namespace android::host {

// Fills `*properties` with the name and value of every property that is set, by name. On failure
// returns false and sets `*error` to one line; neither pointer may be null. Any thread.
[[nodiscard]] bool listProperties(std::vector<std::pair<std::string, std::string>>* properties,
                                  std::string* error);

// The value of a property; nothing when it is not set or cannot be read. Any thread.
std::optional<std::string> readProperty(const std::string& name);

// As android::base::SetProperty, but tells the reason of a failure.
[[nodiscard]] bool setProperty(const std::string& name, const std::string& value,
                               std::string* error);

// Whether `name` keeps the rules for property names; otherwise `*error` says which one it breaks.
[[nodiscard]] bool checkPropertyName(const std::string& name, std::string* error);

}  // namespace android::host
