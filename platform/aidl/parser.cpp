// SPDX-License-Identifier: Apache-2.0
#include "parser.h"

#include <string_view>
#include <utility>

#include "token_stream.h"

namespace aidlc {
namespace {

// How deep List<List<...>> may be read before it is refused for what it is.
constexpr int kMaxTypeNesting = 8;

bool parseTypeAtDepth(TokenStream* tokens, TypeRef* type, int depth) {
    if (!parseAnnotations(tokens, &type->annotations)) {
        return false;
    }
    type->at = tokens->peek().at;
    if (!tokens->expectDottedName("a type", &type->name)) {
        return false;
    }
    if (tokens->takeIf("<")) {
        if (depth >= kMaxTypeNesting) {
            tokens->diagnostics().error(type->at, "this type is nested too deep");
            return false;
        }
        do {
            TypeRef argument;
            if (!parseTypeAtDepth(tokens, &argument, depth + 1)) {
                return false;
            }
            type->arguments.push_back(std::move(argument));
        } while (tokens->takeIf(","));
        if (!tokens->expect(">")) {
            return false;
        }
    }
    if (!tokens->takeIf("[")) {
        return true;
    }
    if (tokens->takeIf("]")) {
        type->array = TypeRef::Array::Dynamic;
    } else {
        type->array = TypeRef::Array::Fixed;
        type->size = parseExpression(tokens);
        if (type->size == nullptr || !tokens->expect("]")) {
            return false;
        }
    }
    if (tokens->is("[")) {
        tokens->diagnostics().error(
            tokens->peek().at,
            "arrays of arrays are not supported; put the inner array into a "
            "parcelable and use an array of that");
        return false;
    }
    return true;
}

class Parser {
  public:
    Parser(const std::string& path, const std::string& text, Diagnostics* diagnostics)
        : mDocument(std::make_unique<Document>()),
          mTokens((mDocument->path = path, tokenize(mDocument->path, text, diagnostics)),
                  diagnostics) {}

    std::unique_ptr<Document> run() {
        if (!packageLine()) {
            mTokens.skipStatement();
        }
        while (mTokens.isWord("import")) {
            Import import;
            mTokens.take();
            import.at = mTokens.peek().at;
            if (mTokens.expectDottedName("the full name of a type", &import.name) &&
                mTokens.expect(";")) {
                mDocument->imports.push_back(std::move(import));
            } else {
                mTokens.skipStatement();
            }
        }
        if (mTokens.atEnd()) {
            mTokens.failExpecting("an interface, a parcelable, a union or an enum");
            return std::move(mDocument);
        }
        auto type = std::make_unique<TypeDecl>();
        type->package = mDocument->package;
        if (declaration(type.get())) {
            mDocument->type = std::move(type);
            if (!mTokens.atEnd()) {
                mTokens.failExpecting(
                    "the end of the file: each file declares one type, so put the "
                    "next one into a file of its own");
            }
        }
        return std::move(mDocument);
    }

  private:
    bool packageLine() {
        if (!mTokens.isWord("package")) {
            return mTokens.failExpecting("'package NAME;' first");
        }
        mTokens.take();
        return mTokens.expectDottedName("a package name", &mDocument->package) &&
               mTokens.expect(";");
    }

    bool declaration(TypeDecl* type) {
        type->comment = mTokens.peek().comment;
        if (!parseAnnotations(&mTokens, &type->annotations)) {
            return false;
        }
        if (mTokens.isWord("oneway")) {
            mTokens.take();
            type->oneway = true;
            if (!mTokens.isWord("interface")) {
                return mTokens.failExpecting("'interface' after 'oneway'");
            }
        }
        static constexpr std::pair<std::string_view, TypeDecl::Kind> kKinds[] = {
            {"interface", TypeDecl::Kind::Interface},
            {"parcelable", TypeDecl::Kind::Parcelable},
            {"union", TypeDecl::Kind::Union},
            {"enum", TypeDecl::Kind::Enum},
        };
        for (const auto& [word, kind] : kKinds) {
            if (mTokens.isWord(word)) {
                mTokens.take();
                type->kind = kind;
                return body(type);
            }
        }
        return mTokens.failExpecting("an interface, a parcelable, a union or an enum");
    }

    bool body(TypeDecl* type) {
        type->at = mTokens.peek().at;
        if (!mTokens.expectName("the name of the type", &type->name)) {
            return false;
        }
        if (mTokens.is(";") || mTokens.isWord("cpp_header") || mTokens.isWord("ndk_header")) {
            mTokens.diagnostics().error(type->at, "'" + type->name +
                                                      "' is declared without fields; only "
                                                      "structured types are supported: list "
                                                      "its fields between { and }");
            return false;
        }
        if (mTokens.is("<")) {
            mTokens.diagnostics().error(mTokens.peek().at,
                                        "generic types are not supported; declare "
                                        "a type for each use");
            return false;
        }
        if (!mTokens.expect("{")) {
            return false;
        }
        if (type->kind == TypeDecl::Kind::Enum) {
            return enumerators(type);
        }
        while (!mTokens.takeIf("}")) {
            if (mTokens.atEnd()) {
                return mTokens.failExpecting("'}' that closes '" + type->name + "'");
            }
            if (!member(type)) {
                mTokens.skipStatement();
            }
        }
        return true;
    }

    bool enumerators(TypeDecl* type) {
        while (!mTokens.takeIf("}")) {
            Enumerator enumerator;
            enumerator.comment = mTokens.peek().comment;
            if (!parseAnnotations(&mTokens, &enumerator.annotations)) {
                return false;
            }
            enumerator.at = mTokens.peek().at;
            if (!mTokens.expectName("the name of an enum value", &enumerator.name)) {
                return false;
            }
            if (mTokens.takeIf("=")) {
                enumerator.value = parseExpression(&mTokens);
                if (enumerator.value == nullptr) {
                    return false;
                }
            }
            type->enumerators.push_back(std::move(enumerator));
            if (!mTokens.takeIf(",") && !mTokens.is("}")) {
                return mTokens.failExpecting("',' or '}'");
            }
        }
        return true;
    }

    bool member(TypeDecl* type) {
        const std::string comment = mTokens.peek().comment;
        std::vector<Annotation> annotations;
        if (!parseAnnotations(&mTokens, &annotations)) {
            return false;
        }
        for (const std::string_view word : {"interface", "parcelable", "union", "enum"}) {
            if (mTokens.isWord(word) && mTokens.isAhead(2, "{")) {
                mTokens.diagnostics().error(
                    mTokens.peek().at,
                    "a type inside a type is not supported; declare it in a "
                    "file of its own");
                return false;
            }
        }
        if (mTokens.isWord("const")) {
            return constant(type, comment, std::move(annotations));
        }
        if (type->kind == TypeDecl::Kind::Interface) {
            return method(type, comment, std::move(annotations));
        }
        Field field;
        field.comment = comment;
        field.type.annotations = std::move(annotations);
        if (!parseType(&mTokens, &field.type)) {
            return false;
        }
        field.at = mTokens.peek().at;
        if (!mTokens.expectName("the name of the field", &field.name)) {
            return false;
        }
        if (mTokens.takeIf("=")) {
            field.value = parseExpression(&mTokens);
            if (field.value == nullptr) {
                return false;
            }
        }
        if (!mTokens.expect(";")) {
            return false;
        }
        type->fields.push_back(std::move(field));
        return true;
    }

    bool constant(TypeDecl* type, const std::string& comment, std::vector<Annotation> annotations) {
        mTokens.take();
        Constant constant;
        constant.comment = comment;
        constant.annotations = std::move(annotations);
        if (!parseType(&mTokens, &constant.type)) {
            return false;
        }
        constant.at = mTokens.peek().at;
        if (!mTokens.expectName("the name of the constant", &constant.name) ||
            !mTokens.expect("=")) {
            return false;
        }
        constant.value = parseExpression(&mTokens);
        if (constant.value == nullptr || !mTokens.expect(";")) {
            return false;
        }
        type->constants.push_back(std::move(constant));
        return true;
    }

    bool method(TypeDecl* type, const std::string& comment, std::vector<Annotation> annotations) {
        Method method;
        method.comment = comment;
        if (mTokens.isWord("oneway")) {
            mTokens.take();
            method.oneway = true;
        }
        // What stands in front belongs to the result where it says something of a type.
        for (Annotation& annotation : annotations) {
            const bool ofType = annotation.name == "nullable" || annotation.name == "utf8InCpp";
            (ofType ? method.result.annotations : method.annotations)
                .push_back(std::move(annotation));
        }
        if (!parseType(&mTokens, &method.result)) {
            return false;
        }
        method.at = mTokens.peek().at;
        if (!mTokens.expectName("the name of the method", &method.name) || !mTokens.expect("(")) {
            return false;
        }
        while (!mTokens.takeIf(")")) {
            Argument argument;
            if (!parseArgument(&argument)) {
                return false;
            }
            method.arguments.push_back(std::move(argument));
            if (!mTokens.takeIf(",") && !mTokens.is(")")) {
                return mTokens.failExpecting("',' or ')'");
            }
        }
        if (mTokens.takeIf("=")) {
            method.idValue = parseExpression(&mTokens);
            if (method.idValue == nullptr) {
                return false;
            }
        }
        if (!mTokens.expect(";")) {
            return false;
        }
        type->methods.push_back(std::move(method));
        return true;
    }

    bool parseArgument(Argument* argument) {
        static constexpr std::pair<std::string_view, Argument::Direction> kDirections[] = {
            {"in", Argument::Direction::In},
            {"out", Argument::Direction::Out},
            {"inout", Argument::Direction::InOut},
        };
        if (!parseAnnotations(&mTokens, &argument->type.annotations)) {
            return false;
        }
        for (const auto& [word, direction] : kDirections) {
            if (mTokens.isWord(word)) {
                mTokens.take();
                argument->direction = direction;
                argument->hasDirection = true;
                break;
            }
        }
        if (!parseType(&mTokens, &argument->type)) {
            return false;
        }
        argument->at = mTokens.peek().at;
        return mTokens.expectName("the name of the argument", &argument->name);
    }

    std::unique_ptr<Document> mDocument;
    TokenStream mTokens;
};

}  // namespace

bool parseAnnotations(TokenStream* tokens, std::vector<Annotation>* annotations) {
    while (tokens->peek().kind == TokenKind::Annotation) {
        const Token token = tokens->take();
        Annotation annotation;
        annotation.at = token.at;
        annotation.name = token.text;
        if (tokens->takeIf("(")) {
            while (!tokens->takeIf(")")) {
                std::string name;
                if (!tokens->expectName("the name of an annotation parameter", &name) ||
                    !tokens->expect("=")) {
                    return false;
                }
                ExpressionPtr value = parseExpression(tokens);
                if (value == nullptr) {
                    return false;
                }
                annotation.parameters.emplace_back(std::move(name), std::move(value));
                if (!tokens->takeIf(",") && !tokens->is(")")) {
                    return tokens->failExpecting("',' or ')'");
                }
            }
        }
        annotations->push_back(std::move(annotation));
    }
    return true;
}

bool parseType(TokenStream* tokens, TypeRef* type) {
    return parseTypeAtDepth(tokens, type, 0);
}

std::unique_ptr<Document> parse(const std::string& path, const std::string& text,
                                Diagnostics* diagnostics) {
    return Parser(path, text, diagnostics).run();
}

}  // namespace aidlc
