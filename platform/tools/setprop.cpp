// SPDX-License-Identifier: Apache-2.0
// setprop: sets a system property. Stands in for Android's tool of the name. Exits 1 when it is
// refused.
#include <host/escape.h>
#include <host/property_list.h>
#include <stdio.h>

#include <string>

#include "tool.h"

namespace {

constexpr const char* kUsage =
    "usage: setprop NAME VALUE\n"
    "NAME: letters, digits and .-@:_; VALUE: at most 91 bytes, more when NAME begins with "
    "\"ro.\",\n"
    "which can be set once only.\n";

}  // namespace

int main(int argc, char** argv) {
    using android::tools::answersForItself;
    if (answersForItself(argc, argv, kUsage)) return android::tools::exitStatus("setprop", 0);
    if (argc == 3 && argv[1][0] != '-') {
        std::string error;
        if (android::host::setProperty(argv[1], argv[2], &error)) return 0;
        using android::host::escaped;
        fprintf(stderr, "setprop: cannot set \"%s\": %s\n", escaped(argv[1]).c_str(),
                escaped(error).c_str());
        return 1;
    }
    fputs(kUsage, stderr);
    return 2;
}
