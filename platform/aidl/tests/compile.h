// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

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

// The same, with all files of `input` for the last arguments.
inline Outcome runOnAll(const Files& input, std::vector<std::string> arguments) {
    for (const auto& [path, text] : input) {
        arguments.push_back(path);
    }
    return runInMemory(input, arguments);
}

// Generates from all `input` files into "src/" and "include/".
inline Outcome generate(const Files& input) {
    return runOnAll(input, {"--lang=ndk", "--structured", "--stability=vintf", "--version=2",
                            "--hash=0f", "-I.", "-osrc", "-hinclude"});
}

// The dump of all `input` files, by path below "api/".
inline Outcome dump(const Files& input) {
    return runOnAll(input, {"--dumpapi", "--structured", "--stability=vintf", "-I.", "--out=api"});
}

// The files of a folder of the disk, by path below it.
inline Files readFolder(const std::string& folder) {
    DiskIo disk;
    std::string why;
    Files files;
    for (const std::string& name : disk.list(folder, &why).value_or(std::vector<std::string>())) {
        files[name] = disk.read(joinPath(folder, name), &why).value_or("");
    }
    EXPECT_FALSE(files.empty()) << folder << ": " << why;
    return files;
}

}  // namespace aidlc
