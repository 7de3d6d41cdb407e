// SPDX-License-Identifier: Apache-2.0
// getprop: system properties. Stands in for Android's tool of the name, without its -T and -Z.
// Exits 1 when the properties cannot be read.
#include <android-base/properties.h>
#include <host/escape.h>
#include <host/property_list.h>
#include <host/runtime_dir.h>
#include <stdio.h>

#include <string>
#include <utility>
#include <vector>

#include "tool.h"

namespace {

using android::host::escaped;
using android::tools::exitStatus;

constexpr const char* kUsage =
    "usage: getprop                    all properties that are set, as [name]: [value]\n"
    "       getprop NAME [DEFAULT]     the value of one; DEFAULT, or nothing, when it is not set\n";

int fail(const std::string& error) {
    fprintf(stderr, "getprop: %s\n", escaped(error).c_str());
    return 1;
}

int list() {
    std::vector<std::pair<std::string, std::string>> properties;
    std::string error;
    if (!android::host::listProperties(&properties, &error)) return fail(error);
    for (const auto& [name, value] : properties) {
        printf("[%s]: [%s]\n", escaped(name).c_str(), escaped(value).c_str());
    }
    return exitStatus("getprop", 0);
}

int show(const std::string& name, const std::string& fallback) {
    std::string path;
    std::string error;
    if (!android::host::checkPropertyName(name, &error) ||
        !android::host::hostRuntimeDir(&path, &error)) {
        return fail(error);
    }
    printf("%s\n", escaped(android::base::GetProperty(name, fallback)).c_str());
    return exitStatus("getprop", 0);
}

}  // namespace

int main(int argc, char** argv) {
    if (android::tools::answersForItself(argc, argv, kUsage)) return exitStatus("getprop", 0);
    const bool isOption = argc > 1 && argv[1][0] == '-';
    if (argc == 1) return list();
    if (!isOption && argc <= 3) return show(argv[1], argc == 3 ? argv[2] : "");
    fputs(kUsage, stderr);
    return 2;
}
