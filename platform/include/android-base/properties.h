// SPDX-License-Identifier: Apache-2.0
#pragma once

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

// Sets `key`. False, and nothing in the log, when name or value break the rules above, a "ro."
// property is already set, or the file cannot be written; the former value then stands.
// host::setProperty (host/property_list.h) tells the reason.
bool SetProperty(const std::string& key, const std::string& value);

}  // namespace android::base
