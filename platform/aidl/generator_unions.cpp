// SPDX-License-Identifier: Apache-2.0
#include "generator_unions.h"

#include <vector>

#include "cpp_types.h"
#include "generator_common.h"
#include "generator_enums.h"

namespace aidlc {
namespace {

// The first member as a new union holds it.
std::string initialMember(const Variable& first) {
    const std::string initialiser = cppInitialiser(first);
    if (initialiser.empty()) {
        return cppType(first.type) + "{}";
    }
    const std::string value = initialiser.substr(sizeof(" = ") - 1);
    return cppType(first.type) + (value[0] == '{' ? value : '(' + value + ')');
}

}  // namespace

std::string variantType(const TypeDecl& type) {
    std::string text;
    for (const Variable& field : type.fields) {
        text += (text.empty() ? "" : ", ") + cppType(field.type);
    }
    return "std::variant<" + text + ">";
}

void unionMembers(CodeWriter* out, const TypeDecl& type) {
    out->open("enum class Tag : int32_t {");
    for (size_t i = 0; i < type.fields.size(); ++i) {
        writeComment(out, type.fields[i].comment);
        out->line(type.fields[i].name + " = " + std::to_string(i) + ",");
    }
    out->close("};");
    out->line();
    for (const Variable& field : type.fields) {
        out->line("static constexpr Tag " + field.name + " = Tag::" + field.name + ";");
    }
    out->lines(R"(

// A new union holds its first member.
$TYPE() : _value(std::in_place_index<0>, $INITIAL) {}

template <typename _Tp>
static constexpr bool _not_self = !std::is_same_v<std::remove_cv_t<std::remove_reference_t<_Tp>>, $TYPE>;

template <typename _Tp, typename = std::enable_if_t<_not_self<_Tp> &&
    std::is_constructible_v<$VARIANT, _Tp>>>
// NOLINTNEXTLINE(google-explicit-constructor)
constexpr $TYPE(_Tp&& _arg) : _value(std::forward<_Tp>(_arg)) {}

template <size_t _Np, typename... _Tp>
constexpr explicit $TYPE(std::in_place_index_t<_Np>, _Tp&&... _args)
    : _value(std::in_place_index<_Np>, std::forward<_Tp>(_args)...) {}

template <Tag _tag, typename... _Tp>
static $TYPE make(_Tp&&... _args) {
  return $TYPE(std::in_place_index<static_cast<size_t>(_tag)>, std::forward<_Tp>(_args)...);
}
template <Tag _tag, typename _Tp, typename... _Up>
static $TYPE make(std::initializer_list<_Tp> _il, _Up&&... _args) {
  return $TYPE(std::in_place_index<static_cast<size_t>(_tag)>, _il, std::forward<_Up>(_args)...);
}

Tag getTag() const { return static_cast<Tag>(_value.index()); }

// The member _tag, which must be the present one: else the process aborts.
template <Tag _tag>
const auto& get() const {
  if (getTag() != _tag) _aidl_wrong_tag();
  return *std::get_if<static_cast<size_t>(_tag)>(&_value);
}
template <Tag _tag>
auto& get() {
  if (getTag() != _tag) _aidl_wrong_tag();
  return *std::get_if<static_cast<size_t>(_tag)>(&_value);
}

template <Tag _tag, typename... _Tp>
void set(_Tp&&... _args) {
  _value.template emplace<static_cast<size_t>(_tag)>(std::forward<_Tp>(_args)...);
}
[[noreturn]] static void _aidl_wrong_tag() {
  std::fputs("$TYPE: bad access: a wrong tag\n", stderr);
  std::abort();
}
)",
               {{"$TYPE", type.name},
                {"$VARIANT", variantType(type)},
                {"$INITIAL", initialMember(type.fields[0])}});
}

void writeTagTools(CodeWriter* out, const TypeDecl& type) {
    std::vector<std::string> tags;
    for (const Variable& field : type.fields) {
        tags.push_back(field.name);
    }
    writeEnumTools(out, type, type.name + "::Tag", "int32_t", tags, tags);
}

void writeUnionRead(CodeWriter* out, const TypeDecl& type) {
    out->lines(R"(
int32_t _aidl_tag = 0;
binder_status_t _aidl_ret_status = AParcel_readInt32(_aidl_parcel, &_aidl_tag);
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
switch (static_cast<Tag>(_aidl_tag)) {
)");
    for (const Variable& field : type.fields) {
        out->lines(R"(
  case Tag::$NAME: {
    $TYPE _aidl_value{};
    _aidl_ret_status = $READ(_aidl_parcel, &_aidl_value);
    if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
    set<Tag::$NAME>(std::move(_aidl_value));
    return STATUS_OK;
  }
)",
                   {{"$NAME", field.name},
                    {"$TYPE", cppType(field.type)},
                    {"$READ", parcelFunction("read", field.type)}});
    }
    out->lines(R"(
}
return STATUS_BAD_VALUE;
)");
}

void writeUnionWrite(CodeWriter* out, const TypeDecl& type) {
    out->lines(R"(
const binder_status_t _aidl_ret_status = AParcel_writeInt32(_aidl_parcel, static_cast<int32_t>(getTag()));
if (_aidl_ret_status != STATUS_OK) return _aidl_ret_status;
switch (getTag()) {
)");
    for (const Variable& field : type.fields) {
        out->lines(R"(
  case Tag::$NAME:
    return $WRITE(_aidl_parcel, get<Tag::$NAME>());
)",
                   {{"$NAME", field.name}, {"$WRITE", parcelFunction("write", field.type)}});
    }
    out->lines(R"(
}
return STATUS_BAD_VALUE;
)");
}

void writeUnionToString(CodeWriter* out, const TypeDecl& type) {
    out->line("std::string _aidl_text = \"" + type.name + "{\";");
    out->line("switch (getTag()) {");
    for (const Variable& field : type.fields) {
        out->lines(R"(
  case Tag::$NAME:
    _aidl_text += "$NAME: ";
    _aidl_text += ::android::internal::ToString(get<Tag::$NAME>());
    break;

)",
                   {{"$NAME", field.name}});
    }
    out->lines(R"(
}
_aidl_text += '}';
return _aidl_text;
)");
}

}  // namespace aidlc
