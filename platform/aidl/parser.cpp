// SPDX-License-Identifier: Apache-2.0
#include "parser.h"

#include <string_view>
#include <utility>

#include "expression_parser.h"
#include "token_stream.h"

namespace aidlc {
namespace {

constexpr char kDeclarations[] = "an interface, a parcelable, a union or an enum";

constexpr std::pair<std::string_view, TypeDecl::Kind> kKinds[] = {
    {"interface", TypeDecl::Kind::Interface},
    {"parcelable", TypeDecl::Kind::Parcelable},
    {"union", TypeDecl::Kind::Union},
    {"enum", TypeDecl::Kind::Enum},
};
constexpr std::pair<std::string_view, Argument::Direction> kDirections[] = {
    {"in", Argument::Direction::In},
    {"out", Argument::Direction::Out},
    {"inout", Argument::Direction::InOut},
};

// Every function reads one construct. What they return has no meaning once mTokens has failed.
class Parser {
  public:
    Parser(const std::string& path, const std::string& text, Diagnostics* diagnostics)
        : mDocument(std::make_unique<Document>()),
          mTokens((mDocument->path = path, tokenize(mDocument->path, text)), diagnostics) {}

    std::unique_ptr<Document> run() {
        if (!mTokens.takeIfWord("package")) {
            mTokens.failExpecting("'package NAME;' first");
        }
        mDocument->package = mTokens.expectDottedName("a package name");
        mTokens.expect(";");
        while (mTokens.takeIfWord("import")) {
            const Location at = mTokens.at();
            mDocument->imports.push_back({at, mTokens.expectDottedName("the full name of a type")});
            mTokens.expect(";");
        }
        mDocument->type = declaration();
        if (!mTokens.atEnd()) {
            mTokens.failExpecting("the end of the file: each file declares one type");
        }
        return mTokens.failed() ? nullptr : std::move(mDocument);
    }

  private:
    std::unique_ptr<TypeDecl> declaration() {
        auto type = std::make_unique<TypeDecl>();
        type->package = mDocument->package;
        type->comment = mTokens.peek().comment;
        type->annotations = annotations();
        type->oneway = mTokens.takeIfWord("oneway");
        bool isKnown = false;
        for (const auto& [word, kind] : kKinds) {
            if (!isKnown && mTokens.takeIfWord(word)) {
                type->kind = kind;
                isKnown = true;
            }
        }
        if (!isKnown) {
            mTokens.failExpecting(kDeclarations);
        } else if (type->oneway && type->kind != TypeDecl::Kind::Interface) {
            mTokens.fail(mTokens.at(), "only an interface or a method can be oneway");
        }
        type->at = mTokens.at();
        type->name = mTokens.expectName("the name of the type");
        if (mTokens.is(";") || mTokens.peek().kind == TokenKind::Identifier) {
            mTokens.fail(type->at, "'" + type->name +
                                       "' is declared without fields, which is not supported; "
                                       "list its fields between { and }");
        } else if (mTokens.is("<")) {
            mTokens.fail(mTokens.at(), "generic types are not supported");
        }
        mTokens.expect("{");
        while (mTokens.until("}")) {
            if (type->kind == TypeDecl::Kind::Enum) {
                type->enumerators.push_back(enumerator());
            } else {
                member(type.get());
            }
        }
        return type;
    }

    Enumerator enumerator() {
        Enumerator result;
        result.comment = mTokens.peek().comment;
        result.at = mTokens.at();
        result.name = mTokens.expectName("the name of an enum value");
        if (mTokens.takeIf("=")) {
            result.initial = parseExpression(&mTokens);
        }
        mTokens.expectCommaOr("}");
        return result;
    }

    void member(TypeDecl* type) {
        const std::string comment = mTokens.peek().comment;
        std::vector<Annotation> leading = annotations();
        const Location at = mTokens.at();
        for (const auto& [word, kind] : kKinds) {
            if (mTokens.takeIfWord(word)) {
                mTokens.fail(at,
                             "a type inside a type is not supported; declare it in a file of "
                             "its own");
            }
        }
        if (mTokens.takeIfWord("const")) {
            type->constants.push_back(variable(comment, std::move(leading)));
            if (type->constants.back().initial == nullptr) {
                mTokens.fail(type->constants.back().at, "a constant needs a value");
            }
        } else if (type->kind == TypeDecl::Kind::Interface) {
            const bool oneway = mTokens.takeIfWord("oneway");
            type->methods.push_back(method(comment, std::move(leading)));
            type->methods.back().oneway = oneway || type->oneway;
        } else {
            type->fields.push_back(variable(comment, std::move(leading)));
        }
    }

    Variable variable(const std::string& comment, std::vector<Annotation> leading) {
        Variable result;
        result.comment = comment;
        result.type = typeRef(std::move(leading));
        result.at = mTokens.at();
        result.name = mTokens.expectName("a name after the type");
        if (mTokens.takeIf("=")) {
            result.initial = parseExpression(&mTokens);
        }
        mTokens.expect(";");
        return result;
    }

    Method method(const std::string& comment, std::vector<Annotation> leading) {
        Method result;
        result.comment = comment;
        result.result = typeRef(std::move(leading));
        result.at = mTokens.at();
        result.name = mTokens.expectName("the name of the method");
        mTokens.expect("(");
        while (mTokens.until(")")) {
            result.arguments.push_back(argument());
            mTokens.expectCommaOr(")");
        }
        if (mTokens.is("=")) {
            mTokens.fail(mTokens.at(),
                         "ids of methods are not supported; methods are numbered in order");
        }
        mTokens.expect(";");
        return result;
    }

    Argument argument() {
        Argument result;
        std::vector<Annotation> leading = annotations();
        for (const auto& [word, direction] : kDirections) {
            if (!result.hasDirection && mTokens.takeIfWord(word)) {
                result.direction = direction;
                result.hasDirection = true;
            }
        }
        result.type = typeRef(std::move(leading));
        result.at = mTokens.at();
        result.name = mTokens.expectName("the name of the argument");
        return result;
    }

    // `leading` are the annotations that stood in front already.
    TypeRef typeRef(std::vector<Annotation> leading) {
        TypeRef type;
        type.annotations = std::move(leading);
        for (Annotation& annotation : annotations()) {
            type.annotations.push_back(std::move(annotation));
        }
        type.at = mTokens.at();
        type.name = mTokens.expectDottedName("a type");
        const bool isList = type.name == "List";
        if (isList != mTokens.is("<")) {
            mTokens.fail(type.at, isList ? "say what is in the list, as in List<String>"
                                         : "only List takes a type in < >");
        }
        if (mTokens.takeIf("<")) {
            TypeRef item;
            item.at = mTokens.at();
            item.name = mTokens.expectDottedName("the type of the items");
            if (mTokens.is("<") || mTokens.is("[")) {
                mTokens.fail(item.at, "a list of lists or arrays is not supported");
            }
            mTokens.expect(">");
            type.arguments.push_back(std::move(item));
        }
        if (mTokens.takeIf("[")) {
            type.array = mTokens.is("]") ? TypeRef::Array::Dynamic : TypeRef::Array::Fixed;
            if (type.array == TypeRef::Array::Fixed) {
                type.size = parseExpression(&mTokens);
            }
            mTokens.expect("]");
        }
        if (mTokens.is("[")) {
            mTokens.fail(mTokens.at(), "arrays of arrays are not supported");
        }
        return type;
    }

    std::vector<Annotation> annotations() {
        std::vector<Annotation> result;
        while (mTokens.peek().kind == TokenKind::Annotation) {
            Token token = mTokens.take();
            Annotation annotation = {token.at, token.text.substr(1), ""};
            if (mTokens.takeIf("(")) {
                while (mTokens.until(")")) {
                    annotation.parameters += annotation.parameters.empty() ? "" : ", ";
                    annotation.parameters += mTokens.expectName("the name of a parameter") + '=';
                    mTokens.expect("=");
                    annotation.parameters += parameterValue();
                    mTokens.expectCommaOr(")");
                }
            }
            result.push_back(std::move(annotation));
        }
        return result;
    }

    std::string parameterValue() {
        if (mTokens.peek().kind == TokenKind::String) {
            return '"' + mTokens.take().text + '"';
        }
        return mTokens.expectName("true, false or a text in quotes");
    }

    std::unique_ptr<Document> mDocument;
    TokenStream mTokens;
};

}  // namespace

std::unique_ptr<Document> parse(const std::string& path, const std::string& text,
                                Diagnostics* diagnostics) {
    return Parser(path, text, diagnostics).run();
}

}  // namespace aidlc
