// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "diagnostics.h"

namespace aidlc {

// What the command line asks for.
struct Options {
    enum class Task { Help, Generate, DumpApi, CheckApi };

    Task task = Task::Generate;
    std::vector<std::string> importFolders;  // -I, in order
    std::string sourceFolder;                // -o, or --out of --dumpapi
    std::string headerFolder;                // -h
    std::vector<std::string> files;          // for CheckApi: the old and the new folder
    int version = 0;                         // of the interface, 1 to 999999; 0 without one
    std::string hash;                        // of its API, letters and digits; goes with a version
};

// `arguments` without the program's name. Nothing, after reporting what is wrong, when they ask for
// something that does not exist, or for a task without what it needs.
std::optional<Options> parseOptions(const std::vector<std::string>& arguments,
                                    Diagnostics* diagnostics);

// What --help prints.
extern const char kUsage[];

}  // namespace aidlc
