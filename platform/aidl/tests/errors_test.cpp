// SPDX-License-Identifier: Apache-2.0
// Each mistake gives its error, at its place, and nothing else. The messages are the users' only
// help, so their beginnings are held here too.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "compile.h"

namespace aidlc {
namespace {

struct Case {
    const char* text;
    // "line:column: beginning of the message", behind "file:" when it is about another file.
    std::vector<std::string> errors;
};

// Beside the file under test.
const std::map<std::string, std::string> kOthers = {
    {"a/Color.aidl", "package a; enum Color { RED, GREEN }"},
    {"a/Shade.aidl", "package a; enum Shade { DARK, RED }"},
    {"a/Rec.aidl", "package a; parcelable Rec { int x; }"},
    {"a/Stable.aidl", "package a; @VintfStability parcelable Stable { int x; }"},
    {"b/Deep.aidl", "package b; parcelable Deep { const int N = 4; }"},
    {"b/Broken.aidl", "package b; parcelable Broken { int }"},
    {"b/Circle.aidl", "package b; import a.T; enum Circle { X = T.X }"},
};

Outcome compile(const std::string& path, const std::string& text) {
    auto files = kOthers;
    files[path] = text;
    return runInMemory(
        files, {"--lang=ndk", "--version=1", "--hash=0", "-I.", "-osrc", "-hinclude", path});
}

void expectErrors(const std::string& path, const std::string& text,
                  const std::vector<std::string>& wanted) {
    const Outcome outcome = compile(path, text);
    EXPECT_TRUE(outcome.files.empty()) << text;
    ASSERT_EQ(outcome.errors.size(), wanted.size())
        << text << testing::PrintToString(outcome.errors);
    for (size_t i = 0; i < wanted.size(); ++i) {
        std::string error = outcome.errors[i];
        error.erase(error.find("error: "), strlen("error: "));
        const bool namesFile = wanted[i].starts_with("b/");
        EXPECT_THAT(error, testing::StartsWith((namesFile ? "" : path + ':') + wanted[i])) << text;
    }
}

// The whole of a/T.aidl.
const Case kFiles[] = {
    {"", {"1:1: expected 'package NAME;' first, found the end"}},
    {"package a;", {"1:11: expected an interface, a parcelable"}},
    {"package a; # parcelable T { }", {"1:12: '#' has no meaning here"}},
    {"package a; parcelable T { } parcelable U { }", {"1:29: expected the end of the file"}},
    {"package a; parcelable T;", {"1:23: 'T' is declared without fields"}},
    {"package a; parcelable T<X> { }", {"1:24: generic types are not supported"}},
    {"package a; oneway enum T { A }", {"1:24: only an interface or a method can be oneway"}},
    {"package c; parcelable T { }", {"1:23: 'c.T' must be declared in a file called c/T.aidl"}},
    {"package a; import b.Nope; parcelable T { }",
     {"1:19: there is no b/Nope.aidl in the -I folders"}},
    {"package a; import b.Broken; parcelable T { Broken x; Other y; }",
     {"b/Broken.aidl:1:36: expected a name after the type"}},
    {"package a; parcelable T { int x; /* ", {"1:34: this comment has no end"}},
    {"package a; parcelable T { int x;", {"1:33: expected '}', found the end of the file"}},
    {"package a; @VintfStability parcelable T { Rec x; Stable y; }",
     {"1:43: 'a.Rec' is not marked"}},
    {"package a; interface T { }", {"1:22: the name of an interface begins with I"}},
    {"package a; @Backing(type=\"char\") enum T { A }", {"1:12: write @Backing(type=\"byte\")"}},
    {"package a; @FixedSize @nullable @VintfStability @VintfStability @Backing(type=\"int\") "
     "parcelable T { @Backing(type=\"int\") int x; @nullable(heap=true) Stable y; }",
     {"1:12: '@FixedSize' is not supported", "1:23: '@nullable' has no meaning here",
      "1:49: '@VintfStability' stands here twice", "1:97: only an enum has a @Backing type",
      "1:101: '@Backing' has no meaning here", "1:129: '@nullable' takes no parameters"}},
    {"package a; union T { }", {"1:18: the union 'T' has no members"}},
    {"package a; union T { int x = 1; int y = 2; }", {"1:41: only the first member of a union"}},
    {"package a; union T { int get; int Tag; }",
     {"1:26: 'get' is a member", "1:35: 'Tag' is a member"}},
    {"package a; enum T { }", {"1:17: the enum 'T' has no values"}},
    {"package a; enum T { A, B, A }", {"1:27: 'A' is declared in line 1"}},
    {"package a; enum T { A = B, B = 1 }", {"1:25: the value of 'B' is not known yet"}},
    {"package a; import b.Circle; enum T { X = Circle.X }",
     {"b/Circle.aidl:1:42: the value of 'T.X' is not known"}},
    {"package a; enum T { A = 127, B, C = -129, D = \"x\" }",
     {"1:30: 'B' of the enum 'T' does not fit", "1:37: 'C' of the enum 'T' must be",
      "1:47: 'D' of the enum 'T' must be an integer from -128 to 127, not a S"}},
};

// What is in a record of package a, from the second line on.
const Case kFields[] = {
    {"String x = \"abc\n;", {"2:16: this quote has no end"}},
    {"String x = \"a\\n\";", {"2:14: '\\' cannot stand between quotes"}},
    {"char x = 'ab';", {"2:10: a character constant holds exactly one"}},
    {"int x int y;", {"2:7: expected ';', found 'int'"}},
    {"enum E { A } int x;", {"2:1: a type inside a type is not supported"}},
    {"int[2][3] x;", {"2:7: arrays of arrays are not supported"}},
    {"List x;", {"2:1: say what is in the list"}},
    {"List<List<Rec>> x;", {"2:6: a list of lists or arrays is not supported"}},
    {"Rec<int> x;", {"2:1: only List takes a type in < >"}},
    {"const int A;", {"2:11: a constant needs a value"}},
    {"const boolean A = 1 == 1;", {"2:21: the operator '==' is not supported"}},
    {"int x = = 1;", {"2:9: expected a value, found '='"}},
    {"Nope x; Map z; Deep d;",
     {"2:1: there is no type 'Nope'", "2:9: the type 'Map' is", "2:16: there is no type 'Deep'"}},
    {"void x; List<int> y; List<Rec>[] z;",
     {"2:1: void is only the result", "2:14: a list cannot hold int", "2:22: an array of lists"}},
    {"const Rec R = 1; const int[] A = {1};",
     {"2:7: a constant cannot", "2:24: a constant cannot be of type int[]"}},
    {"@nullable int x; @nullable Color y;", {"2:11: 'int' cannot be", "2:28: 'Color' cannot be"}},
    {"int[0] x; int[-1] y; byte[1048577] z; int[true] u;",
     {"2:5: the size of an array must be", "2:15: the size of", "2:27: the size of",
      "2:43: the size of an array must be an integer from 1 to 1048576, not a b"}},
    {"int y; T[] x;", {"1:23: 'T' contains itself"}},
    {"int class; int xor_eq; int NULL; int readFromParcel; int _x; int a__b; int T;",
     {"2:5: 'class' is a word of the C++ language", "2:16: 'xor_eq' is a word",
      "2:28: 'NULL' is a macro", "2:38: 'readFromParcel' is a member", "2:58: '_x' is reserved",
      "2:66: 'a__b' is reserved", "2:76: a field cannot have the name"}},
    {"const int A = 1; int A; int b; int b;",
     {"2:22: 'A' is declared in line 2", "2:36: 'b' is declared"}},
    {"int x = \"1\"; boolean b = 1; String s = 1; char c = 0; float f = 1; int[] a = 1;\n"
     "byte y = 'a'; Rec r = 1; float g = 1e39;",
     {"2:9: a value of int must be an integer", "2:26: a value of boolean must",
      "2:40: a value of String", "2:52: a value of char", "2:65: a value of float",
      "2:78: a value of int[]", "3:10: a value of byte", "3:23: a value of a.Rec",
      "3:36: this number is too large"}},
    {"byte x = 128; int y = 2147483648; byte[1] z = {-129};",
     {"2:10: 128 does not fit byte", "2:23: 2147483648 does not fit int",
      "2:48: -129 does not fit byte"}},
    {"int[2] x = {1}; int[2] y = {1, 2, 3};", {"2:12: int[2] needs 2", "2:28: int[2] needs 2"}},
    {"Color x = Shade.RED; Color y = RED; Color z = 0; int n = Color.BLUE;",
     {"2:11: a value of a.Color must be one", "2:32: 'T' has no constant or value",
      "2:47: a value of a.Color must", "2:58: 'Color' has no constant"}},
    {"const int A = 2147483647 + 1; const int B = 1 << 31; const int C = 1 << 32L;\n"
     "const long D = 0x7fffffffffffffff + 1; const int E = -2147483648 / -1;\n"
     "const int F = 1 % 0; const int G = 65536 * 65536; const int H = 1 >> -1;\n"
     "const long I = 0x8000000000000000 / -1; const long J = -0x8000000000000000;\n"
     "const int K = 1L << 63; const int L = 1 + \"a\"; const int M = ~1.5;",
     {"2:26: the result does not fit an int", "2:47: the result", "2:70: the width of this shift",
      "3:35: the result", "3:66: 2147483648 does not fit int", "4:17: division by zero",
      "4:42: the result", "4:67: the width", "5:35: the result", "5:56: the negative of this",
      "6:18: the result", "6:41: '+' needs integers", "6:62: '~' cannot be applied"}},
    {"int a = 012; int b = 0x; int c = 12abc; byte d = 256u8; long e = 99999999999999999999;\n"
     "double f = 1e999; double g = 1f2;",
     {"2:9: '012' begins with 0", "2:22: '0x' is not", "2:34: '12abc' is not a number",
      "2:50: '256u8' does not fit 8 bits", "2:66: '99999999999999999999' does",
      "3:12: '1e999' is not", "3:30: '1f2' is not"}},
    {"const int A = B; const int B = A;", {"2:11: the value of 'A' depends on itself"}},
    {"int x = N; int y = Nope.N; int z = b.Deep.M;",
     {"2:9: 'T' has no", "2:20: there is no type 'Nope'", "2:36: 'Deep' has no constant"}},
};

// What is in an interface of package a, from the second line on.
const Case kMethods[] = {
    {"void f() = 1;", {"2:10: ids of methods are not supported"}},
    {"void asBinder(); @nullable void f();",
     {"2:6: 'asBinder' is a member", "2:18: void takes no annotation"}},
    {"oneway int f(); oneway void g(out Rec r);",
     {"2:8: the oneway method 'f'", "2:39: the oneway method 'g'"}},
    {"void f(Rec r, int[] a, out int b, inout String s);",
     {"2:12: say in which", "2:21: say in which", "2:32: int 'b' cannot be out",
      "2:48: String 's' cannot be out"}},
    {"void f(int x, int x); void f();",
     {"2:19: there is an argument 'x'", "2:28: 'f' is declared in line 2"}},
};

TEST(ErrorsTest, MistakeIsReportedAtItsPlaceAndNothingIsWritten) {
    for (const Case& item : kFiles) {
        expectErrors("a/T.aidl", item.text, item.errors);
    }
    for (const Case& item : kFields) {
        const std::string text = std::string("package a; parcelable T {\n") + item.text + "\n}";
        expectErrors("a/T.aidl", text, item.errors);
    }
    for (const Case& item : kMethods) {
        const std::string text = std::string("package a; interface IT {\n") + item.text + "\n}";
        expectErrors("a/IT.aidl", text, item.errors);
    }
}

// With an error, not with a crash or without end.
TEST(ErrorsTest, DeepOrLongInputEnds) {
    std::string backwards = "const int C0 = 1;";
    std::string forwards = "const int C5000 = 1;";
    std::string sum = "1";
    std::string lists;
    std::string fields;
    for (int i = 1; i <= 5000; ++i) {
        const std::string self = std::to_string(i);
        const std::string other = std::to_string(i - 1);
        backwards += "const int C" + self + " = C" + other + ";";
        forwards += "const int C" + other + " = C" + self + ";";
        sum += "+1";
        lists += "List<";
        fields += "void x;";
    }
    const std::pair<std::string, std::string> kMembers[] = {
        {"int x = " + std::string(5000, '('), "nested more than 100 deep"},
        {"int x = " + std::string(5000, '-'), "nested more than 100 deep"},
        {"int x = " + std::string(5000, '{'), "nested more than 100 deep"},
        {"int x = " + sum, "nested more than 100 deep"},
        {lists, "a list of lists"},
        {fields, "void is only the result"},
        {backwards, ""},
        {forwards, "goes through more than 64 other constants"},
    };
    for (const auto& [members, error] : kMembers) {
        const auto errors = compile("a/T.aidl", "package a; parcelable T {" + members + "}").errors;
        EXPECT_LE(errors.size(), Diagnostics::kMaxErrors + 1);
        EXPECT_EQ(errors.empty(), error.empty()) << members.substr(0, 30);
        EXPECT_THAT(errors.empty() ? "" : errors[0], testing::HasSubstr(error));
    }
}

TEST(ErrorsTest, EachMistakeInTheArgumentsIsReported) {
    const struct {
        std::vector<std::string> arguments;
        std::vector<const char*> errors;
    } kCases[] = {
        {{},
         {"name at least one .aidl file", "name the output folder with -o or --out",
          "--lang=ndk is missing", "name the header folder with -h"}},
        {{"T.aidl", "-os", "--dumpapi", "--version=1"}, {"--version and --hash go together"}},
        {{"T.aidl", "-os", "--dumpapi", "--hash=0f"}, {"--version and --hash go together"}},
        {{"--checkapi=equal", "a"}, {"--checkapi=equal needs two folders"}},
        {{"--lang=java", "--stability=local", "--version=0", "--version=1000000",
          "--version=99999999999", "--hash=\";}", "--ninja", "--checkapi", "a", "-h"},
         {"'--lang=java' is not supported", "'--stability=local' is not supported",
          "'0' is not a version", "'1000000' is not a version", "'99999999999' is not a version",
          "'--hash' needs the hash", "there is no option '--ninja'", "'--checkapi=' is not",
          "'-h' needs a value"}},
    };
    for (const auto& [arguments, wanted] : kCases) {
        std::vector<testing::Matcher<std::string>> matchers;
        for (const char* error : wanted) matchers.push_back(testing::HasSubstr(error));
        EXPECT_THAT(runInMemory({}, arguments).errors, testing::ElementsAreArray(matchers));
    }
}

}  // namespace
}  // namespace aidlc
