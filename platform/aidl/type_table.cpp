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

// For names that people bring from other languages or from the platform, what to write instead.
std::string adviceFor(const std::string& name) {
    static constexpr std::pair<std::string_view, std::string_view> kAdvice[] = {
        {"bool", "write boolean"},
        {"string", "write String"},
        {"short", "write int or char"},
        {"unsigned", "there are no unsigned types; write the next larger signed one"},
        {"int8_t", "write byte"},
        {"uint8_t", "write byte"},
        {"int32_t", "write int"},
        {"int64_t", "write long"},
        {"Map", "maps are not supported; use an array of a parcelable with key and value"},
        {"CharSequence", "it is for Java only; write String"},
        {"FileDescriptor", "write ParcelFileDescriptor"},
        {"ParcelableHolder", "it is not supported; use a union of the parcelables"},
    };
    for (const auto& [wrong, advice] : kAdvice) {
        if (name == wrong) {
            return std::string(advice);
        }
    }
    return "import it, or check the spelling and the -I folders";
}

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
    for (size_t i = 0; i < type.arguments.size(); ++i) {
        text += (i == 0 ? "<" : ", ") + typeText(type.arguments[i]);
    }
    text += type.arguments.empty() ? "" : ">";
    if (type.array == TypeRef::Array::Dynamic) {
        text += "[]";
    } else if (type.array == TypeRef::Array::Fixed) {
        text += '[' + std::to_string(type.fixedSize) + ']';
    }
    return text;
}

TypeTable::TypeTable(Io* io, std::vector<std::string> importFolders, Diagnostics* diagnostics)
    : mIo(*io), mImportFolders(std::move(importFolders)), mDiagnostics(*diagnostics) {}

Document* TypeTable::load(const std::string& path) {
    std::string why;
    const auto text = mIo.read(path, &why);
    if (!text) {
        mDiagnostics.error(path + ": " + (why.empty() ? "there is no such file" : why));
        return nullptr;
    }
    return add(parse(path, *text, &mDiagnostics));
}

Document* TypeTable::add(std::unique_ptr<Document> document) {
    Document* added = document.get();
    mDocuments.push_back(std::move(document));
    if (added->type == nullptr) {
        return nullptr;
    }
    const std::string name = added->type->qualifiedName();
    added->type->document = added;
    if (!endsWithPath(added->path, fileOf(name))) {
        mDiagnostics.error(added->type->at, "'" + name + "' must be declared in a file called " +
                                                fileOf(name) + ", below an -I folder");
    }
    const TypeDecl*& entry = mTypes[name];
    if (entry != nullptr) {
        mDiagnostics.error(added->type->at, "'" + name + "' is declared in " +
                                                entry->document->path +
                                                " as well; keep one of the two");
        return nullptr;
    }
    entry = added->type.get();
    return added;
}

const TypeDecl* TypeTable::findQualified(const std::string& name) {
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
            mDiagnostics.error(path + ": " + why);
        }
    }
    return mTypes[name];
}

const TypeDecl* TypeTable::find(const Document& from, const std::string& name) {
    if (name.find('.') != std::string::npos) {
        return findQualified(name);
    }
    if (from.type != nullptr && from.type->name == name) {
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
    for (size_t i = 0; i < mDocuments.size() && !mDiagnostics.isFull(); ++i) {
        resolveDocument(mDocuments[i].get());
    }
}

void TypeTable::resolveDocument(Document* document) {
    for (const Import& import : document->imports) {
        const size_t errors = mDiagnostics.errors().size();
        if (builtinByName(import.name) == Builtin::None && findQualified(import.name) == nullptr &&
            mDiagnostics.errors().size() == errors) {
            mDiagnostics.error(import.at, "there is no " + fileOf(import.name) +
                                              " in the -I folders; check the name or add the "
                                              "folder that holds it");
        }
    }
    TypeDecl* type = document->type.get();
    if (type == nullptr) {
        return;
    }
    for (Constant& constant : type->constants) {
        resolveType(*document, &constant.type);
        loadReferences(*document, constant.value.get());
    }
    for (Field& field : type->fields) {
        resolveType(*document, &field.type);
        loadReferences(*document, field.value.get());
    }
    for (const Enumerator& enumerator : type->enumerators) {
        loadReferences(*document, enumerator.value.get());
    }
    for (Method& method : type->methods) {
        method.oneway = method.oneway || type->oneway;
        resolveType(*document, &method.result);
        loadReferences(*document, method.idValue.get());
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
    const size_t errors = mDiagnostics.errors().size();
    type->decl = find(document, type->name);
    if (type->decl == nullptr && mDiagnostics.errors().size() == errors) {
        mDiagnostics.error(type->at,
                           "there is no type '" + type->name + "'; " + adviceFor(type->name));
    }
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
