// SPDX-License-Identifier: Apache-2.0
// Each mistake gives its error, at its place, and nothing else. The messages are the users' only
// help, so their beginnings are held here too.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "compile.h"

namespace aidlc {
namespace {

struct Case {
    const char* name;
    const char* text;                 // of a/T.aidl, or a/IT.aidl when it holds "interface IT"
    std::vector<std::string> errors;  // "line:column: beginning of the message"
};

// Beside the file under test.
const std::map<std::string, std::string> kOthers = {
    {"a/Color.aidl", "package a; enum Color { RED, GREEN }"},
    {"a/Shade.aidl", "package a; enum Shade { DARK, RED }"},
    {"a/Rec.aidl", "package a; parcelable Rec { int x; }"},
    {"a/Stable.aidl", "package a; @VintfStability parcelable Stable { int x; }"},
    {"b/Deep.aidl", "package b; parcelable Deep { const int N = 4; }"},
};

void PrintTo(const Case& testCase, std::ostream* out) {
    *out << testCase.name;
}

class ErrorsTest : public testing::TestWithParam<Case> {};

TEST_P(ErrorsTest, MistakeIsReportedAtItsPlaceAndNothingIsWritten) {
    const std::string text = GetParam().text;
    const std::string path =
        text.find("interface IT") != std::string::npos ? "a/IT.aidl" : "a/T.aidl";
    auto files = kOthers;
    files[path] = text;
    const Outcome outcome = runInMemory(
        files, {"--lang=ndk", "--stability=vintf", "-I", ".", "-o", "src", "-h", "include", path});
    EXPECT_TRUE(outcome.files.empty());
    std::string all;
    for (const std::string& error : outcome.errors) {
        all += error + '\n';
    }
    ASSERT_EQ(outcome.errors.size(), GetParam().errors.size()) << all;
    for (size_t i = 0; i < outcome.errors.size(); ++i) {
        const size_t colon = GetParam().errors[i].find(": ");
        const std::string wanted = path + ':' + GetParam().errors[i].substr(0, colon) +
                                   ": error: " + GetParam().errors[i].substr(colon + 2);
        EXPECT_EQ(outcome.errors[i].substr(0, wanted.size()), wanted);
    }
}

const Case kSyntax[] = {
    {"EmptyFile",
     "",
     {"1:1: expected 'package NAME;' first, found the end of the file",
      "1:1: expected an interface"}},
    {"NoType", "package a;", {"1:11: expected an interface"}},
    {"NoPackage",
     "parcelable T { }",
     {"1:1: expected 'package NAME;' first", "1:17: expected an interface"}},
    {"UnterminatedComment",
     "package a; parcelable T { int x; /* ",
     {"1:34: this comment has no end", "1:37: expected '}' that closes 'T'"}},
    {"UnterminatedString",
     "package a; parcelable T { String x = \"abc\n; }",
     {"1:42: the quote is still open"}},
    {"BackslashInString",
     "package a; parcelable T { String x = \"a\\n\"; }",
     {"1:40: '\\' cannot stand between quotes"}},
    {"LongCharacter",
     "package a; parcelable T { char x = 'ab'; }",
     {"1:36: a character constant holds exactly one", "1:40: expected a value"}},
    {"StrayCharacter", "package a; # parcelable T { }", {"1:12: '#' has no meaning here"}},
    {"MissingSemicolon",
     "package a; parcelable T { int x int y; int z }",
     {"1:33: expected ';', found 'int'", "1:46: expected ';', found '}'"}},
    {"TwoTypes",
     "package a; parcelable T { } parcelable U { }",
     {"1:29: expected the end of the file"}},
    {"NestedType",
     "package a; parcelable T { enum E { A } int x; }",
     {"1:27: a type inside a type is not supported"}},
    {"Unstructured", "package a; parcelable T;", {"1:23: 'T' is declared without fields"}},
    {"Header",
     "package a; parcelable T cpp_header \"x.h\";",
     {"1:23: 'T' is declared without fields"}},
    {"Generic", "package a; parcelable T<X> { }", {"1:24: generic types are not supported"}},
    {"ArrayOfArrays",
     "package a; parcelable T { int[2][3] x; }",
     {"1:33: arrays of arrays are not supported"}},
    {"OnewayParcelable",
     "package a; oneway parcelable T { }",
     {"1:19: expected 'interface' after 'oneway'"}},
};

const Case kTypes[] = {
    {"WrongFileName",
     "package c; parcelable T { }",
     {"1:23: 'c.T' must be declared in a file called c/T.aidl"}},
    {"UnknownType",
     "package a; parcelable T { Nope x; bool y; Map z; }",
     {"1:27: there is no type 'Nope'; import it", "1:35: there is no type 'bool'; write boolean",
      "1:43: there is no type 'Map'; maps are not supported"}},
    {"UnknownImport",
     "package a; import b.Nope; parcelable T { }",
     {"1:19: there is no b/Nope.aidl in the -I folders"}},
    {"NotImported", "package a; parcelable T { Deep x; }", {"1:27: there is no type 'Deep'"}},
    {"VoidField", "package a; parcelable T { void x; }", {"1:27: void is only the result"}},
    {"ListOfNothing",
     "package a; parcelable T { List x; List<int> y; List<List<Rec>> z; }",
     {"1:27: say what is in the list", "1:40: a list cannot hold int; write int[]",
      "1:53: a list of lists or arrays is not supported"}},
    {"ArgumentsOfPlainType",
     "package a; parcelable T { Rec<int> x; }",
     {"1:27: 'Rec' takes no type in < >"}},
    {"NullablePrimitive",
     "package a; parcelable T { @nullable int x; @nullable Color y; }",
     {"1:37: 'int' cannot be @nullable", "1:54: 'Color' cannot be @nullable"}},
    {"ArraySize",
     "package a; parcelable T { int[0] x; int[-1] y; byte[1048577] z; int[true] u; }",
     {"1:31: the size of an array must be an integer from 1 to 1048576, not 0",
      "1:41: the size of an array", "1:53: the size of an array",
      "1:69: the size of an array must be an integer from 1 to 1048576, not a boolean"}},
    {"Unstable",
     "package a; @VintfStability parcelable T { Rec x; Stable y; }",
     {"1:43: 'a.Rec' is not marked @VintfStability"}},
    {"ContainsItself", "package a; parcelable T { int y; T[] x; }", {"1:23: 'T' contains itself"}},
    {"EmptyUnionAndEnum", "package a; union T { }", {"1:18: the union 'T' has no members"}},
    {"EmptyEnum", "package a; enum T { }", {"1:17: the enum 'T' has no values"}},
    {"UnionDefaultNotFirst",
     "package a; union T { int x = 1; int y = 2; }",
     {"1:41: only the first member of a union"}},
    {"InterfaceName",
     "package a; interface T { }",
     {"1:22: the name of an interface begins with I and a capital, as in IT"}},
    {"BackingType",
     "package a; @Backing(type=\"char\") enum T { A }",
     {"1:12: write @Backing(type=\"byte\")"}},
    {"BackingOfRecord",
     "package a; @Backing(type=\"int\") parcelable T { }",
     {"1:44: only an enum has a @Backing type"}},
    {"Annotations",
     "package a; @FixedSize @Nope @VintfStability @VintfStability parcelable T "
     "{ @Backing(type=\"int\") int x; @nullable(heap=true) Rec y; }",
     {"1:12: '@FixedSize' is not supported: records always travel", "1:23: '@Nope' is not known",
      "1:45: '@VintfStability' stands here twice", "1:76: '@Backing' has no meaning here",
      "1:104: parameters of '@nullable'", "1:125: 'a.Rec' is not marked"}},
};

const Case kNames[] = {
    {"CppKeyword",
     "package a; parcelable T { int class; int register; int NULL; }",
     {"1:31: 'class' is a word of the C++ language", "1:42: 'register' is a word",
      "1:56: 'NULL' is a macro"}},
    {"ReservedInRecord",
     "package a; parcelable T { int readFromParcel; int _x; int a__b; int T; }",
     {"1:31: 'readFromParcel' is a member of every generated class",
      "1:51: '_x' belongs to generated code", "1:59: 'a__b' belongs to generated code",
      "1:69: a field cannot have the name of its type"}},
    {"ReservedInUnion",
     "package a; union T { int get; int Tag; }",
     {"1:26: 'get' is a member", "1:35: 'Tag' is a member"}},
    {"ReservedInInterface",
     "package a; interface IT { void asBinder(); void DefaultDelegator(); }",
     {"1:32: 'asBinder' is a member", "1:49: 'DefaultDelegator' is a member"}},
    {"Twice",
     "package a; parcelable T { const int A = 1; int A; int b; int b; }",
     {"1:48: 'A' is declared in line 1 already", "1:62: 'b' is declared in line 1 already"}},
    {"EnumValueTwice", "package a; enum T { A, B, A }", {"1:27: 'A' is declared in line 1"}},
};

const Case kMethods[] = {
    {"OnewayResult",
     "package a; oneway interface IT { int f(); void g(out Rec r); }",
     {"1:34: the oneway method 'f' cannot return", "1:58: the oneway method 'g' sends nothing"}},
    {"Directions",
     "package a; interface IT { void f(Rec r, int[] a, out int b, inout String s); }",
     {"1:38: say in which direction 'r' goes", "1:47: say in which direction 'a' goes",
      "1:58: int 'b' cannot be out", "1:74: String 's' cannot be out"}},
    {"OverloadAndSameArguments",
     "package a; interface IT { void f(int x, int x); void f(); }",
     {"1:45: there is an argument 'x' already", "1:54: 'f' is declared in line 1"}},
    {"SomeIds",
     "package a; interface IT { void f() = 1; void g(); void h() = 1; }",
     {"1:56: 'h' has the id of 'f'", "1:46: 'g' has no id, but others have"}},
    {"IdRange",
     "package a; interface IT { void f() = -1; void g() = 16777115; }",
     {"1:38: the id of 'f' must be an integer from 0 to 16777114, not -1",
      "1:53: the id of 'g' must be"}},
    {"VoidArgument",
     "package a; interface IT { void f(void x); }",
     {"1:34: void is only the result"}},
};

const Case kValues[] = {
    {"WrongKind",
     "package a; parcelable T { int x = \"1\"; boolean b = 1; String s = 1; "
     "char c = 0; float f = 1; int[] a = 1; byte y = 'a'; Rec r = 1; }",
     {"1:35: a value of int must be an integer", "1:52: a value of boolean must be true or false",
      "1:66: a value of String must be a text", "1:78: a value of char must be a character",
      "1:91: a value of float must be a number with a point", "1:104: a value of int[] is a list",
      "1:116: a value of byte must be an integer, not a character",
      "1:129: a value of a.Rec cannot be written here"}},
    {"DoesNotFit",
     "package a; parcelable T { byte x = 128; int y = 2147483648; byte[1] z = {-129}; }",
     {"1:36: 128 does not fit byte, which goes from -128 to 127",
      "1:49: 2147483648 does not fit int", "1:74: -129 does not fit byte"}},
    {"WrongCount",
     "package a; parcelable T { int[2] x = {1}; int[2] y = {1, 2, 3}; }",
     {"1:38: int[2] needs 2 items, not 1", "1:54: int[2] needs 2 items, not 3"}},
    {"OtherEnum",
     "package a; parcelable T { Color x = Shade.RED; Color y = RED; Color z = 0; "
     "int n = Color.BLUE; }",
     {"1:37: a value of a.Color must be one of that enum's own, as in Color.RED",
      "1:58: write Color.RED", "1:73: a value of a.Color must be one of that enum's own",
      "1:84: 'Color' has no constant or value 'BLUE'"}},
    {"Overflow",
     "package a; parcelable T { const int A = 2147483647 + 1; const int B = 1 << 31; "
     "const long C = 0x7fffffffffffffff + 1; const int D = 1 << 32; "
     "const int E = -2147483648 / -1; const int F = 1 / 0; "
     "const int G = 65536 * 65536; const int H = 1 >> -1; }",
     {"1:52: the result does not fit an int; make one side a long",
      "1:73: the result does not fit an int", "1:114: the result does not fit a long",
      "1:135: the shift must be from 0 to 31, not 32", "1:168: 2147483648 does not fit int",
      "1:190: division by zero", "1:215: the result does not fit an int",
      "1:240: the shift must be from 0 to 31, not -1"}},
    {"Literals",
     "package a; parcelable T { int a = 012; int b = 0x; int c = 1f2; int d = 256u8; "
     "long e = 99999999999999999999; double f = 1e999; int g = 12abc; }",
     {"1:35: '012' begins with 0", "1:48: '0x' is not a number", "1:60: '1f2' is not a number",
      "1:73: '256u8' does not fit 8 bits", "1:89: '99999999999999999999' does not fit a long",
      "1:122: '1e999' is not a number that a double", "1:137: '12abc' is not a number"}},
    {"Operators",
     "package a; parcelable T { const boolean A = 1 && true; const int B = !1; "
     "const String C = \"a\" - \"b\"; const int D = ~1.5; const int E = true + 1; }",
     {"1:47: an int and a boolean cannot be combined with '&&'", "1:70: an int has no '!'",
      "1:95: a String and a String cannot be combined with '-'",
      "1:116: a floating-point number has no '~'",
      "1:141: a boolean and an int cannot be combined"}},
    {"Circles",
     "package a; parcelable T { const int A = B; const int B = A; }",
     {"1:37: the value of 'A' depends on itself"}},
    {"UnknownReference",
     "package a; parcelable T { int x = N; int y = Nope.N; int z = b.Deep.M; }",
     {"1:35: 'T' has no constant or value 'N'", "1:46: there is no type 'Nope'",
      "1:62: 'Deep' has no constant or value 'M'"}},
    {"EnumRange",
     "package a; enum T { A = 127, B, C = -129, D = \"x\" }",
     {"1:30: 'B' would be 127 + 1", "1:37: 'C' of the enum 'T' must be an integer from -128",
      "1:47: 'D' of the enum 'T' must be an integer from -128 to 127, not a String"}},
    {"EnumForward",
     "package a; enum T { A = B, B = 1 }",
     {"1:25: 'B' gets its value further down"}},
};

std::string nameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Syntax, ErrorsTest, testing::ValuesIn(kSyntax), nameOf);
INSTANTIATE_TEST_SUITE_P(Types, ErrorsTest, testing::ValuesIn(kTypes), nameOf);
INSTANTIATE_TEST_SUITE_P(Names, ErrorsTest, testing::ValuesIn(kNames), nameOf);
INSTANTIATE_TEST_SUITE_P(Methods, ErrorsTest, testing::ValuesIn(kMethods), nameOf);
INSTANTIATE_TEST_SUITE_P(Values, ErrorsTest, testing::ValuesIn(kValues), nameOf);

}  // namespace
}  // namespace aidlc
