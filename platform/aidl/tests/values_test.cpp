// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "compile.h"

namespace aidlc {
namespace {

const struct {
    std::string type;
    std::string expression;
    std::string value;
} kCases[] = {
    // Precedence and direction.
    {"int", "1 + 2 * 3", "7"},
    {"int", "(1 + 2) * 3", "9"},
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
    {"byte", "0xffu8", "-1"},
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
    {"String", "\"it's\"", "\"it's\""},
    {"float", "-.25", "-0.25f"},
    {"double", "1e3", "1000.0"},
    {"double", "-0.1", "-0.10000000000000001"},
};

TEST(ValuesTest, ExpressionHasItsValue) {
    for (const auto& [type, expression, value] : kCases) {
        Outcome outcome = dump(
            {{"a/T.aidl", "package a; parcelable T { const int NINE = 9; const " + type +
                              " X = " + expression + "; }"},
             {"a/E.aidl", "package a; @Backing(type=\"long\") enum E { A = 5, B, C = A | 8 }"}});
        EXPECT_THAT(outcome.errors, testing::IsEmpty()) << expression;
        EXPECT_THAT(outcome.files["api/a/T.aidl"],
                    testing::HasSubstr("const " + type + " X = " + value + ";\n"))
            << expression;
    }
}

}  // namespace
}  // namespace aidlc
