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

using Files = std::map<std::string, std::string>;  // texts by path

// What one run in memory left behind.
struct Outcome {
    std::vector<std::string> errors;
    Files files;  // only those that were written
};

// Runs the compiler on files in memory with the given arguments.
inline Outcome runInMemory(const Files& input, const std::vector<std::string>& arguments) {
    Diagnostics diagnostics;
    MemoryIo io;
    io.files = input;
    if (const auto options = parseOptions(arguments, &diagnostics)) {
        run(*options, &io, &diagnostics);
    }
    for (const auto& [path, text] : input) {
        io.files.erase(path);
    }
    return {diagnostics.errors(), io.files};
}

}  // namespace aidlc
