// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compile.h"

namespace aidlc {
namespace {

const std::map<std::string, std::string> kInterface = {
    {"a/IFan.aidl",
     "package a; import b.Rec; /** Doc. */ @VintfStability interface IFan {\n"
     "const int MAX = 1 << 3; Rec set(in byte index, in Rec[] data);\n"
     "oneway void tell(in @nullable IFan other); @nullable List<String> names(); }"},
    {"b/Rec.aidl",
     "package b; import a.Mode; @JavaDerive(toString=true) @VintfStability parcelable Rec {\n"
     "Mode mode = Mode.ON; byte[2 + 2] key; int x = Rec.N; const int N = 2; String s; }"},
    {"a/Mode.aidl",
     "package a; @VintfStability @Backing(type=\"int\") enum Mode { OFF = -1, ON, }"},
    {"a/U.aidl", "package a; @VintfStability union U { long l = 5; boolean b; }"},
};

// Without the banner.
std::string bodyOf(const std::string& text) {
    return text.substr(text.find("package "));
}

TEST(ApiTest, DumpHasFullNamesAndComputedValues) {
    const Outcome outcome = dump(kInterface);
    ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    EXPECT_EQ(bodyOf(outcome.files.at("api/a/IFan.aidl")),
              "package a;\n"
              "@VintfStability\n"
              "interface IFan {\n"
              "  b.Rec set(in byte index, in b.Rec[] data);\n"
              "  oneway void tell(in @nullable a.IFan other);\n"
              "  @nullable List<String> names();\n"
              "  const int MAX = 8;\n"
              "}\n");
    EXPECT_EQ(bodyOf(outcome.files.at("api/b/Rec.aidl")),
              "package b;\n"
              "@JavaDerive(toString=true) @VintfStability\n"
              "parcelable Rec {\n"
              "  a.Mode mode = a.Mode.ON;\n"
              "  byte[4] key;\n"
              "  int x = 2;\n"
              "  String s;\n"
              "  const int N = 2;\n"
              "}\n");
    EXPECT_EQ(bodyOf(outcome.files.at("api/a/Mode.aidl")),
              "package a;\n"
              "@Backing(type=\"int\") @VintfStability\n"
              "enum Mode {\n"
              "  OFF = -1,\n"
              "  ON = 0,\n"
              "}\n");
    EXPECT_EQ(bodyOf(outcome.files.at("api/a/U.aidl")),
              "package a;\n"
              "@VintfStability\n"
              "union U {\n"
              "  long l = 5;\n"
              "  boolean b;\n"
              "}\n");
}

TEST(ApiTest, DumpOfADumpIsTheSame) {
    const Outcome first = dump(kInterface);
    std::map<std::string, std::string> again;
    std::vector<std::string> arguments = {"--dumpapi", "--stability=vintf", "-Iapi",
                                          "--out=second"};
    for (const auto& [path, text] : first.files) {
        arguments.push_back(path);
    }
    const Outcome second = runInMemory(first.files, arguments);
    ASSERT_TRUE(second.errors.empty()) << second.errors[0];
    for (const auto& [path, text] : first.files) {
        EXPECT_EQ(second.files.at("second/" + path.substr(4)), text);
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

TEST(ApiTest, SameApiInOtherWordsIsEqual) {
    EXPECT_TRUE(
        compare("parcelable T { int x = 4; /** Doc. */ const int A = 3; T.N y; }", "").size());
    EXPECT_EQ(compare("parcelable T { int x = 4; const int A = 3; }",
                      "/** Other. */ parcelable T { const int A = 1 + 2;\n int x = A + 1; }"),
              std::vector<std::string>());
    EXPECT_EQ(compare("@VintfStability @Backing(type=\"byte\") enum T { A, B }",
                      "@Backing(type=\"byte\") @VintfStability enum T { A = 0, B = 0x1 }"),
              std::vector<std::string>());
    EXPECT_EQ(compare("oneway interface IT { void f(); }", "interface IT { oneway void f(); }"),
              std::vector<std::string>());
}

TEST(ApiTest, EachDifferenceIsNamedAtItsPlace) {
    const struct {
        const char* before;
        const char* after;
        std::vector<std::string> errors;
    } kCases[] = {
        {"parcelable T { int x; }",
         "parcelable T { long x; }",
         {"new/a/T.aidl:2:21: error: this is 'long x;', but 'int x;' in old/a/T.aidl:2"}},
        {"parcelable T { int x = 1; }",
         "parcelable T { int x; }",
         {"new/a/T.aidl:2:20: error: this is 'int x;', but 'int x = 1;' in old/a/T.aidl:2"}},
        {"parcelable T { int x; }",
         "parcelable T { int x; int y; }",
         {"new/a/T.aidl:2:27: error: 'y' is new: a.T in old/a/T.aidl has none"}},
        {"parcelable T { int x; int y; }",
         "parcelable T { int y; }",
         {"old/a/T.aidl:2:20: error: 'x' is missing from new/a/T.aidl"}},
        {"parcelable T { int x; int y; }",
         "parcelable T { int y; int x; }",
         {"new/a/T.aidl:2:20: error: 'y' stands where old/a/T.aidl:2 has 'x'"}},
        {"parcelable T { }",
         "@VintfStability parcelable T { }",
         {"new/a/T.aidl:2:28: error: this is '@VintfStability parcelable T', but 'parcelable T' in "
          "old/a/T.aidl:2"}},
        {"enum T { A, B }",
         "enum T { A, B = 3 }",
         {"new/a/T.aidl:2:13: error: this is 'B = 3,', but 'B = 1,' in old/a/T.aidl:2"}},
        {"interface IT { void f(in int x); }",
         "interface IT { void f(int x); }",
         {"new/a/IT.aidl:2:21: error: this is 'void f(int x);', but 'void f(in int x);' in "
          "old/a/IT.aidl:2"}},
        {"oneway interface IT { void f(); }",
         "interface IT { void f(); }",
         {"new/a/IT.aidl:2:21: error: this is 'void f();', but 'oneway void f();' in "
          "old/a/IT.aidl:2"}},
        {"parcelable T { int a; }",
         "union T { int a; }",
         {"new/a/T.aidl:2:7: error: this is 'union T', but 'parcelable T' in old/a/T.aidl:2"}},
    };
    for (const auto& testCase : kCases) {
        EXPECT_EQ(compare(testCase.before, testCase.after), testCase.errors);
    }
}

TEST(ApiTest, TypeThatComesOrGoesIsNamed) {
    const Outcome outcome = runInMemory({{"old/a/A.aidl", "package a; parcelable A { }"},
                                         {"new/a/B.aidl", "package a; parcelable B { }"}},
                                        {"--checkapi=equal", "old", "new"});
    EXPECT_EQ(outcome.errors, (std::vector<std::string>{
                                  "new/a/B.aidl:1:23: error: 'a.B' is new: old has no such type",
                                  "old/a/A.aidl:1:23: error: 'a.A' is missing from new"}));
}

TEST(ApiTest, EmptyOrBrokenDumpIsNotEqual) {
    EXPECT_FALSE(runInMemory({{"new/a/B.aidl", "package a; parcelable B { }"}},
                             {"--checkapi=equal", "old", "new"})
                     .errors.empty());
    EXPECT_FALSE(compare("parcelable T { ", "parcelable T { ").empty());
}

}  // namespace
}  // namespace aidlc
