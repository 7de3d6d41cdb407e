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
    EXPECT_EQ(options->files, (Words{"a/T.aidl", "a/U.aidl"}));
    EXPECT_EQ(options->sourceFolder + options->headerFolder + options->hash, "sinc0f");
    EXPECT_EQ(options->version, 8);
}

TEST(OptionsTest, EachMistakeIsReported) {
    const std::string good = "--lang=ndk T.aidl -os -hh --version=1 --hash=0f ";
    const std::pair<std::string, const char*> kCases[] = {
        {"", "name at least one .aidl file"},
        {"T.aidl -os -hh --version=1 --hash=0f", "--lang=ndk is missing"},
        {"--lang=ndk T.aidl -hh --version=1 --hash=0f", "name the output folder"},
        {"--lang=ndk T.aidl -os --version=1 --hash=0f", "name the header folder"},
        {"--lang=ndk T.aidl -os -hh --version=1", "--version and --hash go together"},
        {"--lang=ndk T.aidl -os -hh --hash=0f", "--version and --hash go together"},
        {good + "-h", "'-h' needs a value"},
        {good + "--lang=java", "'--lang=java' is not supported"},
        {good + "--stability=local", "'--stability=local' is not supported"},
        {good + "--version=0", "'0' is not a version"},
        {good + "--version=1000000", "'1000000' is not a version"},
        {good + "--version=99999999999", "'99999999999' is not a version"},
        {good + "--hash=\";}", "'--hash' needs"},
        {good + "--ninja", "there is no option '--ninja'"},
        {"--dumpapi T.aidl", "name the output folder"},
        {"--checkapi a b", "write --checkapi=equal"},
        {"--checkapi=equal a", "needs two folders"},
    };
    for (const auto& [arguments, error] : kCases) {
        Diagnostics diagnostics;
        EXPECT_FALSE(parseOptions(wordsOf(arguments), &diagnostics).has_value()) << arguments;
        EXPECT_THAT(diagnostics.errors().at(0), testing::HasSubstr(error)) << arguments;
    }
}

}  // namespace
}  // namespace aidlc
