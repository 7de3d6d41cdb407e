// SPDX-License-Identifier: Apache-2.0
#include "api_dump.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "code_writer.h"
#include "type_table.h"

namespace aidlc {
namespace {

std::string expressionText(const Expression& expression) {
    const auto operand = [&](size_t i) { return expressionText(*expression.operands[i]); };
    switch (expression.kind) {
        case Expression::Kind::Integer:
        case Expression::Kind::Float:
        case Expression::Kind::Boolean:
        case Expression::Kind::Reference:
            return expression.text;
        case Expression::Kind::Character:
            return "'" + expression.text + "'";
        case Expression::Kind::String:
            return '"' + expression.text + '"';
        case Expression::Kind::Unary:
            return expression.text + '(' + operand(0) + ')';
        case Expression::Kind::Binary:
            return '(' + operand(0) + ' ' + expression.text + ' ' + operand(1) + ')';
        case Expression::Kind::Array:
            break;
    }
    std::string text;
    for (size_t i = 0; i < expression.operands.size(); ++i) {
        text += (i == 0 ? "" : ", ") + operand(i);
    }
    return '{' + text + '}';
}

// Each followed by a space.
std::string annotationsText(const std::vector<Annotation>& annotations) {
    std::vector<std::string> texts;
    for (const Annotation& annotation : annotations) {
        std::string parameters;
        for (const auto& [name, value] : annotation.parameters) {
            parameters += (parameters.empty() ? "" : ", ") + name + '=' + expressionText(*value);
        }
        texts.push_back('@' + annotation.name + (parameters.empty() ? "" : '(' + parameters + ')') +
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

std::string valueText(const Value& value, const TypeRef& type) {
    switch (value.kind) {
        case Value::Kind::Boolean:
            return value.integer != 0 ? "true" : "false";
        case Value::Kind::Character:
            return std::string("'") + static_cast<char>(value.integer) + "'";
        case Value::Kind::Integer:
            return value.integer == std::numeric_limits<int64_t>::min()
                       ? "0x8000000000000000"
                       : std::to_string(value.integer);
        case Value::Kind::Real: {
            char text[64];
            const bool isFloat = type.builtin == Builtin::Float;
            snprintf(text, sizeof(text), isFloat ? "%.9g" : "%.17g", value.real);
            std::string result = text;
            if (result.find_first_of(".e") == std::string::npos) {
                result += ".0";
            }
            return isFloat ? result + 'f' : result;
        }
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

std::string methodText(const Method& method, bool saysOneway) {
    std::string text = annotationsText(method.annotations);
    text += saysOneway ? "oneway " : "";
    text += declaredType(method.result) + ' ' + method.name + '(';
    for (size_t i = 0; i < method.arguments.size(); ++i) {
        static constexpr const char* kDirections[] = {"in ", "out ", "inout "};
        const Argument& argument = method.arguments[i];
        text += i == 0 ? "" : ", ";
        text += argument.hasDirection ? kDirections[static_cast<size_t>(argument.direction)] : "";
        text += declaredType(argument.type) + ' ' + argument.name;
    }
    text += ')';
    if (method.idValue != nullptr) {
        text += " = " + std::to_string(method.id);
    }
    return text + ';';
}

// `onewayInterface`: "oneway" stands before the interface, where all of it is, not at each method.
std::vector<ApiItem> itemsOf(const TypeDecl& type, bool onewayInterface, Evaluator* evaluator) {
    std::vector<ApiItem> items;
    items.push_back({type.at, type.name,
                     annotationsText(type.annotations) + (onewayInterface ? "oneway " : "") +
                         kindName(type.kind) + ' ' + type.name});
    for (const Method& method : type.methods) {
        items.push_back(
            {method.at, method.name, methodText(method, method.oneway && !onewayInterface)});
    }
    for (const Field& field : type.fields) {
        std::string text = declaredType(field.type) + ' ' + field.name;
        if (field.value != nullptr) {
            const auto value = evaluator->evaluateAs(*field.value, field.type, type);
            text += value ? " = " + valueText(*value, field.type) : "";
        }
        items.push_back({field.at, field.name, text + ';'});
    }
    for (const Enumerator& enumerator : type.enumerators) {
        Value number;
        number.integer = enumerator.number;
        items.push_back({enumerator.at, enumerator.name,
                         annotationsText(enumerator.annotations) + enumerator.name + " = " +
                             valueText(number, TypeRef()) + ','});
    }
    for (const Constant& constant : type.constants) {
        const auto value = evaluator->constantValue(type, constant);
        items.push_back({constant.at, constant.name,
                         annotationsText(constant.annotations) + "const " +
                             declaredType(constant.type) + ' ' + constant.name + " = " +
                             (value ? valueText(*value, constant.type) : "") + ';'});
    }
    return items;
}

}  // namespace

std::vector<ApiItem> apiItems(const TypeDecl& type, Evaluator* evaluator) {
    return itemsOf(type, false, evaluator);
}

std::string dumpType(const TypeDecl& type, Evaluator* evaluator) {
    CodeWriter out;
    out.line("// The API of " + type.qualifiedName() + ", as its users see it. Written by");
    out.line(
        "// `aidl --dumpapi`: do not edit. A version that has been released never changes; a "
        "change");
    out.line("// of the interface becomes a new version.");
    out.line("package " + type.package + ";");
    const std::vector<ApiItem> items = itemsOf(type, type.oneway, evaluator);
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
