// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ast.h"
#include "diagnostics.h"
#include "io.h"

namespace aidlc {

// Finds a built-in type by its name in AIDL; Builtin::None for any other name.
Builtin builtinByName(const std::string& name);

// The type as it is written in AIDL, declared types by their full names, annotations left out.
std::string typeText(const TypeRef& type);

// Every document of one run: owns them, loads what they refer to, and gives names their meaning.
class TypeTable {
  public:
    // `importFolders` are searched in order. `io` and `diagnostics` must outlive the table.
    TypeTable(Io* io, std::vector<std::string> importFolders, Diagnostics* diagnostics);

    // Reads one file and gives its type; null after an error.
    const TypeDecl* load(const std::string& path);

    // Gives every type name in every loaded document its meaning, loading further files as needed.
    void resolve();

    // The type that `name`, simple or dotted, means inside `from`, or null. Reports nothing. After
    // resolve() it loads nothing for names that were seen then.
    TypeDecl* find(const Document& from, const std::string& name);

    const std::vector<std::unique_ptr<Document>>& documents() const { return mDocuments; }

  private:
    const TypeDecl* add(std::unique_ptr<Document> document);
    TypeDecl* findQualified(const std::string& name);
    void resolveDocument(Document* document);
    void resolveType(const Document& document, TypeRef* type);
    void loadReferences(const Document& document, const Expression* expression);

    Io& mIo;
    std::vector<std::string> mImportFolders;
    Diagnostics& mDiagnostics;
    std::vector<std::unique_ptr<Document>> mDocuments;
    // A file could not be read: types that are missing may be in it.
    bool mIsIncomplete = false;
    // By qualified name; null for a name that was looked for in vain.
    std::map<std::string, TypeDecl*> mTypes;
};

}  // namespace aidlc
