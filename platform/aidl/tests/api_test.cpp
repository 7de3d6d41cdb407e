// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compile.h"

namespace aidlc {
namespace {

TEST(ApiTest, ExpressionIsDumpedAsItsValue) {
    const struct {
        std::string type;
        std::string expression;
        std::string value;
    } kCases[] = {
        // Precedence and direction.
        {"int", "1 + 2 * 3", "7"},
        {"int", "10 - 3 - 2", "5"},
        {"int", "1 << 2 + 1", "8"},
        {"int", "1 | 6 & 3 ^ 8", "11"},
        // Signs and edges.
        {"int", "- -7 / -2", "-3"},
        {"int", "-7 % 3", "-1"},
        {"int", "7 % -1", "0"},
        {"int", "-8 >> 1", "-4"},
        {"int", "~0", "-1"},
        {"int", "0xffffffff", "-1"},
        {"int", "-1 << 31", "-2147483648"},
        {"int", "-2147483648", "-2147483648"},
        // References.
        {"int", "NINE * T.NINE", "81"},
        {"int", "a.E.B + E.C", "19"},
        // As wide as the wider side.
        {"long", "2147483647L + 1", "2147483648"},
        {"long", "0xffffffffL", "4294967295"},
        {"long", "0x100000000", "4294967296"},
        {"long", "-9223372036854775807 - 1", "0x8000000000000000"},
        {"long", "E.A << 40", "5497558138880"},
        // Other types.
        {"char", "'\"'", "'\"'"},
        {"float", "-.25", "-0.25f"},
        {"double", "-0.1", "-0.10000000000000001"},
        {"String[]", "{\"it's\", \"\"}", "{\"it's\", \"\"}"},
        {"boolean[]", "{true, false}", "{true, false}"},
        {"a.E[]", "{E.A, E.B}", "{a.E.A, a.E.B}"},
    };
    for (const auto& [type, expression, value] : kCases) {
        Outcome outcome = runInMemory(
            {{"a/T.aidl", "package a; parcelable T { const int NINE = 9; " + type +
                              " x = " + expression + "; }"},
             {"a/E.aidl", "package a; @Backing(type=\"long\") enum E { A = 5, B, C = A | 8 }"}},
            {"--dumpapi", "-I.", "--out=api", "a/T.aidl"});
        EXPECT_THAT(outcome.files["api/a/T.aidl"],
                    testing::HasSubstr(type + " x = " + value + ";\n"))
            << testing::PrintToString(outcome.errors);
    }
}

TEST(ApiTest, DumpHasFullNamesAndOneOrderAndDumpsToTheSame) {
    const std::string dumped = R"(package a;
@VintfStability
interface IT {
  @nullable a.IT turn(in int[] what, inout List<String> words, out byte[4] key);
  oneway void look(@nullable IBinder binder, a.IT back);
  const int SIZE = 16;
}
)";
    const std::string written = R"(package a; /** Looks. */ @VintfStability interface IT {
        const int SIZE = 1 << 4;
        @nullable IT turn(in int[] what, inout List<String> words, out byte[SIZE / 4] key);
        oneway void look(@nullable IBinder binder, IT back); })";
    for (const std::string& text : {written, dumped}) {
        Outcome outcome =
            runInMemory({{"a/IT.aidl", text}}, {"--dumpapi", "-I.", "--out=api", "a/IT.aidl"});
        EXPECT_THAT(outcome.files["api/a/IT.aidl"], testing::EndsWith(dumped));
    }
}

// What only another process, or the platform's own runtime, would see of an object.
TEST(GeneratedTextTest, OnewayCallsAndStableObjectsAreMarked) {
    const char kOneway[] = "FLAG_ONEWAY";
    const char kStable[] = "AIBinder_markVintfStability";
    for (const auto& [text, marks] : std::map<std::string, std::string>{
             {"interface IT { void f(); }", ""},
             {"interface IT { oneway void f(); }", kOneway},
             {"oneway interface IT { void f(); }", kOneway},
             {"@VintfStability interface IT { void f(); }", kStable},
         }) {
        Outcome outcome = runInMemory({{"a/IT.aidl", "package a; " + text}},
                                      {"--lang=ndk", "-I.", "-osrc", "-hinclude", "a/IT.aidl"});
        std::string found;
        for (const char* mark : {kOneway, kStable}) {
            if (outcome.files["src/a/IT.cpp"].find(mark) != std::string::npos) found += mark;
        }
        EXPECT_EQ(marks, found) << text;
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
    EXPECT_EQ(runInMemory({{"old/a/A.aidl", "package a; parcelable A { }"},
                           {"new/a/B.aidl", "package a; parcelable B { }"}},
                          {"--checkapi=equal", "old", "new"})
                  .errors,
              (std::vector<std::string>{"new/a/B.aidl:1:23: error: 'a.B' is missing from old",
                                        "old/a/A.aidl:1:23: error: 'a.A' is missing from new"}));
    EXPECT_FALSE(runInMemory({}, {"--checkapi=equal", "none", "none"}).errors.empty());
    EXPECT_FALSE(compare("parcelable T { ", "parcelable T { ").empty());
}

}  // namespace
}  // namespace aidlc
