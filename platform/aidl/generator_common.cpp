// SPDX-License-Identifier: Apache-2.0
#include "generator_common.h"

#include <algorithm>
#include <vector>

#include "cpp_types.h"

namespace aidlc {
namespace {

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= text.size()) {
        const size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return parts;
}

}  // namespace

void writeBanner(CodeWriter* out) {
    out->lines(R"(
// This file is generated from an .aidl file by the AIDL compiler. Do not edit it: change
// the .aidl file and build again.
)");
}

void includeAll(CodeWriter* out, std::initializer_list<const char*> headers) {
    for (const char* header : headers) {
        out->line(std::string("#include <") + header + ">");
    }
    out->line();
}

void includeUsedTypes(CodeWriter* out, const TypeDecl& type) {
    const std::vector<const TypeDecl*> all = usedTypes(type);
    for (const TypeDecl* used : all) {
        out->line("#include \"" + headerPath(*used, used->name) + "\"");
    }
    // Two headers that include each other need the names before the classes.
    for (const TypeDecl* used : all) {
        if (used->kind != TypeDecl::Kind::Enum) {
            const std::string name = cppName(*used);
            out->line("namespace " + name.substr(2, name.rfind("::") - 2) + " { class " +
                      used->name + "; }");
        }
    }
}

void writeComment(CodeWriter* out, const std::string& comment) {
    if (comment.empty()) {
        return;
    }
    for (const std::string& line : split(comment, '\n')) {
        const size_t first = std::min(line.find_first_not_of(" \t\r"), line.size());
        const size_t last = line.find_last_not_of(" \t\r") + 1;
        const std::string text = line.substr(first, std::max(first, last) - first);
        out->line(text.starts_with('*') ? ' ' + text : text);
    }
}

void openNamespace(CodeWriter* out, const TypeDecl& type) {
    for (const std::string& part : split("aidl." + type.package, '.')) {
        out->line("namespace " + part + " {");
    }
}

void closeNamespace(CodeWriter* out, const TypeDecl& type) {
    const auto parts = split("aidl." + type.package, '.');
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        out->line("}  // namespace " + *part);
    }
}

void writeConstants(CodeWriter* out, const TypeDecl& type) {
    for (const Variable& constant : type.constants) {
        writeComment(out, constant.comment);
        const Builtin builtin = constant.type.builtin;
        const std::string name =
            ' ' + constant.name + " = " + cppValue(*constant.value, constant.type);
        if (builtin == Builtin::Byte || builtin == Builtin::Int || builtin == Builtin::Long) {
            out->line("enum : " + cppBuiltin(builtin) + " {" + name + " };");
        } else {
            out->line("static constexpr " +
                      (builtin == Builtin::String ? "const char*" : cppBuiltin(builtin)) + name +
                      ";");
        }
    }
}

}  // namespace aidlc
