// SPDX-License-Identifier: Apache-2.0
#include "cpp_types.h"
#include "generator.h"

namespace aidlc {

std::string variantType(const TypeDecl& type) {
    std::string text;
    for (const Field& field : type.fields) {
        text += (text.empty() ? "" : ", ") + cppType(field.type);
    }
    return "std::variant<" + text + ">";
}

void Generator::unionMembers(CodeWriter* out, const TypeDecl& type) {
    const std::string& name = type.name;
    out->open("enum class Tag : int32_t {");
    for (size_t i = 0; i < type.fields.size(); ++i) {
        writeComment(out, type.fields[i].comment);
        out->line(type.fields[i].name + " = " + std::to_string(i) + ",");
    }
    out->close("};");
    out->line();
    for (const Field& field : type.fields) {
        out->line("static constexpr Tag " + field.name + " = Tag::" + field.name + ";");
    }
    out->line();
    const Field& first = type.fields[0];
    std::string initial = initialiser(type, first);
    if (initial.rfind(" = ", 0) == 0) {
        initial.erase(0, 3);
    }
    if (initial.empty() || initial[0] == '{') {
        initial = cppType(first.type) + (initial.empty() ? "{}" : initial);
    } else {
        initial = cppType(first.type) + "(" + initial + ")";
    }
    out->line("// A new union holds its first member.");
    out->line(name + "() : _value(std::in_place_index<0>, " + initial + ") {}");
    out->line();
    out->line("template <typename _Tp>");
    out->line(
        "static constexpr bool _not_self = "
        "!std::is_same_v<std::remove_cv_t<std::remove_reference_t<_Tp>>, " +
        name + ">;");
    out->line();
    out->line("template <typename _Tp, typename = std::enable_if_t<_not_self<_Tp> &&");
    out->line("    std::is_constructible_v<" + variantType(type) + ", _Tp>>>");
    out->line("// NOLINTNEXTLINE(google-explicit-constructor)");
    out->line("constexpr " + name + "(_Tp&& _arg) : _value(std::forward<_Tp>(_arg)) {}");
    out->line();
    out->line("template <size_t _Np, typename... _Tp>");
    out->line("constexpr explicit " + name + "(std::in_place_index_t<_Np>, _Tp&&... _args)");
    out->line("    : _value(std::in_place_index<_Np>, std::forward<_Tp>(_args)...) {}");
    out->line();
    out->line("template <Tag _tag, typename... _Tp>");
    out->open("static " + name + " make(_Tp&&... _args) {");
    out->line("return " + name +
              "(std::in_place_index<static_cast<size_t>(_tag)>, "
              "std::forward<_Tp>(_args)...);");
    out->close("}");
    out->line("template <Tag _tag, typename _Tp, typename... _Up>");
    out->open("static " + name + " make(std::initializer_list<_Tp> _il, _Up&&... _args) {");
    out->line("return " + name +
              "(std::in_place_index<static_cast<size_t>(_tag)>, _il, "
              "std::forward<_Up>(_args)...);");
    out->close("}");
    out->line();
    out->line("Tag getTag() const { return static_cast<Tag>(_value.index()); }");
    out->line();
    out->line("// The member _tag, which must be the present one: else the process aborts.");
    out->line("template <Tag _tag>");
    out->open("const auto& get() const {");
    out->line("if (getTag() != _tag) _aidl_wrong_tag();");
    out->line("return *std::get_if<static_cast<size_t>(_tag)>(&_value);");
    out->close("}");
    out->line("template <Tag _tag>");
    out->open("auto& get() {");
    out->line("if (getTag() != _tag) _aidl_wrong_tag();");
    out->line("return *std::get_if<static_cast<size_t>(_tag)>(&_value);");
    out->close("}");
    out->line();
    out->line("template <Tag _tag, typename... _Tp>");
    out->open("void set(_Tp&&... _args) {");
    out->line("_value.template emplace<static_cast<size_t>(_tag)>(std::forward<_Tp>(_args)...);");
    out->close("}");
    out->open("[[noreturn]] static void _aidl_wrong_tag() {");
    out->line("std::fputs(\"" + name + ": bad access: a wrong tag\\n\", stderr);");
    out->line("std::abort();");
    out->close("}");
}

void writeUnionRead(CodeWriter* out, const TypeDecl& type) {
    out->line("int32_t _aidl_tag = 0;");
    out->line("binder_status_t _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_tag);");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    out->open("switch (static_cast<Tag>(_aidl_tag)) {");
    for (const Field& field : type.fields) {
        out->open("case Tag::" + field.name + ": {");
        out->line(cppType(field.type) + " _aidl_value{};");
        out->line("_aidl_ret_status = " + parcelFunction("read", field.type) +
                  "(_aidl_parcel, &_aidl_value);");
        out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
        out->line("set<Tag::" + field.name + ">(std::move(_aidl_value));");
        out->line("return STATUS_OK;");
        out->close("}");
    }
    out->close("}");
    out->line("return STATUS_BAD_VALUE;");
}

void writeUnionWrite(CodeWriter* out, const TypeDecl& type) {
    out->line(
        "const binder_status_t _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, "
        "static_cast<int32_t>(getTag()));");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    out->open("switch (getTag()) {");
    for (const Field& field : type.fields) {
        out->line("case Tag::" + field.name + ":");
        out->line("  return " + parcelFunction("write", field.type) +
                  "(_aidl_parcel, get<Tag::" + field.name + ">());");
    }
    out->close("}");
    out->line("return STATUS_BAD_VALUE;");
}

void writeUnionToString(CodeWriter* out, const TypeDecl& type) {
    out->line("std::string _aidl_text = \"" + type.name + "{\";");
    out->open("switch (getTag()) {");
    for (const Field& field : type.fields) {
        out->open("case Tag::" + field.name + ":");
        out->line("_aidl_text += \"" + field.name + ": \";");
        out->line("_aidl_text += ::android::internal::ToString(get<Tag::" + field.name + ">());");
        out->line("break;");
        out->close("");
    }
    out->close("}");
    out->line("_aidl_text += '}';");
    out->line("return _aidl_text;");
}

}  // namespace aidlc
