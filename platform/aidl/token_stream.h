// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "diagnostics.h"
#include "lexer.h"

namespace aidlc {

// The tokens of one file with the parser's reading position. The first error ends the stream: from
// then on only End follows, no further error is reported, and every name taken is empty.
class TokenStream {
  public:
    // `tokens` as from tokenize().
    TokenStream(std::vector<Token> tokens, Diagnostics* diagnostics)
        : mTokens(std::move(tokens)), mDiagnostics(*diagnostics) {
        checkNext();
    }

    const Token& peek() const { return mTokens[mPosition]; }
    const Location& at() const { return peek().at; }
    bool failed() const { return mFailed; }
    bool atEnd() const { return peek().kind == TokenKind::End; }
    bool is(std::string_view symbol) const {
        return peek().kind == TokenKind::Symbol && peek().text == symbol;
    }

    Token take() {
        Token token = peek();
        if (!atEnd()) {
            ++mPosition;
            checkNext();
        }
        return token;
    }
    bool takeIf(std::string_view symbol) { return is(symbol) && (take(), true); }
    bool takeIfWord(std::string_view word) {
        return peek().kind == TokenKind::Identifier && peek().text == word && (take(), true);
    }
    void expect(std::string_view symbol) {
        if (!takeIf(symbol)) {
            failExpecting("'" + std::string(symbol) + "'");
        }
    }
    // Takes a name, called `what` in the error.
    std::string expectName(const std::string& what) {
        if (peek().kind == TokenKind::Identifier) {
            return take().text;
        }
        failExpecting(what);
        return "";
    }
    // Takes "a.b.c".
    std::string expectDottedName(const std::string& what) {
        std::string name = expectName(what);
        while (takeIf(".")) {
            name += '.' + expectName("a name after '.'");
        }
        return name;
    }
    // Goes through items in brackets: true while another one comes, false once `closing` is taken.
    bool until(std::string_view closing) {
        if (takeIf(closing)) {
            return false;
        }
        if (atEnd()) {
            failExpecting("'" + std::string(closing) + "'");
        }
        return !mFailed;
    }
    // Takes the comma after an item, which may be missing after the last one.
    void expectCommaOr(std::string_view closing) {
        if (!takeIf(",") && !is(closing)) {
            failExpecting("',' or '" + std::string(closing) + "'");
        }
    }

    void fail(const Location& where, const std::string& message) {
        if (!mFailed) {
            mDiagnostics.error(where, message);
        }
        mFailed = true;
        mTokens.back().kind = TokenKind::End;
        mPosition = mTokens.size() - 1;
    }
    void failExpecting(const std::string& wanted) {
        fail(at(), "expected " + wanted + ", found " +
                       (atEnd() ? "the end of the file" : "'" + peek().text + "'"));
    }

  private:
    void checkNext() {
        if (peek().kind == TokenKind::Error) {
            fail(at(), peek().text);
        }
    }

    std::vector<Token> mTokens;
    Diagnostics& mDiagnostics;
    size_t mPosition = 0;
    bool mFailed = false;
};

}  // namespace aidlc
