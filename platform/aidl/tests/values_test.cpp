// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "compile.h"

namespace aidlc {
namespace {

// What the dump shows for `const TYPE X = EXPRESSION;`.
std::string valueOf(const std::string& type, const std::string& expression) {
    const Outcome outcome =
        dump({{"a/T.aidl", "package a; parcelable T { const int NINE = 9; const " + type +
                               " X = " + expression + "; }"},
              {"a/E.aidl", "package a; @Backing(type=\"long\") enum E { A = 5, B, C = A | 8 }"}});
    const auto dumped = outcome.files.find("api/a/T.aidl");
    if (dumped == outcome.files.end()) {
        return outcome.errors.empty() ? "nothing" : outcome.errors[0];
    }
    const std::string start = "const " + type + " X = ";
    const size_t from = dumped->second.find(start) + start.size();
    return dumped->second.substr(from, dumped->second.find(";\n", from) - from);
}

TEST(ValuesTest, IntegerExpressionFollowsPrecedenceAndWidth) {
    const std::pair<const char*, const char*> kInts[] = {{"1 + 2 * 3", "7"},
                                                         {"(1 + 2) * 3", "9"},
                                                         {"10 - 3 - 2", "5"},
                                                         {"-7 / 2", "-3"},
                                                         {"-7 % 3", "-1"},
                                                         {"1 << 2 + 1", "8"},
                                                         {"-8 >> 1", "-4"},
                                                         {"1 | 6 & 3 ^ 8", "11"},
                                                         {"~0", "-1"},
                                                         {"0xffffffff", "-1"},
                                                         {"-1 << 31", "-2147483648"},
                                                         {"NINE * T.NINE", "81"},
                                                         {"- -5", "5"},
                                                         {"a.E.B + E.C", "19"}};
    for (const auto& [expression, value] : kInts) {
        EXPECT_EQ(valueOf("int", expression), value) << expression;
    }
    // As wide as the wider side.
    const std::pair<const char*, const char*> kLongs[] = {
        {"2147483647L + 1", "2147483648"},
        {"2147483648", "2147483648"},
        {"0xffffffffL", "4294967295"},
        {"0x100000000", "4294967296"},
        {"-9223372036854775807 - 1", "0x8000000000000000"},
        {"E.A << 40", "5497558138880"}};
    for (const auto& [expression, value] : kLongs) {
        EXPECT_EQ(valueOf("long", expression), value) << expression;
    }
}

TEST(ValuesTest, OtherTypesKeepTheirKind) {
    const struct {
        const char* type;
        const char* expression;
        const char* value;
    } kCases[] = {
        {"boolean", "1 < 2 && !(3 <= 2) || false", "true"},
        {"boolean", "'a' < 'b' == (\"a\" == \"a\")", "true"},
        {"boolean", "1.5 > 2.5", "false"},
        {"boolean", "E.A == 5", "true"},
        {"byte", "0xffu8", "-1"},
        {"char", "'\"'", "'\"'"},
        {"String", "\"a\" + \"b\" + \"'\"", "\"ab'\""},
        {"float", "-.25", "-0.25f"},
        {"double", "1e3", "1000.0"},
        {"double", "-0.1", "-0.10000000000000001"},
    };
    for (const auto& [type, expression, value] : kCases) {
        EXPECT_EQ(valueOf(type, expression), value) << expression;
    }
}

}  // namespace
}  // namespace aidlc
