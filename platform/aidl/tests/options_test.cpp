// SPDX-License-Identifier: Apache-2.0
#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace aidlc {
namespace {

using Words = std::vector<std::string>;

Words wordsOf(const std::string& line) {
    std::istringstream stream(line);
    return Words(std::istream_iterator<std::string>(stream), {});
}

TEST(OptionsTest, EverySpellingOfAValueIsTaken) {
    Diagnostics diagnostics;
    const auto options =
        parseOptions(wordsOf("--lang ndk --structured --stability=vintf --version 8 --hash=0f "
                             "-I x -Iy -o s -hinc a/T.aidl a/U.aidl"),
                     &diagnostics);
    ASSERT_TRUE(options.has_value()) << diagnostics.errors()[0];
    EXPECT_EQ(options->importFolders, (Words{"x", "y"}));
    EXPECT_EQ(options->sourceFolder, "s");
    EXPECT_EQ(options->headerFolder, "inc");
    EXPECT_EQ(options->generator.version, 8);
    EXPECT_EQ(options->generator.hash, "0f");
    EXPECT_TRUE(options->checks.vintf);
    EXPECT_EQ(options->files, (Words{"a/T.aidl", "a/U.aidl"}));
}

TEST(OptionsTest, EachMistakeIsTold) {
    const struct {
        const char* arguments;
        const char* error;
    } kCases[] = {
        {"", "name at least one .aidl file"},
        {"T.aidl -os -hh", "say with --lang=ndk"},
        {"--lang=java T.aidl -os -hh", "'--lang=java' is not supported"},
        {"--lang=ndk T.aidl -hh", "say with -o"},
        {"--lang=ndk T.aidl -os", "say with -h"},
        {"--lang=ndk T.aidl -os -h", "'-h' needs a value"},
        {"--lang=ndk T.aidl -os -hh --version=0", "'0' is no version"},
        {"--lang=ndk T.aidl -os -hh --version=99999999999", "is no version"},
        {"--lang=ndk T.aidl -os -hh --hash=0f", "--hash belongs to a --version"},
        {"--lang=ndk T.aidl -os -hh --version=1 --hash=\";}", "'--hash' needs"},
        {"--lang=ndk T.aidl -os -hh --stability=local", "is not supported"},
        {"--lang=ndk T.aidl -os -hh --ninja", "there is no option '--ninja'"},
        {"--lang=ndk T.aidl -os -hh --structured=1", "takes no value"},
        {"--dumpapi T.aidl", "say with --out"},
        {"--checkapi a b", "write --checkapi=equal"},
        {"--checkapi=equal a", "needs two folders"},
    };
    for (const auto& [arguments, error] : kCases) {
        Diagnostics diagnostics;
        EXPECT_FALSE(parseOptions(wordsOf(arguments), &diagnostics).has_value()) << arguments;
        EXPECT_THAT(diagnostics.errors(), testing::Contains(testing::HasSubstr(error)));
    }
}

}  // namespace
}  // namespace aidlc
