// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "compile.h"

namespace aidlc {
namespace {

// The frozen dump has full names, computed values and one order; a dump of it is the same again.
TEST(ApiTest, DumpOfSourcesAndOfTheirDumpIsTheFrozenText) {
    const auto frozen = readFolder(TESTS_FOLDER "/aidl_api/test.sample/1");
    for (const char* folder : {TESTS_FOLDER "/sample", TESTS_FOLDER "/aidl_api/test.sample/1"}) {
        const Outcome outcome = dump(readFolder(folder));
        ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
        ASSERT_EQ(outcome.files.size(), frozen.size());
        for (const auto& [path, text] : outcome.files) {
            EXPECT_EQ(text, frozen.at(path.substr(strlen("api/"))));
        }
    }
}

// Compares `before` and `after`, each one file of package a: T.aidl, or IT.aidl for an interface.
std::vector<std::string> compare(const std::string& before, const std::string& after) {
    const bool isInterface = before.find("interface") != std::string::npos;
    const std::string name = isInterface ? "a/IT.aidl" : "a/T.aidl";
    return runInMemory(
               {{"old/" + name, "package a;\n" + before}, {"new/" + name, "package a;\n" + after}},
               {"--checkapi=equal", "old", "new"})
        .errors;
}

TEST(ApiTest, FirstDifferenceOfATypeIsNamedAtItsPlace) {
    const struct {
        const char* before;
        const char* after;
        std::string error;  // empty: they are equal
    } kCases[] = {
        // The same in other words.
        {"parcelable T { int x = 4; const int A = 3; }",
         "/** Other. */ parcelable T { const int A = 1 + 2;\n int x = A + 1; }", ""},
        {"@VintfStability @Backing(type=\"byte\") enum T { A, B }",
         "@Backing(type=\"byte\") @VintfStability enum T { A = 0, B = 0x1 }", ""},
        {"parcelable T { int x = 1; }", "parcelable T { int x; }",
         "new/a/T.aidl:2:20: error: this is 'int x;', but 'int x = 1;' in old/a/T.aidl:2"},
        {"parcelable T { int x; }", "parcelable T { int x; int y; }",
         "new/a/T.aidl:2:27: error: 'int y;' is missing from old/a/T.aidl"},
        {"parcelable T { int x; int y; }", "parcelable T { int x; }",
         "old/a/T.aidl:2:27: error: 'int y;' is missing from new/a/T.aidl"},
        {"@VintfStability parcelable T { }", "union T { int a; }",
         "new/a/T.aidl:2:7: error: this is 'union T', but '@VintfStability parcelable T' in "
         "old/a/T.aidl:2"},
        {"enum T { A, B }", "enum T { A, B = 3 }",
         "new/a/T.aidl:2:13: error: this is 'B = 3,', but 'B = 1,' in old/a/T.aidl:2"},
        {"interface IT { oneway void f(in int x); }", "interface IT { void f(int x); }",
         "new/a/IT.aidl:2:21: error: this is 'void f(int x);', but 'oneway void f(in int x);' in "
         "old/a/IT.aidl:2"},
        {"oneway interface IT { }", "interface IT { }",
         "new/a/IT.aidl:2:11: error: this is 'interface IT', but 'oneway interface IT' in "
         "old/a/IT.aidl:2"},
    };
    for (const auto& [before, after, error] : kCases) {
        const std::vector<std::string> errors = compare(before, after);
        EXPECT_EQ(errors.empty() ? "" : errors[0], error);
        EXPECT_LE(errors.size(), 1u);
    }
}

TEST(ApiTest, TypeThatComesOrGoesIsNamed) {
    const Files files = {{"old/a/A.aidl", "package a; parcelable A { }"},
                         {"new/a/B.aidl", "package a; parcelable B { }"}};
    EXPECT_EQ(runInMemory(files, {"--checkapi=equal", "old", "new"}).errors,
              (std::vector<std::string>{"new/a/B.aidl:1:23: error: 'a.B' is missing from old",
                                        "old/a/A.aidl:1:23: error: 'a.A' is missing from new"}));
    EXPECT_FALSE(runInMemory(files, {"--checkapi=equal", "none", "none"}).errors.empty());
    EXPECT_FALSE(compare("parcelable T { ", "parcelable T { ").empty());
}

}  // namespace
}  // namespace aidlc
