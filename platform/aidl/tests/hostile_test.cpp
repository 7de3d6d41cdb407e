// SPDX-License-Identifier: Apache-2.0
// Input that aims at the compiler itself: it ends with an error, not with a crash or without end.
#include <gtest/gtest.h>

#include <string>

#include "compile.h"

namespace aidlc {
namespace {

std::string repeated(const std::string& text, size_t count) {
    std::string result;
    for (size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

TEST(HostileTest, DeepNestingIsRefused) {
    const std::string before = "package a; parcelable T { const int X = ";
    for (const std::string& value :
         {repeated("(", 50000) + "1" + repeated(")", 50000), repeated("-", 50000) + "1",
          "1" + repeated("+1", 50000), repeated("{", 50000), repeated("1<<(", 20000)}) {
        const Outcome outcome = generate({{"a/T.aidl", before + value + "; }"}});
        ASSERT_FALSE(outcome.errors.empty());
        EXPECT_NE(outcome.errors[0].find("nested more than 100 deep"), std::string::npos)
            << outcome.errors[0];
    }
    const Outcome lists =
        generate({{"a/T.aidl", "package a; parcelable T { " + repeated("List<", 50000) + " x; }"}});
    ASSERT_FALSE(lists.errors.empty());
    EXPECT_NE(lists.errors[0].find("nested too deep"), std::string::npos);
}

TEST(HostileTest, DepthAtTheLimitIsAccepted) {
    const std::string before = "package a; parcelable T { const int X = ";
    EXPECT_TRUE(generate({{"a/T.aidl", before + "1" + repeated("+1", 99) + "; }"}}).errors.empty());
    EXPECT_EQ(generate({{"a/T.aidl", before + "1" + repeated("+1", 100) + "; }"}}).errors.size(),
              1u);
}

TEST(HostileTest, LongChainsOfConstantsEnd) {
    std::string backwards = "package a; parcelable T { const int C0 = 1;";
    std::string forwards = "package a; parcelable T {";
    std::string texts = "package a; parcelable T { const String C0 = \"0123456789abcdef\";";
    for (int i = 1; i < 3000; ++i) {
        const std::string self = std::to_string(i);
        const std::string other = std::to_string(i - 1);
        backwards += "const int C" + self + " = C" + other + ";";
        forwards += "const int C" + other + " = C" + self + ";";
        texts += "const String C" + self + " = C" + other + " + C" + other + ";";
    }
    EXPECT_TRUE(generate({{"a/T.aidl", backwards + "}"}}).errors.empty());
    const Outcome chain = generate({{"a/T.aidl", forwards + "const int C2999 = 1; }"}});
    ASSERT_FALSE(chain.errors.empty());
    EXPECT_NE(chain.errors[0].find("goes through more than 64 other constants"), std::string::npos);
    const Outcome grown = generate({{"a/T.aidl", texts + "}"}});
    ASSERT_FALSE(grown.errors.empty());
    EXPECT_NE(grown.errors[0].find("more than 4096 characters"), std::string::npos);
}

TEST(HostileTest, ImportCircleIsHarmless) {
    const Outcome outcome = generate(
        {{"a/IA.aidl", "package a; import a.IB; import a.IA; interface IA { void f(IB b); }"},
         {"a/IB.aidl", "package a; import a.IA; interface IB { IA g(); }"}});
    EXPECT_TRUE(outcome.errors.empty()) << outcome.errors[0];
}

TEST(HostileTest, ConstantsInCirclesAcrossFilesEnd) {
    const Outcome outcome =
        generate({{"a/A.aidl", "package a; enum A { X = B.X }"},
                  {"a/B.aidl", "package a; enum B { X = C.X }"},
                  {"a/C.aidl", "package a; parcelable C { const int X = A.X; }"}});
    EXPECT_FALSE(outcome.errors.empty());
}

TEST(HostileTest, ErrorsAreBounded) {
    const Outcome outcome = generate({{"a/T.aidl", "package a; " + repeated("# ", 10000)}});
    EXPECT_EQ(outcome.errors.size(), Diagnostics::kMaxErrors + 1);
    EXPECT_NE(outcome.errors.back().find("too many errors"), std::string::npos);
}

TEST(HostileTest, AnyBeginningOfAFileEndsWithAnError) {
    const std::string text =
        "/** doc */ @VintfStability @Backing(type=\"int\") package a; import a.T; "
        "@nullable parcelable T { const int A = (1 << 2) + 0x1fL; @nullable byte[A] x = {1, 2}; "
        "List<String> l; char c = 'c'; float f = 1.5e+3f; }";
    for (size_t length = 0; length < text.size(); ++length) {
        const Outcome outcome = generate({{"a/T.aidl", text.substr(0, length)}});
        EXPECT_FALSE(outcome.errors.empty()) << length;
        EXPECT_TRUE(outcome.files.empty()) << length;
    }
}

TEST(HostileTest, AnyByteAnywhereIsSurvived) {
    const std::string text =
        "package a; @Backing(type=\"int\") enum T { /** x */ A = -1, B = (A + 2) * 'c', }";
    for (size_t at = 0; at < text.size(); ++at) {
        for (const unsigned char byte : {0x00, 0x01, 0x0a, 0x22, 0x27, 0x28, 0x2a, 0x2f, 0x40, 0x5c,
                                         0x7b, 0x7d, 0x7f, 0x80, 0xff}) {
            std::string changed = text;
            changed[at] = static_cast<char>(byte);
            generate({{"a/T.aidl", changed}});
        }
    }
}

}  // namespace
}  // namespace aidlc
