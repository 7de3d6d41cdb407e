// SPDX-License-Identifier: Apache-2.0
#include "names.h"

#include <string_view>

#include "type_table.h"

namespace aidlc {
namespace {

// Each list is one text, every name between two spaces.
constexpr std::string_view kCppKeywords =
    " alignas alignof and and_eq asm auto bitand bitor bool break case catch char char16_t "
    "char32_t "
    "char8_t class co_await co_return co_yield compl concept const const_cast consteval constexpr "
    "constinit continue decltype default delete do double dynamic_cast else enum explicit export "
    "extern false float for friend goto if inline int long mutable namespace new noexcept not "
    "not_eq "
    "nullptr operator or or_eq private protected public register reinterpret_cast requires return "
    "short signed sizeof static static_assert static_cast struct switch template this thread_local "
    "throw true try typedef typeid typename union unsigned using virtual void volatile wchar_t "
    "while "
    "xor xor_eq ";
// Of the C and C++ headers that generated code includes.
constexpr std::string_view kMacros =
    " NULL EOF assert errno stdin stdout stderr linux unix offsetof ";

constexpr std::string_view kRecordMembers =
    " readFromParcel writeToParcel toString descriptor fixed_size ";
constexpr std::string_view kUnionMembers = " make get set getTag Tag ";
constexpr std::string_view kInterfaceMembers =
    " asBinder isRemote dump handleShellCommand ref fromBinder writeToParcel readFromParcel "
    "descriptor "
    "version hash getInterfaceVersion getInterfaceHash createBinder defineClass asInterface make "
    "asBinderReference ";

bool isOneOf(std::string_view names, const std::string& name) {
    return names.find(' ' + name + ' ') != std::string_view::npos;
}

}  // namespace

void checkName(const Location& at, const std::string& name, NameKind kind,
               Diagnostics* diagnostics) {
    const bool isConstant = kind == NameKind::Constant;
    const bool isUnionField = kind == NameKind::UnionField;
    std::string why;
    if (isOneOf(kCppKeywords, name)) {
        why = "is a word of the C++ language";
    } else if (isOneOf(kMacros, name)) {
        why = "is a macro of the C library";
    } else if (name.starts_with("_") || name.find("__") != std::string::npos) {
        why = "is reserved for generated code (leading or double underscore)";
    } else if (kind == NameKind::Type && builtinByName(name) != Builtin::None) {
        why = "is a built-in type";
    } else if (((isConstant || isUnionField || kind == NameKind::Field) &&
                isOneOf(kRecordMembers, name)) ||
               ((isConstant || isUnionField) && isOneOf(kUnionMembers, name)) ||
               ((isConstant || kind == NameKind::Method) && isOneOf(kInterfaceMembers, name))) {
        why = "is a member of every generated class";
    } else {
        return;
    }
    diagnostics->error(at, "'" + name + "' " + why + "; choose another name");
}

}  // namespace aidlc
