// SPDX-License-Identifier: Apache-2.0
#include "generator_enums.h"

#include <cstdint>
#include <set>

#include "cpp_types.h"
#include "generator_common.h"

namespace aidlc {

void writeEnumTools(CodeWriter* out, const TypeDecl& type, const std::string& name,
                    const std::string& backing, const std::vector<std::string>& values,
                    const std::vector<std::string>& distinct) {
    openNamespace(out, type);
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
    closeNamespace(out, type);
    const std::string typeName = cppName(type);
    const std::string qualified = typeName.substr(2, typeName.rfind("::")) + name;
    out->lines(R"(
namespace ndk {
namespace internal {
template <>
constexpr inline std::array<$NAME, $COUNT> enum_values<$NAME> = {
)",
               {{"$NAME", qualified}, {"$COUNT", std::to_string(values.size())}});
    for (const std::string& value : values) {
        out->line("  " + qualified + "::" + value + ",");
    }
    out->lines(R"(
};
}  // namespace internal
}  // namespace ndk
)");
}

std::string enumHeader(const TypeDecl& type) {
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    includeAll(&out, {"android/binder_enums.h", "array", "cstdint", "string"});
    openNamespace(&out, type);
    writeComment(&out, type.comment);
    const std::string backing = cppBuiltin(type.backing);
    out.open("enum class " + type.name + " : " + backing + " {");
    std::set<int64_t> numbers;
    std::vector<std::string> values;
    std::vector<std::string> distinct;
    for (const Enumerator& enumerator : type.enumerators) {
        writeComment(&out, enumerator.comment);
        out.line(enumerator.name + " = " + cppInteger(enumerator.number, type.backing) + ",");
        if (numbers.insert(enumerator.number).second) {
            distinct.push_back(enumerator.name);
        }
        values.push_back(enumerator.name);
    }
    out.close("};");
    closeNamespace(&out, type);
    writeEnumTools(&out, type, type.name, backing, values, distinct);
    return out.text();
}

std::string enumSource(const TypeDecl& type) {
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    return out.text();
}

}  // namespace aidlc
