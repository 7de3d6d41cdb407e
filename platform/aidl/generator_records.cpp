// SPDX-License-Identifier: Apache-2.0
#include "generator_records.h"

#include "cpp_types.h"
#include "generator_common.h"
#include "generator_unions.h"

namespace aidlc {
namespace {

void comparisons(CodeWriter* out, const TypeDecl& type) {
    std::string left;
    std::string right;
    for (const Variable& field : type.fields) {
        left += (left.empty() ? "" : ", ") + field.name;
        right += (right.empty() ? "_rhs." : ", _rhs.") + field.name;
    }
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    left = isUnion ? "_value" : "std::tie(" + left + ")";
    right = isUnion ? "_rhs._value" : "std::tie(" + right + ")";
    // Only == and < look at the fields; all values of a record without fields are equal.
    const bool isEmpty = type.fields.empty();
    for (const std::string op : {"==", "<"}) {
        const std::string compared = left + ' ' + op + ' ' + right;
        out->lines(R"(
inline bool operator$OP(const $TYPE&$NAME) const {
  return $COMPARED;
}
)",
                   {{"$OP", op},
                    {"$TYPE", type.name},
                    {"$NAME", isEmpty ? "" : " _rhs"},
                    {"$COMPARED", !isEmpty     ? compared
                                  : op == "==" ? "true"
                                               : "false"}});
    }
    out->lines(R"(
inline bool operator!=(const $TYPE& _rhs) const { return !(*this == _rhs); }
inline bool operator>(const $TYPE& _rhs) const { return _rhs < *this; }
inline bool operator<=(const $TYPE& _rhs) const { return !(_rhs < *this); }
inline bool operator>=(const $TYPE& _rhs) const { return !(*this < _rhs); }
)",
               {{"$TYPE", type.name}});
}

// A writer that knows fewer fields sends a smaller record: the rest keeps its defaults. One that
// knows more sends a larger one: what is left is skipped. A field that crosses the end is neither.
void readFields(CodeWriter* out, const TypeDecl& type) {
    out->lines(R"(
const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
int32_t _aidl_parcelable_size = 0;
binder_status_t _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_parcelable_size);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
if (_aidl_parcelable_size < 4) return STATUS_BAD_VALUE;
if (_aidl_start_pos > INT32_MAX - _aidl_parcelable_size) return STATUS_BAD_VALUE;
const int32_t _aidl_end_pos = _aidl_start_pos + _aidl_parcelable_size;
if (_aidl_end_pos > AParcel_getDataSize(_aidl_parcel)) return STATUS_BAD_VALUE;
)");
    if (!type.fields.empty()) {
        out->line("int32_t _aidl_pos = AParcel_getDataPosition(_aidl_parcel);");
    }
    for (const Variable& field : type.fields) {
        out->lines(R"(
if (_aidl_pos == _aidl_end_pos) return STATUS_OK;
_aidl_ret_status = $READ(_aidl_parcel, &$NAME);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
_aidl_pos = AParcel_getDataPosition(_aidl_parcel);
if (_aidl_pos > _aidl_end_pos) return STATUS_BAD_VALUE;
)",
                   {{"$READ", parcelFunction("read", field.type)}, {"$NAME", field.name}});
    }
    out->line("return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);");
}

void writeFields(CodeWriter* out, const TypeDecl& type) {
    out->lines(R"(
const int32_t _aidl_start_pos = AParcel_getDataPosition(_aidl_parcel);
binder_status_t _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, 0);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
)");
    for (const Variable& field : type.fields) {
        out->lines(R"(
_aidl_ret_status = $WRITE(_aidl_parcel, $NAME);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
)",
                   {{"$WRITE", parcelFunction("write", field.type)}, {"$NAME", field.name}});
    }
    out->lines(R"(
const int32_t _aidl_end_pos = AParcel_getDataPosition(_aidl_parcel);
_aidl_ret_status = AParcel_setDataPosition(_aidl_parcel, _aidl_start_pos);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
_aidl_ret_status = AParcel_writeInt32(_aidl_parcel, _aidl_end_pos - _aidl_start_pos);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
return AParcel_setDataPosition(_aidl_parcel, _aidl_end_pos);
)");
}

void fieldsToString(CodeWriter* out, const TypeDecl& type) {
    out->line("std::string _aidl_text = \"" + type.name + "{\";");
    std::string separator;
    for (const Variable& field : type.fields) {
        out->lines(R"(
_aidl_text += "$SEPARATOR$NAME: ";
_aidl_text += ::android::internal::ToString($NAME);
)",
                   {{"$SEPARATOR", separator}, {"$NAME", field.name}});
        separator = ", ";
    }
    out->lines(R"(
_aidl_text += '}';
return _aidl_text;
)");
}

}  // namespace

std::string recordHeader(const TypeDecl& type) {
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    CodeWriter out;
    writeBanner(&out);
    out.line("#pragma once");
    out.line();
    includeAll(&out, {"android/binder_auto_utils.h", "android/binder_enums.h",
                      "android/binder_interface_utils.h", "android/binder_parcel.h",
                      "android/binder_parcelable_utils.h", "android/binder_status.h"});
    includeAll(&out,
               {"array", "cstdint", "cstdio", "cstdlib", "initializer_list", "memory", "optional",
                "string", "tuple", "type_traits", "utility", "variant", "vector"});
    includeUsedTypes(&out, type);
    openNamespace(&out, type);
    writeComment(&out, type.comment);
    out.open("class " + type.name + " {");
    out.label("public:");
    out.line("typedef std::false_type fixed_size;");
    out.line("static const char* descriptor;");
    out.line();
    if (isUnion) {
        unionMembers(&out, type);
    } else {
        for (const Variable& field : type.fields) {
            writeComment(&out, field.comment);
            out.line(cppType(field.type) + " " + field.name + cppInitialiser(field) + ";");
        }
    }
    out.lines(R"(

binder_status_t readFromParcel(const AParcel* _aidl_parcel);
binder_status_t writeToParcel(AParcel* _aidl_parcel) const;

)");
    comparisons(&out, type);
    out.lines(R"(

static constexpr ::ndk::parcelable_stability_t _aidl_stability = ::ndk::$STABILITY;
)",
              {{"$STABILITY", isVintfStable(type) ? "STABILITY_VINTF" : "STABILITY_LOCAL"}});
    writeConstants(&out, type);
    out.line("std::string toString() const;");
    if (isUnion) {
        out.line();
        out.label("private:");
        out.line(variantType(type) + " _value;");
    }
    out.close("};");
    closeNamespace(&out, type);
    if (isUnion) {
        writeTagTools(&out, type);
    }
    return out.text();
}

std::string recordSource(const TypeDecl& type) {
    const bool isUnion = type.kind == TypeDecl::Kind::Union;
    CodeWriter out;
    writeBanner(&out);
    out.line("#include \"" + headerPath(type, type.name) + "\"");
    out.line();
    includeAll(&out, {"android/binder_parcel_utils.h", "android/binder_to_string.h"});
    openNamespace(&out, type);
    out.line("const char* " + type.name + "::descriptor = \"" + type.qualifiedName() + "\";");
    out.line();
    out.open("binder_status_t " + type.name + "::readFromParcel(const AParcel* _aidl_parcel) {");
    (isUnion ? writeUnionRead : readFields)(&out, type);
    out.close("}");
    out.line();
    out.open("binder_status_t " + type.name + "::writeToParcel(AParcel* _aidl_parcel) const {");
    (isUnion ? writeUnionWrite : writeFields)(&out, type);
    out.close("}");
    out.line();
    out.open("std::string " + type.name + "::toString() const {");
    (isUnion ? writeUnionToString : fieldsToString)(&out, type);
    out.close("}");
    closeNamespace(&out, type);
    return out.text();
}

}  // namespace aidlc
