// SPDX-License-Identifier: Apache-2.0
// Parcelables, and what unions share with them.
#include "cpp_types.h"
#include "generator.h"

namespace aidlc {
namespace {

void comparisons(CodeWriter* out, const TypeDecl& type) {
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    std::string left;
    std::string right;
    for (const Field& field : type.fields) {
        left += (left.empty() ? "" : ", ") + field.name;
        right += (right.empty() ? "_rhs." : ", _rhs.") + field.name;
    }
    left = isUnion ? "_value" : "std::tie(" + left + ")";
    right = isUnion ? "_rhs._value" : "std::tie(" + right + ")";
    // Only == and < look at the fields; all values of a record without fields are equal.
    for (const std::string op : {"==", "<"}) {
        const bool isEmpty = type.fields.empty();
        out->open("inline bool operator" + op + "(const " + type.name + "&" +
                  (isEmpty ? "" : " _rhs") + ") const {");
        out->line(isEmpty ? std::string("return ") + (op == "==" ? "true;" : "false;")
                          : "return " + left + " " + op + " " + right + ";");
        out->close("}");
    }
    const std::pair<const char*, const char*> derived[] = {
        {"!=", "!(*this == _rhs)"},
        {">", "_rhs < *this"},
        {"<=", "!(_rhs < *this)"},
        {">=", "!(*this < _rhs)"},
    };
    for (const auto& [op, text] : derived) {
        out->line(std::string("inline bool operator") + op + "(const " + type.name +
                  "& _rhs) const { return " + text + "; }");
    }
}

// A writer that knows fewer fields sends a smaller record: the rest keeps its defaults. One that
// knows more sends a larger one: what is left is skipped. A field that crosses the end is neither.
void readFields(CodeWriter* out, const TypeDecl& type) {
    out->line("const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);");
    out->line("int32_t _aidl_parcelable_size = 0;");
    out->line(
        "binder_status_t _aidl_ret_status = AParcel_readInt32(_aidl_parcel, "
        "&_aidl_parcelable_size);");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    out->line("if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;");
    out->line("if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;");
    out->line("const int32_t _aidl_end_pos = _aidl_start_pos + _aidl_parcelable_size;");
    out->line("if (_aidl_end_pos > AParcel_getDataSize(_aidl_parcel)) return STATUS_BAD_VALUE;");
    if (!type.fields.empty()) {
        out->line("int32_t _aidl_pos = AParcel_getDataPosition(_aidl_parcel);");
    }
    for (const Field& field : type.fields) {
        out->line("if (_aidl_pos == _aidl_end_pos) return STATUS_OK;");
        out->line("_aidl_ret_status = " + parcelFunction("read", field.type) + "(_aidl_parcel, &" +
                  field.name + ");");
        out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
        out->line("_aidl_pos = AParcel_getDataPosition(_aidl_parcel);");
        out->line("if (_aidl_pos > _aidl_end_pos) return STATUS_BAD_VALUE;");
    }
    out->line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
}

void writeFields(CodeWriter* out, const TypeDecl& type) {
    out->line("const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);");
    out->line("binder_status_t _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    for (const Field& field : type.fields) {
        out->line("_aidl_ret_status = " + parcelFunction("write", field.type) + "(_aidl_parcel, " +
                  field.name + ");");
        out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    }
    out->line("const int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);");
    out->line("_aidl_ret_status = AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    out->line(
        "_aidl_ret_status = AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - "
        "_aidl_start_pos);");
    out->line("if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;");
    out->line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
}

void fieldsToString(CodeWriter* out, const TypeDecl& type) {
    out->line("std::string _aidl_text = \"" + type.name + "{\";");
    std::string separator;
    for (const Field& field : type.fields) {
        out->line("_aidl_text += \"" + separator + field.name + ": \";");
        out->line("_aidl_text += ::android::internal::ToString(" + field.name + ");");
        separator = ", ";
    }
    out->line("_aidl_text += '}';");
    out->line("return _aidl_text;");
}

}  // namespace

void Generator::parcelableMembers(CodeWriter* out, const TypeDecl& type) {
    for (const Field& field : type.fields) {
        writeComment(out, field.comment);
        out->line(cppType(field.type) + " " + field.name + initialiser(type, field) + ";");
    }
}

std::string Generator::recordHeader(const TypeDecl& type) {
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    for (const char* header : {"android/binder_auto_utils.h", "android/binder_enums.h",
                               "android/binder_interface_utils.h", "android/binder_parcel.h",
                               "android/binder_parcelable_utils.h", "android/binder_status.h"}) {
        out.line(std::string("#include <") + header + ">");
    }
    out.line();
    for (const char* header :
         {"array", "cstdint", "cstdio", "cstdlib", "initializer_list", "memory", "optional",
          "string", "tuple", "type_traits", "utility", "variant", "vector"}) {
        out.line(std::string("#include <") + header + ">");
    }
    out.line();
    includeUsedTypes(&out, type);
    forwardDeclareUsedTypes(&out, type);
    openNamespace(&out, type.package);
    writeComment(&out, type.comment);
    out.open("class " + type.name + " {");
    out.outer("public:");
    out.line("typedef std::false_type fixed_size;");
    out.line("static const char* descriptor;");
    out.line();
    if (isUnion) {
        unionMembers(&out, type);
    } else {
        parcelableMembers(&out, type);
    }
    out.line();
    out.line("binder_status_t readFromParcel(const AParcel* _aidl_parcel);");
    out.line("binder_status_t writeToParcel(AParcel* _aidl_parcel) const;");
    out.line();
    comparisons(&out, type);
    out.line();
    out.line(
        std::string("static constexpr ::ndk::parcelable_stability_t _aidl_stability = ::ndk::") +
        (isVintfStable(type) ? "STABILITY_VINTF;" : "STABILITY_LOCAL;"));
    constants(&out, type);
    out.line("std::string toString() const;");
    if (isUnion) {
        out.line();
        out.outer("private:");
        out.line(variantType(type) + " _value;");
    }
    out.close("};");
    closeNamespace(&out, type.package);
    if (isUnion) {
        std::vector<std::string> tags;
        for (const Field& field : type.fields) {
            tags.push_back(field.name);
        }
        writeEnumTools(&out, type.package, type.name + "::Tag", "int32_t", tags, tags);
    }
    return out.text();
}

std::string Generator::recordSource(const TypeDecl& type) {
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    out.line();
    out.line("#include <android/binder_parcel_utils.h>");
    out.line("#include <android/binder_to_string.h>");
    out.line();
    openNamespace(&out, type.package);
    out.line("const char* " + type.name + "::descriptor = \"" + type.qualifiedName() + "\";");
    out.line();
    out.open("binder_status_t " + type.name + "::readFromParcel(const AParcel* _aidl_parcel) {");
    if (isUnion) {
        writeUnionRead(&out, type);
    } else {
        readFields(&out, type);
    }
    out.close("}");
    out.line();
    out.open("binder_status_t " + type.name + "::writeToParcel(AParcel* _aidl_parcel) const {");
    if (isUnion) {
        writeUnionWrite(&out, type);
    } else {
        writeFields(&out, type);
    }
    out.close("}");
    out.line();
    out.open("std::string " + type.name + "::toString() const {");
    if (isUnion) {
        writeUnionToString(&out, type);
    } else {
        fieldsToString(&out, type);
    }
    out.close("}");
    closeNamespace(&out, type.package);
    return out.text();
}

}  // namespace aidlc
