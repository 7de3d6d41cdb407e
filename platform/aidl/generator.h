// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>

#include "ast.h"
#include "code_writer.h"
#include "constants.h"

namespace aidlc {

struct GeneratorOptions {
    int version = 0;   // 0: the interface tells neither version nor hash
    std::string hash;  // empty: it does not tell its hash
};

// Generated files: path below its output folder, and text.
struct GeneratedFiles {
    std::map<std::string, std::string> headers;  // below -h
    std::map<std::string, std::string> sources;  // below -o
};

// Turns checked types into C++ for the NDK backend. One object per run.
class Generator {
  public:
    Generator(Evaluator* evaluator, const GeneratorOptions& options)
        : mEvaluator(*evaluator), mOptions(options) {}

    void generate(const TypeDecl& type, GeneratedFiles* files);

  private:
    std::string interfaceHeader(const TypeDecl& type);
    std::string nativeHeader(const TypeDecl& type);
    std::string proxyHeader(const TypeDecl& type);
    std::string interfaceSource(const TypeDecl& type);
    std::string recordHeader(const TypeDecl& type);
    std::string recordSource(const TypeDecl& type);
    std::string enumHeader(const TypeDecl& type);
    std::string enumSource(const TypeDecl& type);

    void constants(CodeWriter* out, const TypeDecl& type);
    // " = value", of the field's default or of its type.
    std::string initialiser(const TypeDecl& type, const Field& field);
    void parcelableMembers(CodeWriter* out, const TypeDecl& type);
    void unionMembers(CodeWriter* out, const TypeDecl& type);

    Evaluator& mEvaluator;
    const GeneratorOptions mOptions;
};

// Pieces that several kinds of file share.
void writeBanner(CodeWriter* out);
// The documentation comment of a declaration, re-indented; nothing for an empty one.
void writeComment(CodeWriter* out, const std::string& comment);
void openNamespace(CodeWriter* out, const std::string& package);
void closeNamespace(CodeWriter* out, const std::string& package);
// #includes of the headers of all used types, and forward declarations of their classes.
void includeUsedTypes(CodeWriter* out, const TypeDecl& type);
void forwardDeclareUsedTypes(CodeWriter* out, const TypeDecl& type);
// toString and enum_values of an enum; `name` is qualified, `values` are the values' names.
void writeEnumTools(CodeWriter* out, const std::string& package, const std::string& name,
                    const std::string& backing, const std::vector<std::string>& values,
                    const std::vector<std::string>& distinct);

// Proxies and the dispatcher: generator_calls.cpp.
void writeProxyMethod(CodeWriter* out, const TypeDecl& type, const Method& method);
void writeProxyVersion(CodeWriter* out, const TypeDecl& type);
void writeProxyHash(CodeWriter* out, const TypeDecl& type);
void writeDispatcher(CodeWriter* out, const TypeDecl& type, const GeneratorOptions& options);
// "name(parameters)" as declared; `className` is put in front for a definition.
std::string methodSignature(const Method& method, const std::string& className);
// "_aidl_a_b_IFoo_onTransact" and "_g_aidl_a_b_IFoo_clazz".
std::string dispatcherName(const TypeDecl& type);
std::string classVariable(const TypeDecl& type);

// Unions: generator_union.cpp.
void writeUnionRead(CodeWriter* out, const TypeDecl& type);
void writeUnionWrite(CodeWriter* out, const TypeDecl& type);
void writeUnionToString(CodeWriter* out, const TypeDecl& type);
// "std::variant<…>".
std::string variantType(const TypeDecl& type);

}  // namespace aidlc
