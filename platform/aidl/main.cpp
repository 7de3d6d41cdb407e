// SPDX-License-Identifier: Apache-2.0
#include <cstdio>
#include <string>
#include <vector>

#include "compiler.h"
#include "diagnostics.h"
#include "io.h"
#include "options.h"

int main(int argc, char** argv) {
    aidlc::Diagnostics diagnostics;
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const auto options = aidlc::parseOptions(arguments, &diagnostics);
    if (options && options->task == aidlc::Options::Task::Help) {
        fputs(aidlc::kUsage, stdout);
        return 0;
    }
    aidlc::DiskIo io;
    const bool done = options && aidlc::run(*options, &io, &diagnostics);
    for (const std::string& error : diagnostics.errors()) {
        fprintf(stderr, "%s\n", error.c_str());
    }
    return done && !diagnostics.hasErrors() ? 0 : 1;
}
