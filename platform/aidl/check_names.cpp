// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <string_view>

#include "checks.h"

namespace aidlc {
namespace {

template <size_t N>
bool isOneOf(std::string_view name, const std::string_view (&names)[N]) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

constexpr std::string_view kCppKeywords[] = {
    "alignas",       "alignof",     "and",
    "and_eq",        "asm",         "auto",
    "bitand",        "bitor",       "bool",
    "break",         "case",        "catch",
    "char",          "char16_t",    "char32_t",
    "char8_t",       "class",       "co_await",
    "co_return",     "co_yield",    "compl",
    "concept",       "const",       "const_cast",
    "consteval",     "constexpr",   "constinit",
    "continue",      "decltype",    "default",
    "delete",        "do",          "double",
    "dynamic_cast",  "else",        "enum",
    "explicit",      "export",      "extern",
    "false",         "float",       "for",
    "friend",        "goto",        "if",
    "inline",        "int",         "long",
    "mutable",       "namespace",   "new",
    "noexcept",      "not",         "not_eq",
    "nullptr",       "operator",    "or",
    "or_eq",         "private",     "protected",
    "public",        "register",    "reinterpret_cast",
    "requires",      "return",      "short",
    "signed",        "sizeof",      "static",
    "static_assert", "static_cast", "struct",
    "switch",        "template",    "this",
    "thread_local",  "throw",       "true",
    "try",           "typedef",     "typeid",
    "typename",      "union",       "unsigned",
    "using",         "virtual",     "void",
    "volatile",      "wchar_t",     "while",
    "xor",           "xor_eq",
};

// Macros of the C and C++ headers that generated code includes.
constexpr std::string_view kMacros[] = {
    "NULL", "EOF", "assert", "errno", "stdin", "stdout", "stderr", "linux", "unix", "offsetof",
};

constexpr std::string_view kRecordMembers[] = {
    "readFromParcel", "writeToParcel", "toString", "descriptor", "fixed_size",
};
constexpr std::string_view kUnionMembers[] = {"make", "get", "set", "getTag", "Tag"};
constexpr std::string_view kInterfaceMembers[] = {
    "asBinder",
    "isRemote",
    "dump",
    "handleShellCommand",
    "ref",
    "fromBinder",
    "writeToParcel",
    "readFromParcel",
    "descriptor",
    "version",
    "hash",
    "getInterfaceHash",
    "createBinder",
    "defineClass",
    "asInterface",
    "make",
    "asBinderReference",
    "getInterfaceVersion",
};

// Where an annotation that is accepted may stand.
struct Known {
    std::string_view name;
    bool type, field, member, result;
};
constexpr Known kKnown[] = {
    {"VintfStability", true, false, false, false},    {"Backing", true, false, false, false},
    {"nullable", false, true, false, true},           {"utf8InCpp", false, true, false, true},
    {"JavaDerive", true, false, false, false},        {"JavaPassthrough", true, true, true, true},
    {"JavaDefault", true, false, false, false},       {"JavaDelegator", true, false, false, false},
    {"JavaOnlyImmutable", true, false, false, false}, {"JavaSuppressLint", true, true, true, false},
    {"RustDerive", true, false, false, false},        {"SuppressWarnings", true, true, true, false},
    {"UnsupportedAppUsage", true, true, true, false}, {"Hide", true, true, true, false},
};

// Annotations that would change what is sent or generated.
constexpr std::pair<std::string_view, std::string_view> kRefused[] = {
    {"FixedSize", "records always travel with their size; remove it"},
    {"SensitiveData", "transaction buffers are not cleared here; remove it"},
    {"Descriptor", "a descriptor is always the full name of the interface; rename the interface"},
    {"EnforcePermission", "permissions are not checked here; check the caller in the service"},
    {"RequiresNoPermission", "permissions are not checked here; remove it"},
    {"PermissionManuallyEnforced", "permissions are not checked here; remove it"},
    {"PropagateAllowBlocking", "blocking calls are not tracked here; remove it"},
    {"JavaOnlyStableParcelable", "list the parcelable's fields instead"},
    {"NdkOnlyStableParcelable", "list the parcelable's fields instead"},
    {"RustOnlyStableParcelable", "list the parcelable's fields instead"},
};

}  // namespace

void checkAnnotations(const std::vector<Annotation>& annotations, AnnotationPlace place,
                      Diagnostics* diagnostics) {
    for (const Annotation& annotation : annotations) {
        const std::string shown = "'@" + annotation.name + "'";
        if (findAnnotation(annotations, annotation.name) != &annotation) {
            diagnostics->error(annotation.at, shown + " stands here twice; remove one");
            continue;
        }
        const auto refused =
            std::find_if(std::begin(kRefused), std::end(kRefused),
                         [&](const auto& entry) { return entry.first == annotation.name; });
        if (refused != std::end(kRefused)) {
            diagnostics->error(annotation.at,
                               shown + " is not supported: " + std::string(refused->second));
            continue;
        }
        const auto known =
            std::find_if(std::begin(kKnown), std::end(kKnown),
                         [&](const Known& entry) { return entry.name == annotation.name; });
        if (known == std::end(kKnown)) {
            diagnostics->error(annotation.at, shown +
                                                  " is not known; remove it or check its "
                                                  "spelling");
            continue;
        }
        const bool fits = place == AnnotationPlace::Type     ? known->type
                          : place == AnnotationPlace::Field  ? known->field
                          : place == AnnotationPlace::Member ? known->member
                                                             : known->result;
        if (!fits) {
            diagnostics->error(annotation.at, shown + " has no meaning here; it belongs " +
                                                  (known->type ? "in front of a declaration"
                                                               : "in front of a type"));
        } else if (annotation.name == "nullable" && !annotation.parameters.empty()) {
            diagnostics->error(
                annotation.at,
                "parameters of '@nullable' are not supported; write '@nullable' alone");
        }
    }
}

void checkName(const Location& at, const std::string& name, NamePlace place,
               Diagnostics* diagnostics) {
    std::string why;
    if (isOneOf(name, kCppKeywords)) {
        why = "is a word of the C++ language";
    } else if (isOneOf(name, kMacros)) {
        why = "is a macro of the C library";
    } else if (name.starts_with("_aidl") || name.starts_with("_") ||
               name.find("__") != std::string::npos) {
        why = "belongs to generated code (leading or double underscore)";
    } else if (builtinByName(name) != Builtin::None && place == NamePlace::Type) {
        why = "is a built-in type";
    } else {
        const bool isUnion = place == NamePlace::UnionField;
        const bool isRecord = isUnion || place == NamePlace::Field;
        const bool isReserved = (isRecord && isOneOf(name, kRecordMembers)) ||
                                (isUnion && isOneOf(name, kUnionMembers)) ||
                                (place == NamePlace::Method && isOneOf(name, kInterfaceMembers)) ||
                                (place == NamePlace::Constant &&
                                 (isOneOf(name, kRecordMembers) || isOneOf(name, kUnionMembers) ||
                                  isOneOf(name, kInterfaceMembers)));
        if (!isReserved) {
            return;
        }
        why = "is a member of every generated class";
    }
    diagnostics->error(at, "'" + name + "' " + why + "; choose another name");
}

}  // namespace aidlc
