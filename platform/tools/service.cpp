// SPDX-License-Identifier: Apache-2.0
// service: which services there are. Stands in for Android's tool of the name, with `list` and
// `check`; its raw `call` is not there. `check` exits 1 when the service is not found.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <host/binder_host.h>
#include <host/escape.h>
#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include "tool.h"

namespace {

using android::host::escaped;
using android::tools::exitStatus;

constexpr const char* kUsage =
    "usage: service list          all services\n"
    "       service check NAME    whether a service is there\n";

int list() {
    const std::vector<std::string> names = android::host::listServices();
    printf("Found %zu services:\n", names.size());
    for (size_t i = 0; i < names.size(); ++i) printf("%zu\t%s\n", i, escaped(names[i]).c_str());
    return exitStatus("service", 0);
}

int check(const char* name) {
    const ndk::SpAIBinder binder(AServiceManager_checkService(name));
    const bool found = binder.get() != nullptr;
    printf("Service %s: %s\n", escaped(name).c_str(), found ? "found" : "not found");
    return exitStatus("service", found ? 0 : 1);
}

}  // namespace

int main(int argc, char** argv) {
    if (android::tools::answersForItself(argc, argv, kUsage)) return exitStatus("service", 0);
    if (argc == 2 && strcmp(argv[1], "list") == 0) return list();
    if (argc == 3 && strcmp(argv[1], "check") == 0) return check(argv[2]);
    fputs(kUsage, stderr);
    return 2;
}
