// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ast.h"

// How AIDL types, names and values look in C++ with the NDK backend.
namespace aidlc {

// "::aidl::a::b::Name".
std::string cppName(const TypeDecl& decl);
// "a/b/".
std::string folderOf(const TypeDecl& decl);
// "aidl/a/b/<className>.h".
std::string headerPath(const TypeDecl& decl, const std::string& className);
// IFoo is Foo; the generated classes are BnFoo and BpFoo.
std::string baseName(const TypeDecl& interface);

// byte is int8_t, long is int64_t.
std::string cppBuiltin(Builtin builtin);
std::string cppType(const TypeRef& type);
// As an in argument: scalars by value, the rest by const reference.
std::string cppParameterType(const TypeRef& type);

// A value as an initialiser of `type`.
std::string cppValue(const Value& value, const TypeRef& type);
// A value of an integer type.
std::string cppInteger(int64_t value, Builtin builtin);
// " = value", of the field's default or else its type's zero; empty where the type needs none.
std::string cppInitialiser(const Variable& field);

// "::ndk::AParcel_readData", "::ndk::AParcel_readNullableData", … for `verb` "read" or "write".
std::string parcelFunction(const std::string& verb, const TypeRef& type);

// All declared types that `decl` needs, itself not among them, in order of their full names.
std::vector<const TypeDecl*> usedTypes(const TypeDecl& decl);

}  // namespace aidlc
