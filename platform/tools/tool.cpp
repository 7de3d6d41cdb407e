// SPDX-License-Identifier: Apache-2.0
#include "tool.h"

#include <errno.h>
#include <libgen.h>
#include <stdio.h>
#include <string.h>

#include <string>

namespace android::tools {

bool answersForItself(int argc, char** argv, const char* usage) {
    const std::string word = argc == 2 ? argv[1] : "";
    if (word == "--version") {
        printf("%s %s\n", basename(argv[0]), PROJECT_VERSION);
        return true;
    }
    if (word != "--help" && word != "-h") return false;
    fputs(usage, stdout);
    return true;
}

int exitStatus(const char* tool, int status) {
    errno = 0;
    if (fflush(stdout) == 0 && ferror(stdout) == 0) return status;
    return exitStatus(tool, status, errno != 0 ? errno : EIO);
}

int exitStatus(const char* tool, int status, int error) {
    if (error == 0 || error == EPIPE) return status;
    fprintf(stderr, "%s: cannot write to standard output: %s\n", tool, strerror(error));
    return status != 0 ? status : 1;
}

}  // namespace android::tools
