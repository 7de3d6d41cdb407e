// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "ast.h"

namespace aidlc {

// What an interface tells of itself.
struct InterfaceVersion {
    int number = 0;    // 0: nothing
    std::string hash;  // of the API of that version
};

// Generated files: path below its output folder, and text.
struct GeneratedFiles {
    std::map<std::string, std::string> headers;  // below -h
    std::map<std::string, std::string> sources;  // below -o
};

// Turns a checked type into C++ for the NDK backend.
void generate(const TypeDecl& type, const InterfaceVersion& version, GeneratedFiles* files);

}  // namespace aidlc
