// SPDX-License-Identifier: Apache-2.0
#include "type_table.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "parser.h"

namespace aidlc {
namespace {

std::string lastPart(const std::string& dotted) {
    return dotted.substr(dotted.rfind('.') + 1);
}

std::string fileOf(std::string qualifiedName) {
    std::replace(qualifiedName.begin(), qualifiedName.end(), '.', '/');
    return qualifiedName + ".aidl";
}

bool endsWithPath(const std::string& path, const std::string& end) {
    return path.size() >= end.size() &&
           path.compare(path.size() - end.size(), end.size(), end) == 0 &&
           (path.size() == end.size() || path[path.size() - end.size() - 1] == '/');
}

// Types of the platform's AIDL that this compiler does not have.
constexpr std::string_view kUnsupported[] = {
    "Map", "CharSequence", "FileDescriptor", "ParcelableHolder", "short",
};

}  // namespace

Builtin builtinByName(const std::string& name) {
    static constexpr std::pair<std::string_view, Builtin> kBuiltins[] = {
        {"void", Builtin::Void},
        {"boolean", Builtin::Boolean},
        {"byte", Builtin::Byte},
        {"char", Builtin::Char},
        {"int", Builtin::Int},
        {"long", Builtin::Long},
        {"float", Builtin::Float},
        {"double", Builtin::Double},
        {"String", Builtin::String},
        {"IBinder", Builtin::Binder},
        {"ParcelFileDescriptor", Builtin::FileDescriptor},
        {"android.os.IBinder", Builtin::Binder},
        {"android.os.ParcelFileDescriptor", Builtin::FileDescriptor},
        {"List", Builtin::List},
    };
    for (const auto& [text, builtin] : kBuiltins) {
        if (name == text) {
            return builtin;
        }
    }
    return Builtin::None;
}

std::string typeText(const TypeRef& type) {
    std::string text = type.decl != nullptr ? type.decl->qualifiedName() : type.name;
    if (type.builtin == Builtin::Binder || type.builtin == Builtin::FileDescriptor) {
        text = lastPart(type.name);
    }
    text += type.arguments.empty() ? "" : '<' + typeText(type.arguments[0]) + '>';
    if (type.array == TypeRef::Array::Dynamic) {
        text += "[]";
    } else if (type.array == TypeRef::Array::Fixed) {
        text += '[' + std::to_string(type.fixedSize) + ']';
    }
    return text;
}

TypeTable::TypeTable(Io* io, std::vector<std::string> importFolders, Diagnostics* diagnostics)
    : mIo(*io), mImportFolders(std::move(importFolders)), mDiagnostics(*diagnostics) {}

const TypeDecl* TypeTable::load(const std::string& path) {
    std::string why;
    const auto text = mIo.read(path, &why);
    if (!text) {
        mIsIncomplete = true;
        mDiagnostics.error(path + ": " + (why.empty() ? "there is no such file" : why));
        return nullptr;
    }
    return add(parse(path, *text, &mDiagnostics));
}

const TypeDecl* TypeTable::add(std::unique_ptr<Document> document) {
    if (document == nullptr) {
        mIsIncomplete = true;
        return nullptr;
    }
    TypeDecl* type = document->type.get();
    const std::string name = type->qualifiedName();
    type->document = document.get();
    mDocuments.push_back(std::move(document));
    if (!endsWithPath(type->document->path, fileOf(name))) {
        mDiagnostics.error(type->at, "'" + name + "' must be declared in a file called " +
                                         fileOf(name) + ", below an -I folder");
    }
    TypeDecl*& entry = mTypes[name];
    if (entry != nullptr) {
        mDiagnostics.error(type->at, "'" + name + "' is declared in " + entry->document->path +
                                         " as well; keep one of the two");
        return nullptr;
    }
    entry = type;
    return type;
}

TypeDecl* TypeTable::findQualified(const std::string& name) {
    if (name.find('.') == std::string::npos) {
        return nullptr;
    }
    if (const auto known = mTypes.find(name); known != mTypes.end()) {
        return known->second;
    }
    for (const std::string& folder : mImportFolders) {
        const std::string path = joinPath(folder, fileOf(name));
        std::string why;
        const auto text = mIo.read(path, &why);
        if (text) {
            add(parse(path, *text, &mDiagnostics));
            break;
        }
        if (!why.empty()) {
            mIsIncomplete = true;
            mDiagnostics.error(path + ": " + why);
        }
    }
    return mTypes[name];
}

TypeDecl* TypeTable::find(const Document& from, const std::string& name) {
    if (name.find('.') != std::string::npos) {
        return findQualified(name);
    }
    if (from.type->name == name) {
        return from.type.get();
    }
    for (const Import& import : from.imports) {
        if (lastPart(import.name) == name) {
            return findQualified(import.name);
        }
    }
    return findQualified(from.package + '.' + name);
}

void TypeTable::resolve() {
    // Grows while it runs: each new file is visited once.
    for (size_t i = 0; i < mDocuments.size(); ++i) {
        resolveDocument(mDocuments[i].get());
    }
}

void TypeTable::resolveDocument(Document* document) {
    for (const Import& import : document->imports) {
        if (builtinByName(import.name) == Builtin::None && findQualified(import.name) == nullptr &&
            !mIsIncomplete) {
            mDiagnostics.error(import.at, "there is no " + fileOf(import.name) +
                                              " in the -I folders; check the name or add the "
                                              "folder that holds it");
        }
    }
    TypeDecl* type = document->type.get();
    for (std::vector<Variable>* variables : {&type->constants, &type->fields}) {
        for (Variable& variable : *variables) {
            resolveType(*document, &variable.type);
            loadReferences(*document, variable.initial.get());
        }
    }
    for (const Enumerator& enumerator : type->enumerators) {
        loadReferences(*document, enumerator.initial.get());
    }
    for (Method& method : type->methods) {
        resolveType(*document, &method.result);
        for (Argument& argument : method.arguments) {
            resolveType(*document, &argument.type);
        }
    }
}

void TypeTable::resolveType(const Document& document, TypeRef* type) {
    loadReferences(document, type->size.get());
    for (TypeRef& argument : type->arguments) {
        resolveType(document, &argument);
    }
    type->builtin = builtinByName(type->name);
    if (type->builtin != Builtin::None) {
        return;
    }
    type->decl = find(document, type->name);
    if (type->decl != nullptr || mIsIncomplete) {
        return;
    }
    const bool isUnsupported = std::find(std::begin(kUnsupported), std::end(kUnsupported),
                                         type->name) != std::end(kUnsupported);
    mDiagnostics.error(type->at, isUnsupported
                                     ? "the type '" + type->name + "' is not supported"
                                     : "there is no type '" + type->name +
                                           "'; import it, or check the spelling and the -I "
                                           "folders");
}

void TypeTable::loadReferences(const Document& document, const Expression* expression) {
    if (expression == nullptr) {
        return;
    }
    const size_t dot = expression->text.rfind('.');
    if (expression->kind == Expression::Kind::Reference && dot != std::string::npos) {
        find(document, expression->text.substr(0, dot));
    }
    for (const ExpressionPtr& operand : expression->operands) {
        loadReferences(document, operand.get());
    }
}

}  // namespace aidlc
