// SPDX-License-Identifier: Apache-2.0
#include "api_dump.h"

#include <algorithm>
#include <limits>

#include "code_writer.h"
#include "literals.h"
#include "type_table.h"

namespace aidlc {
namespace {

// Each followed by a space.
std::string annotationsText(const std::vector<Annotation>& annotations) {
    std::vector<std::string> texts;
    for (const Annotation& annotation : annotations) {
        texts.push_back('@' + annotation.name +
                        (annotation.parameters.empty() ? "" : '(' + annotation.parameters + ')') +
                        ' ');
    }
    // Their order means nothing.
    std::sort(texts.begin(), texts.end());
    std::string result;
    for (const std::string& text : texts) {
        result += text;
    }
    return result;
}

std::string integerText(int64_t value) {
    return value == std::numeric_limits<int64_t>::min() ? "0x8000000000000000"
                                                        : std::to_string(value);
}

std::string valueText(const Value& value, const TypeRef& type) {
    switch (value.kind) {
        case Value::Kind::Boolean:
            return value.integer != 0 ? "true" : "false";
        case Value::Kind::Character:
            return std::string("'") + static_cast<char>(value.integer) + "'";
        case Value::Kind::Integer:
            return integerText(value.integer);
        case Value::Kind::Real:
            return realText(value.real, type.builtin == Builtin::Float);
        case Value::Kind::String:
            return '"' + value.text + '"';
        case Value::Kind::Enumerator:
            return value.enumType->qualifiedName() + '.' + value.enumerator->name;
        case Value::Kind::Array:
            break;
    }
    std::string text;
    for (const Value& item : value.items) {
        text += (text.empty() ? "" : ", ") + valueText(item, type.item());
    }
    return '{' + text + '}';
}

std::string declaredType(const TypeRef& type) {
    return annotationsText(type.annotations) + typeText(type);
}

// "type name" or "type name = value".
std::string variableText(const Variable& variable) {
    return declaredType(variable.type) + ' ' + variable.name +
           (variable.value ? " = " + valueText(*variable.value, variable.type) : "");
}

std::string methodText(const Method& method, bool saysOneway) {
    std::string arguments;
    for (const Argument& argument : method.arguments) {
        static constexpr const char* kDirections[] = {"in ", "out ", "inout "};
        arguments += arguments.empty() ? "" : ", ";
        arguments +=
            argument.hasDirection ? kDirections[static_cast<size_t>(argument.direction)] : "";
        arguments += declaredType(argument.type) + ' ' + argument.name;
    }
    return (saysOneway ? "oneway " : "") + declaredType(method.result) + ' ' + method.name + '(' +
           arguments + ");";
}

}  // namespace

std::vector<ApiItem> apiItems(const TypeDecl& type) {
    static constexpr const char* kKinds[] = {"interface ", "parcelable ", "union ", "enum "};
    std::vector<ApiItem> items = {
        {type.at, annotationsText(type.annotations) + (type.oneway ? "oneway " : "") +
                      kKinds[static_cast<size_t>(type.kind)] + type.name}};
    for (const Method& method : type.methods) {
        items.push_back({method.at, methodText(method, method.oneway && !type.oneway)});
    }
    for (const Variable& field : type.fields) {
        items.push_back({field.at, variableText(field) + ';'});
    }
    for (const Enumerator& enumerator : type.enumerators) {
        items.push_back(
            {enumerator.at, enumerator.name + " = " + integerText(enumerator.number) + ','});
    }
    for (const Variable& constant : type.constants) {
        items.push_back({constant.at, "const " + variableText(constant) + ';'});
    }
    return items;
}

std::string dumpType(const TypeDecl& type) {
    CodeWriter out;
    out.line("// The API of " + type.qualifiedName() + ", as its users see it. Written by");
    out.line(
        "// `aidl --dumpapi`: do not edit. A version that has been released never changes; a "
        "change");
    out.line("// of the interface becomes a new version.");
    out.line("package " + type.package + ";");
    const std::vector<ApiItem> items = apiItems(type);
    // Annotations on a line of their own.
    const std::string annotations = annotationsText(type.annotations);
    if (!annotations.empty()) {
        out.line(annotations.substr(0, annotations.size() - 1));
    }
    out.open(items[0].text.substr(annotations.size()) + " {");
    for (size_t i = 1; i < items.size(); ++i) {
        out.line(items[i].text);
    }
    out.close("}");
    return out.text();
}

std::string dumpPath(const TypeDecl& type) {
    std::string path = type.qualifiedName();
    std::replace(path.begin(), path.end(), '.', '/');
    return path + ".aidl";
}

}  // namespace aidlc
