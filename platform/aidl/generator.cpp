// SPDX-License-Identifier: Apache-2.0
#include "generator.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "cpp_types.h"

namespace aidlc {
namespace {

std::vector<std::string> packageParts(const std::string& package) {
    std::vector<std::string> parts = {"aidl"};
    size_t start = 0;
    while (start <= package.size()) {
        const size_t dot = std::min(package.find('.', start), package.size());
        parts.push_back(package.substr(start, dot - start));
        start = dot + 1;
    }
    return parts;
}

std::string trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(first, text.find_last_not_of(" \t\r") - first + 1));
}

std::string sourcePath(const TypeDecl& type) {
    std::string path = headerPath(type, type.name);
    path.erase(0, sizeof("aidl/") - 1);
    return path.substr(0, path.size() - 1) + "cpp";
}

}  // namespace

void writeBanner(CodeWriter* out) {
    out->line(
        "// This file is generated from an .aidl file by the AIDL compiler. Do not edit it: "
        "change");
    out->line("// the .aidl file and build again.");
}

void writeComment(CodeWriter* out, const std::string& comment) {
    if (comment.empty()) {
        return;
    }
    // Without the marks at both ends, and without what compilers warn of inside a comment.
    std::string body = comment.substr(3, comment.size() - 5);
    for (const std::string_view mark : {"/*", "?\?/"}) {
        for (size_t at = body.find(mark); at != std::string::npos; at = body.find(mark, at + 1)) {
            body.insert(at + mark.size() - 1, " ");
        }
    }
    std::vector<std::string> lines;
    size_t start = 0;
    while (start <= body.size()) {
        const size_t end = std::min(body.find('\n', start), body.size());
        std::string line = trimmed(std::string_view(body).substr(start, end - start));
        if (start > 0 && !line.empty() && line[0] == '*') {
            line = line.size() > 1 && line[1] == ' ' ? line.substr(2) : line.substr(1);
        }
        lines.push_back(line);
        start = end + 1;
    }
    while (!lines.empty() && lines.back().empty()) {
        lines.pop_back();
    }
    while (!lines.empty() && lines.front().empty()) {
        lines.erase(lines.begin());
    }
    if (lines.size() == 1) {
        out->line("/** " + lines[0] + " */");
        return;
    }
    out->line("/**");
    for (const std::string& line : lines) {
        out->line(line.empty() ? " *" : " * " + line);
    }
    out->line(" */");
}

void openNamespace(CodeWriter* out, const std::string& package) {
    for (const std::string& part : packageParts(package)) {
        out->line("namespace " + part + " {");
    }
}

void closeNamespace(CodeWriter* out, const std::string& package) {
    const auto parts = packageParts(package);
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        out->line("}  // namespace " + *part);
    }
}

void includeUsedTypes(CodeWriter* out, const TypeDecl& type) {
    for (const TypeDecl* used : usedTypes(type)) {
        out->line("#include \"" + headerPath(*used, used->name) + "\"");
    }
}

// Two headers that include each other need the names before the classes.
void forwardDeclareUsedTypes(CodeWriter* out, const TypeDecl& type) {
    for (const TypeDecl* used : usedTypes(type)) {
        if (used->kind != TypeDecl::Kind::Enum) {
            out->line("namespace " + cppNamespace(used->package) + " { class " + used->name +
                      "; }");
        }
    }
}

void writeEnumTools(CodeWriter* out, const std::string& package, const std::string& name,
                    const std::string& backing, const std::vector<std::string>& values,
                    const std::vector<std::string>& distinct) {
    openNamespace(out, package);
    out->open("[[nodiscard]] static inline std::string toString(" + name + " val) {");
    out->open("switch (val) {");
    for (const std::string& value : distinct) {
        out->line("case " + name + "::" + value + ":");
        out->line("  return \"" + value + "\";");
    }
    out->line("default:");
    out->line("  return std::to_string(static_cast<" + backing + ">(val));");
    out->close("}");
    out->close("}");
    closeNamespace(out, package);
    out->line("namespace ndk {");
    out->line("namespace internal {");
    const std::string qualified = cppNamespace(package) + "::" + name;
    out->line("template <>");
    out->open("constexpr inline std::array<" + qualified + ", " + std::to_string(values.size()) +
              "> enum_values<" + qualified + "> = {");
    for (const std::string& value : values) {
        out->line(qualified + "::" + value + ",");
    }
    out->close("};");
    out->line("}  // namespace internal");
    out->line("}  // namespace ndk");
}

void Generator::constants(CodeWriter* out, const TypeDecl& type) {
    for (const Constant& constant : type.constants) {
        const auto value = mEvaluator.constantValue(type, constant);
        if (!value) {
            continue;
        }
        writeComment(out, constant.comment);
        const Builtin builtin = constant.type.builtin;
        const std::string text = cppValue(*value, constant.type);
        if (builtin == Builtin::Byte || builtin == Builtin::Int || builtin == Builtin::Long) {
            out->line("enum : " + cppBuiltin(builtin) + " { " + constant.name + " = " + text +
                      " };");
        } else if (builtin == Builtin::String) {
            out->line("static constexpr const char* " + constant.name + " = " + text + ";");
        } else {
            out->line("static constexpr " + cppBuiltin(builtin) + " " + constant.name + " = " +
                      text + ";");
        }
    }
}

std::string Generator::initialiser(const TypeDecl& type, const Field& field) {
    if (field.value == nullptr) {
        return cppZero(field.type);
    }
    const auto value = mEvaluator.evaluateAs(*field.value, field.type, type);
    return value ? " = " + cppValue(*value, field.type) : "";
}

std::string Generator::enumHeader(const TypeDecl& type) {
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    out.line("#include <android/binder_enums.h>");
    out.line("#include <array>");
    out.line("#include <cstdint>");
    out.line("#include <string>");
    out.line();
    openNamespace(&out, type.package);
    writeComment(&out, type.comment);
    const std::string backing = cppBuiltin(type.backing);
    out.open("enum class " + type.name + " : " + backing + " {");
    std::set<int64_t> numbers;
    std::vector<std::string> values;
    std::vector<std::string> distinct;
    TypeRef backingType;
    backingType.builtin = type.backing;
    for (const Enumerator& enumerator : type.enumerators) {
        writeComment(&out, enumerator.comment);
        Value number;
        number.integer = enumerator.number;
        out.line(enumerator.name + " = " + cppValue(number, backingType) + ",");
        // Two names of one number are one case of a switch and one value of a range.
        if (numbers.insert(enumerator.number).second) {
            distinct.push_back(enumerator.name);
        }
        values.push_back(enumerator.name);
    }
    out.close("};");
    closeNamespace(&out, type.package);
    writeEnumTools(&out, type.package, type.name, backing, values, distinct);
    return out.text();
}

std::string Generator::enumSource(const TypeDecl& type) {
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    return out.text();
}

void Generator::generate(const TypeDecl& type, GeneratedFiles* files) {
    std::string* header = &files->headers[headerPath(type, type.name)];
    std::string* source = &files->sources[sourcePath(type)];
    switch (type.kind) {
        case TypeDecl::Kind::Interface:
            *header = interfaceHeader(type);
            files->headers[headerPath(type, "Bn" + baseName(type))] = nativeHeader(type);
            files->headers[headerPath(type, "Bp" + baseName(type))] = proxyHeader(type);
            *source = interfaceSource(type);
            break;
        case TypeDecl::Kind::Enum:
            *header = enumHeader(type);
            *source = enumSource(type);
            break;
        case TypeDecl::Kind::Parcelable:
        case TypeDecl::Kind::Union:
            *header = recordHeader(type);
            *source = recordSource(type);
            break;
    }
}

}  // namespace aidlc
