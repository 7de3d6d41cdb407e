// SPDX-License-Identifier: Apache-2.0
//
// Stands in for the header of the same name in Android's VINTF test helpers, which reads the
// manifests of device and framework. Here the manifest is the fragments in the run-time folder's
// vintf/, and only the instance that every service of this project has is looked for: "default".
#pragma once

#include <android/binder_manager.h>

#include <string>
#include <vector>

namespace android {

// Names, "descriptor/instance", of the declared instances of an interface; none when it is not
// declared. They need not be served. Any thread.
inline std::vector<std::string> getAidlHalInstanceNames(const std::string& descriptor) {
    std::string name = descriptor + "/default";
    if (!AServiceManager_isDeclared(name.c_str())) return {};
    return {std::move(name)};
}

}  // namespace android
