// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "compiler.h"
#include "diagnostics.h"
#include "io.h"
#include "options.h"

namespace aidlc {

// What one run in memory left behind.
struct Outcome {
    std::vector<std::string> errors;
    std::map<std::string, std::string> files;  // only those that were written
};

// Runs the compiler on files in memory with the given arguments.
inline Outcome runInMemory(const std::map<std::string, std::string>& input,
                           const std::vector<std::string>& arguments) {
    Diagnostics diagnostics;
    MemoryIo io;
    io.files = input;
    if (const auto options = parseOptions(arguments, &diagnostics)) {
        run(*options, &io, &diagnostics);
    }
    Outcome outcome;
    outcome.errors = diagnostics.errors();
    for (const auto& [path, text] : io.files) {
        if (input.count(path) == 0) {
            outcome.files[path] = text;
        }
    }
    return outcome;
}

// Arguments that generate from all `input` files into "src/" and "include/".
inline Outcome generate(const std::map<std::string, std::string>& input) {
    std::vector<std::string> arguments = {"--lang=ndk", "--structured", "--stability=vintf",
                                          "-I.",        "-osrc",        "-hinclude"};
    for (const auto& [path, text] : input) {
        arguments.push_back(path);
    }
    return runInMemory(input, arguments);
}

// The dump of all `input` files, by path below the dump's folder.
inline Outcome dump(const std::map<std::string, std::string>& input) {
    std::vector<std::string> arguments = {"--dumpapi", "--stability=vintf", "-I.", "--out=api"};
    for (const auto& [path, text] : input) {
        arguments.push_back(path);
    }
    return runInMemory(input, arguments);
}

}  // namespace aidlc
