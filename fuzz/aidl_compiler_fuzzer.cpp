// SPDX-License-Identifier: Apache-2.0
// The AIDL compiler on any text: parse, check, generate and dump, all in memory. What it accepts,
// it dumps; the dump must be accepted too and dump to the same text.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "compiler.h"
#include "diagnostics.h"
#include "io.h"
#include "options.h"

namespace {

// A file for each kind of type that the text may refer to.
const std::map<std::string, std::string> kOthers = {
    {"a/Color.aidl", "package a; @VintfStability enum Color { RED, GREEN }"},
    {"a/IOther.aidl", "package a; import a.IT; @VintfStability interface IOther { void f(IT t); }"},
    {"a/Rec.aidl", "package a; @VintfStability parcelable Rec { const int N = 4; int x; }"},
    {"a/Choice.aidl", "package a; @VintfStability union Choice { int x = 1; Rec r; }"},
};

bool compile(aidlc::MemoryIo* io, const std::vector<std::string>& arguments) {
    aidlc::Diagnostics diagnostics;
    const auto options = aidlc::parseOptions(arguments, &diagnostics);
    if (!options) {
        abort();
    }
    return aidlc::run(*options, io, &diagnostics);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    // The name of the file must fit what it declares.
    const std::string path =
        text.find("interface IT") != std::string::npos ? "a/IT.aidl" : "a/T.aidl";
    aidlc::MemoryIo io;
    io.files = kOthers;
    io.files[path] = text;
    if (!compile(&io, {"--lang=ndk", "--stability=vintf", "--version=1", "--hash=0", "-I", ".",
                       "-o", "src", "-h", "include", path})) {
        return 0;
    }
    if (!compile(&io, {"--dumpapi", "--stability=vintf", "-I", ".", "--out", "api", path})) {
        abort();
    }
    const std::string dumped = io.files["api/" + path];
    if (!compile(&io,
                 {"--dumpapi", "--stability=vintf", "-I", ".", "--out", "again", "api/" + path}) ||
        io.files["again/" + path] != dumped) {
        abort();
    }
    return 0;
}
