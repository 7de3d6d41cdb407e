// SPDX-License-Identifier: Apache-2.0
// Input that aims at the compiler itself: it ends with an error, not with a crash or without end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

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

TEST(HostileTest, DeepOrLongInputEnds) {
    const size_t deep = 50000;
    std::string backwards = "const int C0 = 1;";
    std::string forwards = "const int C2999 = 1;";
    for (int i = 1; i < 3000; ++i) {
        const std::string self = std::to_string(i);
        const std::string other = std::to_string(i - 1);
        backwards += "const int C" + self + " = C" + other + ";";
        forwards += "const int C" + other + " = C" + self + ";";
    }
    const std::pair<std::string, const char*> kMembers[] = {
        {"int x = " + repeated("(", deep), "nested more than 100 deep"},
        {"int x = " + repeated("-", deep), "nested more than 100 deep"},
        {"int x = " + repeated("{", deep), "nested more than 100 deep"},
        {"int x = " + repeated("1<<(", deep), "nested more than 100 deep"},
        {"int x = 1" + repeated("+1", deep), "nested more than 100 deep"},
        {"int x = 1" + repeated("+1", 100) + ";", "nested more than 100 deep"},
        {"int x = 1" + repeated("+1", 99) + ";", ""},
        {repeated("List<", deep), "a list of lists"},
        {backwards, ""},
        {forwards, "goes through more than 64 other constants"},
        {repeated("void x;", 10000), "void is only the result"},
    };
    for (const auto& [members, error] : kMembers) {
        const std::string text = "package a; parcelable T { " + members + " }";
        const std::vector<std::string> errors = generate({{"a/T.aidl", text}}).errors;
        EXPECT_LE(errors.size(), Diagnostics::kMaxErrors + 1);
        EXPECT_THAT(errors.empty() ? "" : errors[0], HasSubstr(error)) << members.substr(0, 30);
        EXPECT_EQ(errors.empty(), *error == '\0') << members.substr(0, 30);
    }
}

TEST(HostileTest, CirclesAcrossFilesEnd) {
    const Outcome imports = generate(
        {{"a/IA.aidl", "package a; import a.IB; import a.IA; interface IA { void f(IB b); }"},
         {"a/IB.aidl", "package a; import a.IA; interface IB { IA g(); }"}});
    EXPECT_THAT(imports.errors, testing::IsEmpty());
    const Outcome constants = generate({{"a/A.aidl", "package a; enum A { X = B.X }"},
                                        {"a/B.aidl", "package a; enum B { X = A.X }"}});
    EXPECT_THAT(constants.errors, testing::ElementsAre(HasSubstr("'A.X' is not known yet")));
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
