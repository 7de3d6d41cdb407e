// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "diagnostics.h"

// What an AIDL file says, as the parser reads it. Members under "resolved" are filled in by
// TypeTable and checkDocument; everything else by the parser. Pointers to declarations never own:
// all documents live in one TypeTable, which outlives every use.
namespace aidlc {

struct Document;
struct TypeDecl;
struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

// A constant expression.
struct Expression {
    enum class Kind { Integer, Float, Character, String, Boolean, Reference, Unary, Binary, Array };

    // Deeper trees than this are refused when parsed, so that walking one by recursion is safe.
    static constexpr int kMaxDepth = 100;

    Kind kind = Kind::Integer;
    Location at;
    std::string text;  // the literal, the dotted name of a reference, or the operator
    std::vector<ExpressionPtr> operands;
    int depth = 1;
};

struct Annotation {
    Location at;
    std::string name;  // without '@'
    std::vector<std::pair<std::string, ExpressionPtr>> parameters;
};

enum class Builtin {
    None,
    Void,
    Boolean,
    Byte,
    Char,
    Int,
    Long,
    Float,
    Double,
    String,
    Binder,
    FileDescriptor,
    List,
};

struct TypeRef {
    enum class Array { None, Dynamic, Fixed };

    Location at;
    std::vector<Annotation> annotations;
    std::string name;                // as written: simple or dotted
    std::vector<TypeRef> arguments;  // of List<...>
    Array array = Array::None;
    ExpressionPtr size;  // of a fixed-size array

    // resolved
    Builtin builtin = Builtin::None;
    const TypeDecl* decl = nullptr;  // of a declared type
    int64_t fixedSize = 0;

    bool isNullable() const;
    // T[] and List<T>, which travel alike.
    bool isVector() const { return array == Array::Dynamic || builtin == Builtin::List; }
    // The type of one item: the argument of a List, else the type without its array mark.
    const TypeRef& item() const { return builtin == Builtin::List ? arguments[0] : *this; }
    // Boolean, byte, char, int, long, float, double: what has no null. Says nothing of array marks.
    bool isPrimitive() const { return builtin >= Builtin::Boolean && builtin <= Builtin::Double; }
};

struct Constant {
    Location at;
    std::string comment;
    std::vector<Annotation> annotations;
    TypeRef type;
    std::string name;
    ExpressionPtr value;
};

struct Field {
    Location at;
    std::string comment;
    TypeRef type;
    std::string name;
    ExpressionPtr value;  // the default; null without one
};

struct Enumerator {
    Location at;
    std::string comment;
    std::vector<Annotation> annotations;
    std::string name;
    ExpressionPtr value;  // null: one more than the enumerator before, or 0

    // resolved
    int64_t number = 0;
};

struct Argument {
    enum class Direction { In, Out, InOut };

    Location at;
    Direction direction = Direction::In;
    bool hasDirection = false;
    TypeRef type;
    std::string name;

    bool isIn() const { return direction != Direction::Out; }
    bool isOut() const { return direction != Direction::In; }
};

struct Method {
    Location at;
    std::string comment;
    std::vector<Annotation> annotations;
    bool oneway = false;  // resolved: also set when the whole interface is
    TypeRef result;
    std::string name;
    std::vector<Argument> arguments;
    ExpressionPtr idValue;  // null without an explicit id

    // resolved
    int64_t id = 0;
};

struct TypeDecl {
    enum class Kind { Interface, Parcelable, Union, Enum };

    Kind kind = Kind::Interface;
    Location at;
    std::string comment;
    std::vector<Annotation> annotations;
    std::string package;
    std::string name;
    bool oneway = false;
    std::vector<Constant> constants;
    std::vector<Method> methods;
    std::vector<Field> fields;
    std::vector<Enumerator> enumerators;

    // resolved
    const Document* document = nullptr;
    Builtin backing = Builtin::Byte;  // of an enum

    std::string qualifiedName() const { return package + '.' + name; }
    bool isRecord() const { return kind == Kind::Parcelable || kind == Kind::Union; }
};

struct Import {
    Location at;
    std::string name;  // dotted
};

struct Document {
    std::string path;
    std::string package;
    std::vector<Import> imports;
    std::unique_ptr<TypeDecl> type;
};

inline const Annotation* findAnnotation(const std::vector<Annotation>& annotations,
                                        std::string_view name) {
    for (const Annotation& annotation : annotations) {
        if (annotation.name == name) {
            return &annotation;
        }
    }
    return nullptr;
}

inline bool TypeRef::isNullable() const {
    return findAnnotation(annotations, "nullable") != nullptr;
}

inline bool isVintfStable(const TypeDecl& decl) {
    return findAnnotation(decl.annotations, "VintfStability") != nullptr;
}

// "interface", "parcelable", "union" or "enum".
inline const char* kindName(TypeDecl::Kind kind) {
    constexpr const char* kNames[] = {"interface", "parcelable", "union", "enum"};
    return kNames[static_cast<size_t>(kind)];
}

}  // namespace aidlc
