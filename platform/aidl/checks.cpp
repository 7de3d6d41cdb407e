// SPDX-License-Identifier: Apache-2.0
#include "checks.h"

#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace aidlc {
namespace {

constexpr int64_t kMaxArraySize = 1 << 20;
// The transaction codes above are kept for the version and the hash.
constexpr int64_t kMaxMethodId = 16777114;
constexpr size_t kMaxTypeDepth = 64;

class Checker {
  public:
    Checker(Evaluator* evaluator, const CheckOptions& options, Diagnostics* diagnostics)
        : mEvaluator(*evaluator), mOptions(options), mDiagnostics(*diagnostics) {}

    // What later checks and evaluations of any document rely on.
    void prepare(TypeDecl* type) {
        if (type->kind == TypeDecl::Kind::Enum) {
            backing(type);
        }
    }

    void check(TypeDecl* type) {
        checkAnnotations(type->annotations, AnnotationPlace::Type, &mDiagnostics);
        checkName(type->at, type->name, NamePlace::Type, &mDiagnostics);
        packageName(*type);
        if (isVintfStable(*type) && !mOptions.vintf) {
            mDiagnostics.error(type->at, "'" + type->name +
                                             "' is marked @VintfStability; compile "
                                             "it with --stability=vintf");
        }
        if (findAnnotation(type->annotations, "Backing") != nullptr &&
            type->kind != TypeDecl::Kind::Enum) {
            mDiagnostics.error(type->at, "only an enum has a @Backing type; remove the annotation");
        }
        mNames.clear();
        for (Constant& constant : type->constants) {
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

    // Finds records that hold themselves: they would have no end, in memory or on the wire.
    void containment(const TypeDecl& type, std::vector<const TypeDecl*>* path) {
        if (mContained.count(&type) != 0) {
            return;
        }
        for (const TypeDecl* outer : *path) {
            if (outer == &type) {
                mDiagnostics.error(
                    type.at,
                    "'" + type.name + "' contains itself" +
                        (path->size() > 1 ? ", by way of '" + path->back()->name + "'" : "") +
                        "; break the circle, for example with an "
                        "index into an array");
                return;
            }
        }
        if (path->size() >= kMaxTypeDepth) {
            mDiagnostics.error(type.at, "records are nested more than " +
                                            std::to_string(kMaxTypeDepth) + " deep here");
            return;
        }
        path->push_back(&type);
        for (const Field& field : type.fields) {
            const TypeDecl* inner = itemDecl(field.type);
            if (inner != nullptr && inner->isRecord()) {
                containment(*inner, path);
            }
        }
        path->pop_back();
        mContained.insert(&type);
    }

  private:
    static const TypeDecl* itemDecl(const TypeRef& type) {
        return type.builtin == Builtin::List
                   ? (type.arguments.empty() ? nullptr : type.arguments[0].decl)
                   : type.decl;
    }

    void packageName(const TypeDecl& type) {
        size_t start = 0;
        while (start <= type.package.size()) {
            const size_t dot = std::min(type.package.find('.', start), type.package.size());
            checkName(type.at, type.package.substr(start, dot - start), NamePlace::Argument,
                      &mDiagnostics);
            start = dot + 1;
        }
    }

    void uniqueName(const Location& at, const std::string& name) {
        const auto [entry, isNew] = mNames.emplace(name, at.line);
        if (!isNew) {
            mDiagnostics.error(at, "'" + name + "' is declared in line " +
                                       std::to_string(entry->second) +
                                       " already; choose another name");
        }
    }

    void checkConstant(const TypeDecl& owner, Constant* constant) {
        checkAnnotations(constant->annotations, AnnotationPlace::Member, &mDiagnostics);
        checkName(constant->at, constant->name, NamePlace::Constant, &mDiagnostics);
        uniqueName(constant->at, constant->name);
        const TypeRef& type = constant->type;
        if (type.array != TypeRef::Array::None ||
            !(type.isPrimitive() || type.builtin == Builtin::String)) {
            mDiagnostics.error(type.at, "a constant cannot be of type " + typeText(type) +
                                            "; only primitive types and String are possible");
            return;
        }
        checkAnnotations(type.annotations, AnnotationPlace::Field, &mDiagnostics);
        mEvaluator.constantValue(owner, *constant);
    }

    void backing(TypeDecl* type) {
        const Annotation* annotation = findAnnotation(type->annotations, "Backing");
        if (annotation == nullptr) {
            return;
        }
        for (const auto& [name, value] : annotation->parameters) {
            if (name == "type" && value->kind == Expression::Kind::String &&
                annotation->parameters.size() == 1) {
                const Builtin builtin = builtinByName(value->text);
                if (builtin == Builtin::Byte || builtin == Builtin::Int ||
                    builtin == Builtin::Long) {
                    type->backing = builtin;
                    return;
                }
            }
        }
        mDiagnostics.error(annotation->at,
                           "write @Backing(type=\"byte\"), @Backing(type=\"int\") or "
                           "@Backing(type=\"long\")");
    }

    void checkEnum(TypeDecl* type) {
        if (type->enumerators.empty()) {
            mDiagnostics.error(type->at,
                               "the enum '" + type->name + "' has no values; give it one");
        }
        std::map<int64_t, const Enumerator*> numbers;
        mEvaluator.numberEnumerators(*type);
        for (const Enumerator& enumerator : type->enumerators) {
            checkAnnotations(enumerator.annotations, AnnotationPlace::Member, &mDiagnostics);
            checkName(enumerator.at, enumerator.name, NamePlace::Enumerator, &mDiagnostics);
            uniqueName(enumerator.at, enumerator.name);
        }
    }

    void checkFields(TypeDecl* type) {
        const bool isUnion = type->kind == TypeDecl::Kind::Union;
        if (isUnion && type->fields.empty()) {
            mDiagnostics.error(type->at,
                               "the union '" + type->name + "' has no members; give it one");
        }
        for (Field& field : type->fields) {
            checkName(field.at, field.name, isUnion ? NamePlace::UnionField : NamePlace::Field,
                      &mDiagnostics);
            uniqueName(field.at, field.name);
            if (field.name == type->name) {
                mDiagnostics.error(field.at,
                                   "a field cannot have the name of its type; choose "
                                   "another name");
            }
            checkType(*type, &field.type, AnnotationPlace::Field);
            if (field.value != nullptr && &field != &type->fields[0] && isUnion) {
                mDiagnostics.error(field.value->at,
                                   "only the first member of a union can have a "
                                   "default; a new union holds that one");
            } else if (field.value != nullptr) {
                mEvaluator.evaluateAs(*field.value, field.type, *type);
            }
        }
        std::vector<const TypeDecl*> path;
        containment(*type, &path);
    }

    void checkInterface(TypeDecl* type) {
        if (type->name.size() < 2 || type->name[0] != 'I' || type->name[1] < 'A' ||
            type->name[1] > 'Z') {
            mDiagnostics.error(type->at,
                               "the name of an interface begins with I and a capital, as "
                               "in I" +
                                   type->name);
        }
        size_t withId = 0;
        int64_t next = 0;
        std::map<int64_t, const Method*> ids;
        for (Method& method : type->methods) {
            checkMethod(*type, &method);
            uniqueName(method.at, method.name);
            method.id = next++;
            if (method.idValue != nullptr) {
                ++withId;
                method.id = mEvaluator
                                .evaluateInteger(*method.idValue, 0, kMaxMethodId,
                                                 "the id of '" + method.name + "'", *type)
                                .value_or(method.id);
                const auto [entry, isNew] = ids.emplace(method.id, &method);
                if (!isNew) {
                    mDiagnostics.error(method.at, "'" + method.name + "' has the id of '" +
                                                      entry->second->name +
                                                      "'; give it one of its own");
                }
            }
        }
        if (withId != 0 && withId != type->methods.size()) {
            for (const Method& method : type->methods) {
                if (method.idValue == nullptr) {
                    mDiagnostics.error(method.at, "'" + method.name +
                                                      "' has no id, but others "
                                                      "have; give ids to all methods or to none");
                }
            }
        }
    }

    void checkMethod(const TypeDecl& owner, Method* method) {
        checkAnnotations(method->annotations, AnnotationPlace::Member, &mDiagnostics);
        checkName(method->at, method->name, NamePlace::Method, &mDiagnostics);
        if (method->result.builtin != Builtin::Void ||
            method->result.array != TypeRef::Array::None) {
            checkType(owner, &method->result, AnnotationPlace::Result);
            if (method->oneway) {
                mDiagnostics.error(method->result.at, "the oneway method '" + method->name +
                                                          "' cannot return a value; write void");
            }
        } else {
            checkAnnotations(method->result.annotations, AnnotationPlace::Member, &mDiagnostics);
        }
        std::set<std::string> names;
        for (Argument& argument : method->arguments) {
            checkName(argument.at, argument.name, NamePlace::Argument, &mDiagnostics);
            if (!names.insert(argument.name).second) {
                mDiagnostics.error(argument.at, "there is an argument '" + argument.name +
                                                    "' already; choose another name");
            }
            checkType(owner, &argument.type, AnnotationPlace::Field);
            checkDirection(*method, argument);
        }
    }

    void checkDirection(const Method& method, const Argument& argument) {
        const TypeRef& type = argument.type;
        const bool canBeOut = type.isVector() || type.array == TypeRef::Array::Fixed ||
                              type.builtin == Builtin::FileDescriptor ||
                              (type.decl != nullptr && type.decl->isRecord());
        if (argument.isOut() && method.oneway) {
            mDiagnostics.error(argument.at, "the oneway method '" + method.name +
                                                "' sends nothing back; make '" + argument.name +
                                                "' an in argument");
        } else if (argument.isOut() && !canBeOut) {
            mDiagnostics.error(argument.at, typeText(type) + " '" + argument.name +
                                                "' cannot be out or inout; return it, or put "
                                                "it into a parcelable");
        } else if (canBeOut && !argument.hasDirection) {
            mDiagnostics.error(argument.at, "say in which direction '" + argument.name +
                                                "' goes: in, out or inout");
        }
    }

    void checkType(const TypeDecl& owner, TypeRef* type, AnnotationPlace place) {
        checkAnnotations(type->annotations, place, &mDiagnostics);
        if (type->array == TypeRef::Array::Fixed) {
            type->fixedSize =
                mEvaluator
                    .evaluateInteger(*type->size, 1, kMaxArraySize, "the size of an array", owner)
                    .value_or(1);
        }
        if (type->builtin == Builtin::Void) {
            mDiagnostics.error(type->at, "void is only the result of a method; choose a type");
            return;
        }
        if (type->builtin == Builtin::List) {
            checkList(owner, type);
        } else if (!type->arguments.empty()) {
            mDiagnostics.error(type->at,
                               "'" + type->name + "' takes no type in < >; only List does");
        }
        const TypeDecl* decl = type->decl;
        const bool isEnum = decl != nullptr && decl->kind == TypeDecl::Kind::Enum;
        if (type->isNullable() && type->array == TypeRef::Array::None &&
            (type->isPrimitive() || isEnum)) {
            mDiagnostics.error(type->at, "'" + type->name +
                                             "' cannot be @nullable; use a value "
                                             "that means none, or a parcelable");
        }
        if (decl != nullptr && isVintfStable(owner) && !isVintfStable(*decl)) {
            mDiagnostics.error(type->at, "'" + decl->qualifiedName() +
                                             "' is not marked @VintfStability, but '" + owner.name +
                                             "' is; mark both or none");
        }
    }

    void checkList(const TypeDecl& owner, TypeRef* type) {
        if (type->arguments.size() != 1) {
            mDiagnostics.error(type->at, "say what is in the list, as in List<String>");
            type->arguments.resize(1);
            type->arguments[0].builtin = Builtin::String;
            return;
        }
        TypeRef* item = &type->arguments[0];
        if (type->array != TypeRef::Array::None) {
            mDiagnostics.error(type->at,
                               "an array of lists is not supported; put the list into a "
                               "parcelable");
        } else if (item->builtin == Builtin::List || item->array != TypeRef::Array::None) {
            mDiagnostics.error(item->at,
                               "a list of lists or arrays is not supported; put the inner "
                               "one into a parcelable");
        } else if (item->isPrimitive()) {
            mDiagnostics.error(item->at,
                               "a list cannot hold " + item->name + "; write " + item->name + "[]");
        } else if (!item->annotations.empty()) {
            mDiagnostics.error(item->annotations[0].at,
                               "put the annotation in front of List, for the list and its items");
        } else {
            checkType(owner, item, AnnotationPlace::Field);
        }
    }

    Evaluator& mEvaluator;
    const CheckOptions& mOptions;
    Diagnostics& mDiagnostics;
    std::map<std::string, int> mNames;  // of the type under check, with their lines
    std::set<const TypeDecl*> mContained;
};

}  // namespace

void checkDocuments(TypeTable* types, Evaluator* evaluator, const CheckOptions& options,
                    Diagnostics* diagnostics) {
    Checker checker(evaluator, options, diagnostics);
    for (const auto& document : types->documents()) {
        if (document->type != nullptr) {
            checker.prepare(document->type.get());
        }
    }
    for (const auto& document : types->documents()) {
        if (document->type != nullptr && !diagnostics->isFull()) {
            checker.check(document->type.get());
        }
    }
}

}  // namespace aidlc
