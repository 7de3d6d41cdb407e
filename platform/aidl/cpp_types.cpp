// SPDX-License-Identifier: Apache-2.0
#include "cpp_types.h"

#include <limits>
#include <map>
#include <string_view>

#include "literals.h"

namespace aidlc {
namespace {

struct CppBuiltin {
    const char* name;
    const char* zero;
};
// In the order of Builtin.
constexpr CppBuiltin kBuiltins[] = {
    {"void", ""},
    {"void", ""},
    {"bool", "false"},
    {"int8_t", "0"},
    {"char16_t", "u'\\0'"},
    {"int32_t", "0"},
    {"int64_t", "0L"},
    {"float", "0.0f"},
    {"double", "0.0"},
    {"std::string", ""},
    {"::ndk::SpAIBinder", ""},
    {"::ndk::ScopedFileDescriptor", ""},
    {"void", ""},
};

const CppBuiltin& describe(Builtin builtin) {
    return kBuiltins[static_cast<size_t>(builtin)];
}

std::string replaceDots(const std::string& text, const std::string& by) {
    std::string result;
    for (const char c : text) {
        result += c == '.' ? by : std::string(1, c);
    }
    return result;
}

// One item: what is left of a type without its array mark.
std::string itemType(const TypeRef& type, bool inArray, bool nullable) {
    std::string name;
    if (type.builtin == Builtin::Byte && inArray) {
        name = "uint8_t";
    } else if (type.builtin != Builtin::None) {
        name = cppBuiltin(type.builtin);
    } else if (type.isInterface()) {
        return "std::shared_ptr<" + cppName(*type.decl) + ">";
    } else {
        name = cppName(*type.decl);
    }
    const bool canBeOptional = type.builtin == Builtin::String || type.isRecord();
    return nullable && canBeOptional ? "std::optional<" + name + ">" : name;
}

std::string arrayType(const TypeRef& type) {
    const std::string item = itemType(type.item(), true, type.isNullable());
    return type.isVector() ? "std::vector<" + item + ">"
                           : "std::array<" + item + ", " + std::to_string(type.fixedSize) + ">";
}

std::string itemValue(const Value& value, const TypeRef& type, bool inArray) {
    switch (value.kind) {
        case Value::Kind::Boolean:
            return value.integer != 0 ? "true" : "false";
        case Value::Kind::Character:
            return std::string("u'") + static_cast<char>(value.integer) + "'";
        case Value::Kind::Integer:
            return inArray && type.builtin == Builtin::Byte
                       ? std::to_string(static_cast<uint8_t>(value.integer))
                       : cppInteger(value.integer, type.builtin);
        case Value::Kind::Real:
            return realText(value.real, type.builtin == Builtin::Float);
        case Value::Kind::String:
            return '"' + value.text + '"';
        case Value::Kind::Enumerator:
            return cppName(*value.enumType) + "::" + value.enumerator->name;
        case Value::Kind::Array:
            break;
    }
    return "";
}

void addUsed(const TypeRef& type, const TypeDecl& user,
             std::map<std::string, const TypeDecl*>* used) {
    if (type.decl != nullptr && type.decl != &user) {
        used->emplace(type.decl->qualifiedName(), type.decl);
    }
    for (const TypeRef& argument : type.arguments) {
        addUsed(argument, user, used);
    }
}

}  // namespace

std::string cppName(const TypeDecl& decl) {
    return "::aidl::" + replaceDots(decl.qualifiedName(), "::");
}

std::string folderOf(const TypeDecl& decl) {
    return replaceDots(decl.package, "/") + '/';
}

std::string headerPath(const TypeDecl& decl, const std::string& className) {
    return "aidl/" + folderOf(decl) + className + ".h";
}

std::string baseName(const TypeDecl& interface) {
    return interface.name.substr(1);
}

std::string cppBuiltin(Builtin builtin) {
    return describe(builtin).name;
}

std::string cppType(const TypeRef& type) {
    if (!type.isArray()) {
        return itemType(type, false, type.isNullable());
    }
    return type.isNullable() ? "std::optional<" + arrayType(type) + ">" : arrayType(type);
}

std::string cppParameterType(const TypeRef& type) {
    return type.isScalar() ? cppType(type) : "const " + cppType(type) + "&";
}

std::string cppValue(const Value& value, const TypeRef& type) {
    if (value.kind != Value::Kind::Array) {
        return itemValue(value, type, false);
    }
    std::string list;
    for (const Value& item : value.items) {
        list += (list.empty() ? "" : ", ") + itemValue(item, type.item(), true);
    }
    list = type.array == TypeRef::Array::Fixed ? "{{" + list + "}}" : '{' + list + '}';
    return type.isNullable() ? arrayType(type) + list : list;
}

std::string cppInteger(int64_t value, Builtin builtin) {
    if (builtin == Builtin::Long && value == std::numeric_limits<int64_t>::min()) {
        return "(-9223372036854775807L - 1L)";
    }
    return std::to_string(value) + (builtin == Builtin::Long ? "L" : "");
}

std::string cppInitialiser(const Variable& field) {
    const TypeRef& type = field.type;
    if (field.value) {
        return " = " + cppValue(*field.value, type);
    }
    if (type.isNullable() || type.isVector() || (!type.isPrimitive() && !type.isEnum())) {
        return "";
    }
    if (type.array == TypeRef::Array::Fixed) {
        return " = {{}}";
    }
    return type.isEnum() ? " = static_cast<" + cppName(*type.decl) + ">(0)"
                         : std::string(" = ") + describe(type.builtin).zero;
}

std::string parcelFunction(const std::string& verb, const TypeRef& type) {
    return "::ndk::AParcel_" + verb + (type.isNullable() ? "NullableData" : "Data");
}

std::vector<const TypeDecl*> usedTypes(const TypeDecl& decl) {
    std::map<std::string, const TypeDecl*> used;
    for (const Variable& field : decl.fields) {
        addUsed(field.type, decl, &used);
    }
    for (const Method& method : decl.methods) {
        addUsed(method.result, decl, &used);
        for (const Argument& argument : method.arguments) {
            addUsed(argument.type, decl, &used);
        }
    }
    std::vector<const TypeDecl*> result;
    for (const auto& [name, type] : used) {
        result.push_back(type);
    }
    return result;
}

}  // namespace aidlc
