// SPDX-License-Identifier: Apache-2.0
#include <android-base/properties.h>
#include <host/property_list.h>

namespace android::base {

std::string GetProperty(const std::string& key, const std::string& default_value) {
    const auto value = host::readProperty(key);
    return value && !value->empty() ? *value : default_value;
}

bool SetProperty(const std::string& key, const std::string& value) {
    std::string ignored;
    return host::setProperty(key, value, &ignored);
}

}  // namespace android::base
