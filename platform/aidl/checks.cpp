// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "constants.h"
#include "names.h"

namespace aidlc {
namespace {

// In front of a declaration, and in front of a type in use. Those for other languages than C++ are
// accepted, for a file may serve several.
constexpr std::string_view kOfDeclarations[] = {"VintfStability", "Backing", "JavaDerive",
                                                "RustDerive"};
constexpr std::string_view kOfTypes[] = {"nullable", "utf8InCpp"};

template <size_t N>
bool isOneOf(const std::string_view (&names)[N], const std::string& name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

class Checker {
  public:
    Checker(Evaluator* evaluator, Diagnostics* diagnostics)
        : mEvaluator(*evaluator), mDiagnostics(*diagnostics) {}

    void check(TypeDecl* type) {
        annotations(type->annotations, true);
        checkName(type->at, type->name, NameKind::Type, &mDiagnostics);
        packageName(*type);
        if (findAnnotation(type->annotations, "Backing") != nullptr &&
            type->kind != TypeDecl::Kind::Enum) {
            mDiagnostics.error(type->at, "only an enum has a @Backing type; remove the annotation");
        }
        mNames.clear();
        for (Variable& constant : type->constants) {
            checkConstant(*type, &constant);
        }
        switch (type->kind) {
            case TypeDecl::Kind::Interface:
                checkInterface(type);
                break;
            case TypeDecl::Kind::Enum:
                checkEnum(type);
                break;
            case TypeDecl::Kind::Parcelable:
            case TypeDecl::Kind::Union:
                checkFields(type);
                break;
        }
    }

  private:
    void annotations(const std::vector<Annotation>& given, bool isOfDeclaration) {
        for (const Annotation& annotation : given) {
            const std::string& name = annotation.name;
            std::string why;
            if (findAnnotation(given, name) != &annotation) {
                why = "stands here twice; remove one";
            } else if (!isOneOf(kOfDeclarations, name) && !isOneOf(kOfTypes, name)) {
                why = "is not supported; remove it or check its spelling";
            } else if (!(isOfDeclaration ? isOneOf(kOfDeclarations, name)
                                         : isOneOf(kOfTypes, name))) {
                why = std::string("has no meaning here; it belongs in front of a ") +
                      (isOfDeclaration ? "type in use" : "declaration");
            } else if (!isOfDeclaration && !annotation.parameters.empty()) {
                why = "takes no parameters here";
            } else {
                continue;
            }
            mDiagnostics.error(annotation.at, "'@" + name + "' " + why);
        }
    }

    void packageName(const TypeDecl& type) {
        size_t start = 0;
        while (start <= type.package.size()) {
            const size_t dot = std::min(type.package.find('.', start), type.package.size());
            checkName(type.at, type.package.substr(start, dot - start), NameKind::Other,
                      &mDiagnostics);
            start = dot + 1;
        }
    }

    // The name of a member, one among those of its type.
    void memberName(const Location& at, const std::string& name, NameKind kind) {
        checkName(at, name, kind, &mDiagnostics);
        const auto [entry, isNew] = mNames.emplace(name, at.line);
        if (!isNew) {
            mDiagnostics.error(at, "'" + name + "' is declared in line " +
                                       std::to_string(entry->second) +
                                       " already; choose another name");
        }
    }

    void checkConstant(const TypeDecl& owner, Variable* constant) {
        memberName(constant->at, constant->name, NameKind::Constant);
        const TypeRef& type = constant->type;
        annotations(type.annotations, false);
        if (type.isArray() || !(type.isPrimitive() || type.builtin == Builtin::String)) {
            mDiagnostics.error(type.at, "a constant cannot be of type " + typeText(type) +
                                            "; only primitive types and String are possible");
            return;
        }
        mEvaluator.evaluate(owner, constant);
    }

    void checkEnum(TypeDecl* type) {
        if (type->enumerators.empty()) {
            mDiagnostics.error(type->at,
                               "the enum '" + type->name + "' has no values; give it one");
        }
        mEvaluator.numberEnumerators(type);
        for (const Enumerator& enumerator : type->enumerators) {
            memberName(enumerator.at, enumerator.name, NameKind::Other);
        }
    }

    void checkFields(TypeDecl* type) {
        const bool isUnion = type->kind == TypeDecl::Kind::Union;
        if (isUnion && type->fields.empty()) {
            mDiagnostics.error(type->at,
                               "the union '" + type->name + "' has no members; give it one");
        }
        for (Variable& field : type->fields) {
            memberName(field.at, field.name, isUnion ? NameKind::UnionField : NameKind::Field);
            if (field.name == type->name) {
                mDiagnostics.error(field.at,
                                   "a field cannot have the name of its type; choose another name");
            }
            checkType(*type, &field.type);
            if (field.initial != nullptr && isUnion && &field != &type->fields[0]) {
                mDiagnostics.error(field.initial->at,
                                   "only the first member of a union can have a default; a new "
                                   "union holds that one");
            } else if (field.initial != nullptr) {
                mEvaluator.evaluate(*type, &field);
            }
        }
        checkContainment(*type);
    }

    // Finds records that contain themselves: they would have no end.
    void checkContainment(const TypeDecl& type) {
        if (mContained.count(&type) != 0) {
            return;
        }
        if (!mContaining.insert(&type).second) {
            mDiagnostics.error(type.at, "'" + type.name +
                                            "' contains itself; break the circle, for example "
                                            "with an index into an array");
            return;
        }
        for (const Variable& field : type.fields) {
            if (field.type.item().isRecord()) {
                checkContainment(*field.type.item().decl);
            }
        }
        mContained.insert(&type);
    }

    void checkInterface(TypeDecl* type) {
        if (type->name.size() < 2 || type->name[0] != 'I' || type->name[1] < 'A' ||
            type->name[1] > 'Z') {
            mDiagnostics.error(
                type->at,
                "the name of an interface begins with I and a capital, as in I" + type->name);
        }
        for (Method& method : type->methods) {
            memberName(method.at, method.name, NameKind::Method);
            checkMethod(*type, &method);
        }
    }

    void checkMethod(const TypeDecl& owner, Method* method) {
        if (method->result.builtin != Builtin::Void || method->result.isArray()) {
            checkType(owner, &method->result);
            if (method->oneway) {
                mDiagnostics.error(method->result.at, "the oneway method '" + method->name +
                                                          "' cannot return a value; write void");
            }
        } else if (!method->result.annotations.empty()) {
            mDiagnostics.error(method->result.annotations[0].at, "void takes no annotation");
        }
        std::set<std::string> names;
        for (Argument& argument : method->arguments) {
            checkName(argument.at, argument.name, NameKind::Other, &mDiagnostics);
            if (!names.insert(argument.name).second) {
                mDiagnostics.error(argument.at, "there is an argument '" + argument.name +
                                                    "' already; choose another name");
            }
            checkType(owner, &argument.type);
            checkDirection(*method, argument);
        }
    }

    void checkDirection(const Method& method, const Argument& argument) {
        const TypeRef& type = argument.type;
        const bool canBeOut =
            type.isArray() || type.builtin == Builtin::FileDescriptor || type.isRecord();
        if (argument.isOut() && method.oneway) {
            mDiagnostics.error(argument.at, "the oneway method '" + method.name +
                                                "' sends nothing back; make '" + argument.name +
                                                "' an in argument");
        } else if (argument.isOut() && !canBeOut) {
            mDiagnostics.error(argument.at, typeText(type) + " '" + argument.name +
                                                "' cannot be out or inout; return it, or put it "
                                                "into a parcelable");
        } else if (canBeOut && !argument.hasDirection) {
            mDiagnostics.error(argument.at, "say in which direction '" + argument.name +
                                                "' goes: in, out or inout");
        }
    }

    void checkType(const TypeDecl& owner, TypeRef* type) {
        annotations(type->annotations, false);
        if (type->array == TypeRef::Array::Fixed) {
            type->fixedSize = mEvaluator.arraySize(owner, *type->size);
        }
        if (type->builtin == Builtin::Void) {
            mDiagnostics.error(type->at, "void is only the result of a method; choose a type");
            return;
        }
        if (type->builtin == Builtin::List) {
            checkList(owner, type);
        }
        const TypeDecl* decl = type->decl;
        if (type->isNullable() && type->isScalar()) {
            mDiagnostics.error(type->at, "'" + type->name +
                                             "' cannot be @nullable; use a value that means none, "
                                             "or a parcelable");
        }
        if (decl != nullptr && isVintfStable(owner) && !isVintfStable(*decl)) {
            mDiagnostics.error(type->at, "'" + decl->qualifiedName() +
                                             "' is not marked @VintfStability, but '" + owner.name +
                                             "' is; mark both or none");
        }
    }

    void checkList(const TypeDecl& owner, TypeRef* type) {
        TypeRef* item = &type->arguments[0];
        if (type->array != TypeRef::Array::None) {
            mDiagnostics.error(type->at, "an array of lists is not supported");
        } else if (item->isPrimitive()) {
            mDiagnostics.error(item->at,
                               "a list cannot hold " + item->name + "; write " + item->name + "[]");
        } else {
            checkType(owner, item);
        }
    }

    Evaluator& mEvaluator;
    Diagnostics& mDiagnostics;
    std::map<std::string, int> mNames;  // of the type under check, with their lines
    std::set<const TypeDecl*> mContaining;
    std::set<const TypeDecl*> mContained;
};

}  // namespace

void checkDocuments(TypeTable* types, Diagnostics* diagnostics) {
    types->resolve();
    Evaluator evaluator(types, diagnostics);
    Checker checker(&evaluator, diagnostics);
    for (const auto& document : types->documents()) {
        checker.check(document->type.get());
    }
}

}  // namespace aidlc
