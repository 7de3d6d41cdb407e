// SPDX-License-Identifier: Apache-2.0
// Input that aims at the compiler itself: it ends with an error, not with a crash or without end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "compile.h"

namespace aidlc {
namespace {

using ::testing::HasSubstr;

std::string repeated(const std::string& text, size_t count) {
    std::string result;
    for (size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

// The first error of a record with these members; empty when there is none.
std::string errorOf(const std::string& members) {
    const Outcome outcome = generate({{"a/T.aidl", "package a; parcelable T { " + members + " }"}});
    return outcome.errors.empty() ? "" : outcome.errors[0];
}

TEST(HostileTest, DeepNestingIsRefused) {
    const size_t deep = 50000;
    for (const std::string& value :
         {repeated("(", deep), repeated("-", deep), repeated("{", deep), repeated("1<<(", deep),
          "1" + repeated("+1", 100), "1" + repeated("+1", deep)}) {
        EXPECT_THAT(errorOf("const int X = " + value + ";"),
                    HasSubstr("nested more than 100 deep"));
    }
    EXPECT_EQ(errorOf("const int X = 1" + repeated("+1", 99) + ";"), "");
    EXPECT_THAT(errorOf(repeated("List<", deep) + " x;"), HasSubstr("a list of lists"));
}

TEST(HostileTest, LongChainsOfConstantsEnd) {
    std::string backwards = "const int C0 = 1;";
    std::string forwards = "const int C2999 = 1;";
    for (int i = 1; i < 3000; ++i) {
        const std::string self = std::to_string(i);
        const std::string other = std::to_string(i - 1);
        backwards += "const int C" + self + " = C" + other + ";";
        forwards += "const int C" + other + " = C" + self + ";";
    }
    EXPECT_EQ(errorOf(backwards), "");
    EXPECT_THAT(errorOf(forwards), HasSubstr("goes through more than 64 other constants"));
}

TEST(HostileTest, CirclesAcrossFilesEnd) {
    const Outcome imports = generate(
        {{"a/IA.aidl", "package a; import a.IB; import a.IA; interface IA { void f(IB b); }"},
         {"a/IB.aidl", "package a; import a.IA; interface IB { IA g(); }"}});
    EXPECT_TRUE(imports.errors.empty()) << imports.errors[0];
    const Outcome constants = generate({{"a/A.aidl", "package a; enum A { X = B.X }"},
                                        {"a/B.aidl", "package a; enum B { X = A.X }"}});
    EXPECT_THAT(constants.errors, testing::ElementsAre(HasSubstr("'A.X' is not known yet")));
}

TEST(HostileTest, ErrorsAreBounded) {
    EXPECT_THAT(
        generate({{"a/T.aidl", "package a; enum T { " + repeated("X, ", 10000) + "}"}}).errors,
        testing::AllOf(testing::SizeIs(Diagnostics::kMaxErrors + 1),
                       testing::Contains(HasSubstr("too many errors"))));
}

TEST(HostileTest, AnyBeginningOfAFileEndsWithAnError) {
    const std::string text =
        "package a; import a.T; /** doc */ @VintfStability @JavaDerive(toString=true) "
        "parcelable T { const int A = (1 << 2) + 0x1fL; @nullable byte[A] x = {1, 2}; "
        "List<String> l; char c = 'c'; float f = 1.5e+3f; }";
    for (size_t length = 0; length < text.size(); ++length) {
        const Outcome outcome = generate({{"a/T.aidl", text.substr(0, length)}});
        EXPECT_FALSE(outcome.errors.empty()) << length;
        EXPECT_TRUE(outcome.files.empty()) << length;
    }
}

}  // namespace
}  // namespace aidlc
