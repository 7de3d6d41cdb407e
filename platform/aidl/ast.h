// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "diagnostics.h"

// What an AIDL file says, as the parser reads it. Members under "resolved" are filled in by
// TypeTable, Evaluator and checkDocuments; everything else by the parser. Pointers to declarations
// never own: all documents live in one TypeTable, which outlives every use.
namespace aidlc {

struct Document;
struct Enumerator;
struct TypeDecl;
struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

// A constant expression.
struct Expression {
    enum class Kind { Integer, Real, Character, String, Boolean, Reference, Unary, Binary, Array };

    Kind kind = Kind::Integer;
    Location at;
    std::string text;  // the literal, the dotted name of a reference, or the operator
    std::vector<ExpressionPtr> operands;
    int depth = 1;
};

// What a constant expression evaluates to.
struct Value {
    enum class Kind { Boolean, Character, Integer, Real, String, Enumerator, Array };

    Kind kind = Kind::Integer;
    bool isLong = false;                     // of an Integer: 64 bits wide, else 32
    int64_t integer = 0;                     // of Boolean, Character, Integer and Enumerator
    double real = 0;                         // of Real
    std::string text;                        // of String
    const TypeDecl* enumType = nullptr;      // of Enumerator
    const Enumerator* enumerator = nullptr;  // of Enumerator
    std::vector<Value> items;                // of Array

    bool isInteger() const { return kind == Kind::Integer || kind == Kind::Enumerator; }
};

struct Annotation {
    Location at;
    std::string name;        // without '@'
    std::string parameters;  // in normal form, as in `type="int"`; empty without any
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
    std::vector<TypeRef> arguments;  // of List<T>: the one type in it
    Array array = Array::None;
    ExpressionPtr size;  // of a fixed-size array

    // resolved
    Builtin builtin = Builtin::None;
    const TypeDecl* decl = nullptr;  // of a declared type
    int64_t fixedSize = 0;

    bool isNullable() const;
    bool isEnum() const;
    bool isInterface() const;
    bool isRecord() const;
    // T[] and List<T>, which travel alike.
    bool isVector() const { return array == Array::Dynamic || builtin == Builtin::List; }
    bool isArray() const { return isVector() || array == Array::Fixed; }
    // The type of one item: the argument of a List, else the type without its array mark.
    const TypeRef& item() const { return builtin == Builtin::List ? arguments[0] : *this; }
    // Boolean, byte, char, int, long, float, double: what has no null. Ignores array marks.
    bool isPrimitive() const { return builtin >= Builtin::Boolean && builtin <= Builtin::Double; }
    // A single number, boolean or enum value.
    bool isScalar() const { return !isArray() && (isPrimitive() || isEnum()); }
};

// A constant, or a field of a parcelable or union.
struct Variable {
    Location at;
    std::string comment;
    TypeRef type;
    std::string name;
    ExpressionPtr initial;  // of a constant, or a field's default; null without one

    // resolved
    enum class State { New, UnderWay, Done };
    State state = State::New;
    std::optional<Value> value;  // of `initial`
};

struct Enumerator {
    Location at;
    std::string comment;
    std::string name;
    ExpressionPtr initial;  // null: one more than the enumerator before, or 0

    // resolved
    bool isNumbered = false;
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

// The position in the interface decides the transaction code.
struct Method {
    Location at;
    std::string comment;
    bool oneway = false;  // also set when the whole interface is
    TypeRef result;
    std::string name;
    std::vector<Argument> arguments;
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
    std::vector<Variable> constants;
    std::vector<Method> methods;
    std::vector<Variable> fields;
    std::vector<Enumerator> enumerators;

    // resolved
    const Document* document = nullptr;
    Builtin backing = Builtin::Byte;  // of an enum
    bool isNumbered = false;  // of an enum: its enumerators have been numbered, or are being

    std::string qualifiedName() const { return package + '.' + name; }
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

inline bool isVintfStable(const TypeDecl& decl) {
    return findAnnotation(decl.annotations, "VintfStability") != nullptr;
}

inline bool TypeRef::isNullable() const {
    return findAnnotation(annotations, "nullable") != nullptr;
}
inline bool TypeRef::isEnum() const {
    return decl != nullptr && decl->kind == TypeDecl::Kind::Enum;
}
inline bool TypeRef::isInterface() const {
    return decl != nullptr && decl->kind == TypeDecl::Kind::Interface;
}
inline bool TypeRef::isRecord() const {
    return decl != nullptr && !isEnum() && !isInterface();
}

}  // namespace aidlc
