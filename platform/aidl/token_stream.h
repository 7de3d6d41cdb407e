// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ast.h"
#include "diagnostics.h"
#include "lexer.h"

namespace aidlc {

// The tokens of one file with the parser's reading position. Reading past the end gives End for
// ever.
class TokenStream {
  public:
    TokenStream(std::vector<Token> tokens, Diagnostics* diagnostics)
        : mTokens(std::move(tokens)), mDiagnostics(*diagnostics) {}

    const Token& peek(size_t ahead = 0) const {
        return mTokens[mPosition + ahead < mTokens.size() ? mPosition + ahead : mTokens.size() - 1];
    }
    bool atEnd() const { return peek().kind == TokenKind::End; }
    bool is(std::string_view symbol) const { return isAhead(0, symbol); }
    bool isAhead(size_t ahead, std::string_view symbol) const {
        return peek(ahead).kind == TokenKind::Symbol && peek(ahead).text == symbol;
    }
    bool isWord(std::string_view word) const {
        return peek().kind == TokenKind::Identifier && peek().text == word;
    }

    Token take() {
        Token token = peek();
        if (mPosition + 1 < mTokens.size()) {
            ++mPosition;
        }
        return token;
    }
    bool takeIf(std::string_view symbol) {
        const bool matches = is(symbol);
        if (matches) {
            take();
        }
        return matches;
    }

    // Reports what stands here instead of `wanted`; false.
    bool failExpecting(const std::string& wanted) {
        const Token& token = peek();
        const std::string found =
            token.kind == TokenKind::End ? "the end of the file" : "'" + token.text + "'";
        mDiagnostics.error(token.at, "expected " + wanted + ", found " + found);
        return false;
    }
    // Takes the symbol or reports that it is missing.
    [[nodiscard]] bool expect(std::string_view symbol) {
        return takeIf(symbol) || failExpecting("'" + std::string(symbol) + "'");
    }
    // Takes a name or reports that `what` is missing.
    [[nodiscard]] bool expectName(const std::string& what, std::string* name) {
        if (peek().kind != TokenKind::Identifier) {
            return failExpecting(what);
        }
        *name = take().text;
        return true;
    }
    // Takes "a.b.c".
    [[nodiscard]] bool expectDottedName(const std::string& what, std::string* name) {
        std::string part;
        if (!expectName(what, &part)) {
            return false;
        }
        *name = part;
        while (is(".")) {
            take();
            if (!expectName("a name after '.'", &part)) {
                return false;
            }
            *name += '.' + part;
        }
        return true;
    }

    // After an error: goes on behind the next ';' or the next '}' of the present nesting, at which
    // it stops when it belongs to the enclosing declaration.
    void skipStatement() {
        int depth = 0;
        while (!atEnd()) {
            if (depth == 0 && is("}")) {
                return;
            }
            const Token token = take();
            if (token.kind != TokenKind::Symbol) {
                continue;
            }
            if (token.text == "{") {
                ++depth;
            } else if (token.text == "}") {
                --depth;
            }
            if (depth == 0 && (token.text == ";" || token.text == "}")) {
                return;
            }
        }
    }

    Diagnostics& diagnostics() { return mDiagnostics; }

  private:
    std::vector<Token> mTokens;
    Diagnostics& mDiagnostics;
    size_t mPosition = 0;
};

// Parse one construct each; false or null after reporting what is wrong.
ExpressionPtr parseExpression(TokenStream* tokens);
[[nodiscard]] bool parseAnnotations(TokenStream* tokens, std::vector<Annotation>* annotations);
// `type->annotations` may hold those that stood in front already.
[[nodiscard]] bool parseType(TokenStream* tokens, TypeRef* type);

}  // namespace aidlc
