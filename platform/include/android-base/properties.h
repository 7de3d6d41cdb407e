// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <limits>
#include <string>

// System properties: named texts that all processes of the machine see, as in Android's libbase.
//
// Differs from Android: a property is the file `properties/<name>` in the run-time folder
// (host/runtime_dir.h), its whole content being the value. It is shared by the processes of one
// user that have the same run-time folder, there is no access control beyond that folder's, and
// setting one starts no init action ("ctl." names are plain names).
//
// Names: 1 to 247 bytes of letters, digits and any of ".-@:_"; no "." at either end and no "..".
// Values: UTF-8 without a zero byte, at most 91 bytes; a property whose name begins with "ro." may
// have up to 65,535 and is set once only.
//
// All functions may be called from any thread. A reader sees a whole value, the former or the new
// one.

namespace android::base {

// The value of `key`; `default_value` when it is not set, empty, or cannot be read.
std::string GetProperty(const std::string& key, const std::string& default_value);

// True for "1", "y", "yes", "on", "true", false for "0", "n", "no", "off", "false"; else
// `default_value`.
bool GetBoolProperty(const std::string& key, bool default_value);

// The value as a signed number, decimal or with 0x, when the whole value is one between `min` and
// `max` (included); else `default_value`. T is a signed integer type.
template <typename T>
T GetIntProperty(const std::string& key, T default_value, T min = std::numeric_limits<T>::min(),
                 T max = std::numeric_limits<T>::max());

// The same for unsigned types; `max` is included.
template <typename T>
T GetUintProperty(const std::string& key, T default_value, T max = std::numeric_limits<T>::max());

// Sets `key`. False, with the reason in the log, when name or value break the rules above, a "ro."
// property is already set, or the file cannot be written; the former value then stands.
bool SetProperty(const std::string& key, const std::string& value);

// Blocks until `key` has the value `expected_value`, or exists at all, and returns true; false when
// `relative_timeout` passes first or the folder cannot be watched.
bool WaitForProperty(const std::string& key, const std::string& expected_value,
                     std::chrono::milliseconds relative_timeout = std::chrono::milliseconds::max());
bool WaitForPropertyCreation(const std::string& key, std::chrono::milliseconds relative_timeout =
                                                         std::chrono::milliseconds::max());

}  // namespace android::base
