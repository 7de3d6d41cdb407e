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
              {"a/E.aidl", "package a; @Backing(type=\"long\") enum E { A = 5, B, C = A | 8 }"},
              {"b/IK.aidl", "package b; interface IK { const String S = \"s\"; }"}});
    const auto dumped = outcome.files.find("api/a/T.aidl");
    if (dumped == outcome.files.end()) {
        return outcome.errors.empty() ? "nothing" : outcome.errors[0];
    }
    const std::string start = "const " + type + " X = ";
    const size_t from = dumped->second.find(start) + start.size();
    return dumped->second.substr(from, dumped->second.find(";\n", from) - from);
}

TEST(ValuesTest, IntegerExpressionFollowsPrecedenceAndWidth) {
    const std::pair<const char*, const char*> kCases[] = {
        {"1 + 2 * 3", "7"},
        {"(1 + 2) * 3", "9"},
        {"10 - 3 - 2", "5"},
        {"-7 / 2", "-3"},
        {"-7 % 3", "-1"},
        {"1 << 2 + 1", "8"},
        {"-8 >> 1", "-4"},
        {"1 | 6 & 3 ^ 8", "11"},
        {"~0", "-1"},
        {"- -5", "5"},
        {"+5", "5"},
        {"-2147483648", "-2147483648"},
        {"0xffffffff", "-1"},
        {"0x7fffffff", "2147483647"},
        {"1 << 30", "1073741824"},
        {"-1 << 31", "-2147483648"},
        {"NINE * T.NINE", "81"},
        {"a.T.NINE", "9"},
        {"E.B + E.C", "19"},
        {"a.E.B", "6"},
    };
    for (const auto& [expression, value] : kCases) {
        EXPECT_EQ(valueOf("int", expression), value) << expression;
    }
}

TEST(ValuesTest, LongIsAsWideAsItsWiderSide) {
    const std::pair<const char*, const char*> kCases[] = {
        {"2147483647L + 1", "2147483648"},
        {"2147483648", "2147483648"},
        {"0xffffffffL", "4294967295"},
        {"0x100000000", "4294967296"},
        {"1L << 62", "4611686018427387904"},
        {"0x8000000000000000", "0x8000000000000000"},
        {"-9223372036854775807 - 1", "0x8000000000000000"},
        {"9223372036854775807", "9223372036854775807"},
        {"E.A << 40", "5497558138880"},
    };
    for (const auto& [expression, value] : kCases) {
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
        {"boolean", "true == false", "false"},
        {"boolean", "'a' < 'b'", "true"},
        {"boolean", "\"a\" == \"a\"", "true"},
        {"boolean", "1.5 > 2.5", "false"},
        {"boolean", "E.A == 5", "true"},
        {"byte", "0xffu8", "-1"},
        {"byte", "-128", "-128"},
        {"char", "'\"'", "'\"'"},
        {"String", "\"a\" + \"b\" + \"'\"", "\"ab'\""},
        {"float", "1.5f", "1.5f"},
        {"float", "-.25", "-0.25f"},
        {"double", "1e3", "1000.0"},
        {"double", "-0.1", "-0.10000000000000001"},
    };
    for (const auto& testCase : kCases) {
        EXPECT_EQ(valueOf(testCase.type, testCase.expression), testCase.value)
            << testCase.expression;
    }
}

TEST(ValuesTest, EnumDefaultIsTheFieldsOwnEnumConstant) {
    const Outcome outcome =
        generate({{"a/First.aidl", "package a; enum First { AUTO, SAME = 3 }"},
                  {"a/Second.aidl", "package a; enum Second { SAME, AUTO = 3 }"},
                  {"b/First.aidl", "package b; enum First { AUTO = 9 }"},
                  {"a/T.aidl",
                   "package a; parcelable T { First f = First.AUTO; Second s = "
                   "a.Second.AUTO; b.First o = b.First.AUTO; Second[] l = {Second.SAME}; }"}});
    ASSERT_TRUE(outcome.errors.empty()) << outcome.errors[0];
    const std::string& header = outcome.files.at("include/aidl/a/T.h");
    for (const char* line :
         {"::aidl::a::First f = ::aidl::a::First::AUTO;",
          "::aidl::a::Second s = ::aidl::a::Second::AUTO;",
          "::aidl::b::First o = ::aidl::b::First::AUTO;", "l = {::aidl::a::Second::SAME};"}) {
        EXPECT_NE(header.find(line), std::string::npos) << line << "\n" << header;
    }
}

}  // namespace
}  // namespace aidlc
