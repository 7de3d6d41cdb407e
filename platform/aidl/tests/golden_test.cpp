// SPDX-License-Identifier: Apache-2.0
// The generated text of a small interface, whole. After a change that is meant, write it anew with
// `cmake --build DIR --target aidl-update-golden` and read the difference.
#include <gtest/gtest.h>

#include <string>

#include "compile.h"

namespace aidlc {
namespace {

const std::string kInput = std::string(GOLDEN_FOLDER) + "/input";
const std::string kOutput = std::string(GOLDEN_FOLDER) + "/output";

TEST(GoldenTest, GeneratedTextIsAsBefore) {
    DiskIo disk;
    std::string why;
    const auto names = disk.list(kInput, &why);
    ASSERT_TRUE(names.has_value()) << why;
    std::vector<std::string> arguments = {
        "--lang=ndk", "--structured", "--stability=vintf", "--version=2", "--hash=0123456789abcdef",
        "-I.",        "-osrc",        "-hinclude"};
    std::map<std::string, std::string> input;
    for (const std::string& name : *names) {
        input[name] = disk.read(joinPath(kInput, name), &why).value_or("");
        arguments.push_back(name);
    }
    const Outcome outcome = runInMemory(input, arguments);
    ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    ASSERT_EQ(outcome.files.size(), 14u);
    for (const auto& [path, text] : outcome.files) {
        const std::string expected = joinPath(kOutput, path + ".expected");
        if (getenv("AIDL_UPDATE_GOLDEN") != nullptr) {
            ASSERT_TRUE(disk.write(expected, text, &why)) << why;
        }
        EXPECT_EQ(disk.read(expected, &why).value_or("(no such file)"), text) << expected;
    }
}

}  // namespace
}  // namespace aidlc
