// SPDX-License-Identifier: Apache-2.0
#include "cpp_types.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <string_view>

namespace aidlc {
namespace {

std::string replaceDots(std::string_view text, std::string_view by) {
    std::string result;
    for (const char c : text) {
        if (c == '.') {
            result += by;
        } else {
            result += c;
        }
    }
    return result;
}

bool isInterface(const TypeRef& type) {
    return type.decl != nullptr && type.decl->kind == TypeDecl::Kind::Interface;
}
bool isRecord(const TypeRef& type) {
    return type.decl != nullptr && type.decl->isRecord();
}
bool isArray(const TypeRef& type) {
    return type.isVector() || type.array == TypeRef::Array::Fixed;
}

// One item: what is left of a type without its array mark.
std::string itemType(const TypeRef& type, bool inArray, bool nullable) {
    std::string name;
    if (type.builtin == Builtin::Byte && inArray) {
        name = "uint8_t";
    } else if (type.builtin != Builtin::None) {
        name = cppBuiltin(type.builtin);
    } else if (isInterface(type)) {
        return "std::shared_ptr<" + cppName(*type.decl) + ">";
    } else {
        name = cppName(*type.decl);
    }
    const bool canBeOptional = type.builtin == Builtin::String || isRecord(type);
    return nullable && canBeOptional ? "std::optional<" + name + ">" : name;
}

std::string arrayType(const TypeRef& type) {
    const std::string item = itemType(type.item(), true, type.isNullable());
    return type.isVector() ? "std::vector<" + item + ">"
                           : "std::array<" + item + ", " + std::to_string(type.fixedSize) + ">";
}

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        // Two question marks would begin a trigraph.
        if (c == '"' || c == '?') {
            result += '\\';
        }
        result += c;
    }
    return result + '"';
}

std::string integerText(int64_t value, bool isLong) {
    if (!isLong) {
        return std::to_string(value);
    }
    if (value == std::numeric_limits<int64_t>::min()) {
        return "(-9223372036854775807L - 1L)";
    }
    return std::to_string(value) + "L";
}

std::string realText(double value, bool isFloat) {
    char text[64];
    snprintf(text, sizeof(text), isFloat ? "%.9g" : "%.17g", value);
    std::string result = text;
    if (result.find_first_of(".e") == std::string::npos) {
        result += ".0";
    }
    return isFloat ? result + 'f' : result;
}

std::string itemValue(const Value& value, const TypeRef& type, bool inArray) {
    switch (value.kind) {
        case Value::Kind::Boolean:
            return value.integer != 0 ? "true" : "false";
        case Value::Kind::Character:
            return value.integer == '\''
                       ? "u'\\''"
                       : std::string("u'") + static_cast<char>(value.integer) + "'";
        case Value::Kind::Integer:
            return inArray && type.builtin == Builtin::Byte
                       ? std::to_string(static_cast<uint8_t>(value.integer))
                       : integerText(value.integer, type.builtin == Builtin::Long);
        case Value::Kind::Real:
            return realText(value.real, type.builtin == Builtin::Float);
        case Value::Kind::String:
            return quoted(value.text);
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

std::string cppNamespace(const std::string& package) {
    return "aidl::" + replaceDots(package, "::");
}

std::string cppName(const TypeDecl& decl) {
    return "::" + cppNamespace(decl.package) + "::" + decl.name;
}

std::string headerPath(const TypeDecl& decl, const std::string& className) {
    return "aidl/" + replaceDots(decl.package, "/") + '/' + className + ".h";
}

std::string baseName(const TypeDecl& interface) {
    return interface.name.substr(1);
}

std::string cppBuiltin(Builtin builtin) {
    switch (builtin) {
        case Builtin::Boolean:
            return "bool";
        case Builtin::Byte:
            return "int8_t";
        case Builtin::Char:
            return "char16_t";
        case Builtin::Int:
            return "int32_t";
        case Builtin::Long:
            return "int64_t";
        case Builtin::Float:
            return "float";
        case Builtin::Double:
            return "double";
        case Builtin::String:
            return "std::string";
        case Builtin::Binder:
            return "::ndk::SpAIBinder";
        case Builtin::FileDescriptor:
            return "::ndk::ScopedFileDescriptor";
        case Builtin::None:
        case Builtin::Void:
        case Builtin::List:
            break;
    }
    return "void";
}

std::string cppType(const TypeRef& type) {
    if (!isArray(type)) {
        return itemType(type, false, type.isNullable());
    }
    return type.isNullable() ? "std::optional<" + arrayType(type) + ">" : arrayType(type);
}

bool isScalar(const TypeRef& type) {
    const bool isEnum = type.decl != nullptr && type.decl->kind == TypeDecl::Kind::Enum;
    return !isArray(type) && (type.isPrimitive() || isEnum);
}

std::string cppParameterType(const TypeRef& type) {
    return isScalar(type) ? cppType(type) : "const " + cppType(type) + "&";
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

std::string cppZero(const TypeRef& type) {
    if (type.isNullable() || type.isVector()) {
        return "";
    }
    const bool isEnum = type.decl != nullptr && type.decl->kind == TypeDecl::Kind::Enum;
    if (!type.isPrimitive() && !isEnum) {
        return "";
    }
    if (type.array == TypeRef::Array::Fixed) {
        return " = {{}}";
    }
    if (isEnum) {
        return " = static_cast<" + cppName(*type.decl) + ">(0)";
    }
    switch (type.builtin) {
        case Builtin::Boolean:
            return " = false";
        case Builtin::Char:
            return " = u'\\0'";
        case Builtin::Long:
            return " = 0L";
        case Builtin::Float:
            return " = 0.0f";
        case Builtin::Double:
            return " = 0.0";
        default:
            return " = 0";
    }
}

std::string parcelFunction(const std::string& verb, const TypeRef& type) {
    return "::ndk::AParcel_" + verb + (type.isNullable() ? "NullableData" : "Data");
}

std::vector<const TypeDecl*> usedTypes(const TypeDecl& decl) {
    std::map<std::string, const TypeDecl*> used;
    for (const Field& field : decl.fields) {
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
