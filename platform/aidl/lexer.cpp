// SPDX-License-Identifier: Apache-2.0
#include "lexer.h"

#include <cstdio>
#include <string_view>
#include <utility>

namespace aidlc {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
bool isName(char c) {
    return isNameStart(c) || isDigit(c);
}
// What may stand in a string or character constant without an escape, which AIDL does not have.
bool isPlain(char c) {
    return c >= ' ' && c <= '~' && c != '\\';
}

std::string shown(char c) {
    if (c > ' ' && c <= '~') {
        return std::string("'") + c + "'";
    }
    char text[16];
    snprintf(text, sizeof(text), "byte 0x%02x", static_cast<unsigned char>(c));
    return text;
}

class Lexer {
  public:
    Lexer(const std::string& file, const std::string& text, Diagnostics* diagnostics)
        : mFile(file), mText(text), mDiagnostics(*diagnostics) {}

    std::vector<Token> run() {
        while (!mDiagnostics.isFull() && skipBlanks()) {
            next();
        }
        mTokens.push_back({TokenKind::End, here(), "", std::move(mComment)});
        return std::move(mTokens);
    }

  private:
    Location here() const { return {&mFile, mLine, static_cast<int>(mPosition - mLineStart) + 1}; }
    char peek(size_t ahead = 0) const {
        return mPosition + ahead < mText.size() ? mText[mPosition + ahead] : '\0';
    }
    bool atEnd() const { return mPosition >= mText.size(); }
    void advance() {
        if (mText[mPosition] == '\n') {
            ++mLine;
            mLineStart = mPosition + 1;
        }
        ++mPosition;
    }

    // False at the end of the text.
    bool skipBlanks() {
        while (!atEnd()) {
            const char c = peek();
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
                advance();
            } else if (c == '/' && peek(1) == '/') {
                while (!atEnd() && peek() != '\n') {
                    advance();
                }
            } else if (c == '/' && peek(1) == '*') {
                blockComment();
            } else {
                return true;
            }
        }
        return false;
    }

    void blockComment() {
        const Location start = here();
        const size_t end = mText.find("*/", mPosition + 2);
        if (end == std::string::npos) {
            mDiagnostics.error(start, "this comment has no end; close it with */");
            mPosition = mText.size();
            return;
        }
        const bool isDocumentation = peek(2) == '*' && end > mPosition + 2;
        if (isDocumentation) {
            mComment = mText.substr(mPosition, end + 2 - mPosition);
        }
        while (mPosition < end + 2) {
            advance();
        }
    }

    void next() {
        const char c = peek();
        if (isNameStart(c)) {
            add(TokenKind::Identifier, nameLength(0), 0);
        } else if (c == '@' && isNameStart(peek(1))) {
            add(TokenKind::Annotation, nameLength(1) + 1, 1);
        } else if (isDigit(c) || (c == '.' && isDigit(peek(1)))) {
            number();
        } else if (c == '"' || c == '\'') {
            quoted(c);
        } else {
            symbol();
        }
    }

    size_t nameLength(size_t from) const {
        size_t length = 0;
        while (isName(peek(from + length))) {
            ++length;
        }
        return length;
    }

    void number() {
        size_t length = 0;
        bool isFloat = false;
        if (peek() == '0' && (peek(1) == 'x' || peek(1) == 'X')) {
            length = 2 + nameLength(2);
        } else {
            // Takes in the suffix as well; what is wrong with it is for the evaluation to say.
            while (isName(peek(length)) || (peek(length) == '.' && !isFloat) ||
                   ((peek(length) == '-' || peek(length) == '+') && length > 0 &&
                    (peek(length - 1) == 'e' || peek(length - 1) == 'E'))) {
                const char c = peek(length);
                isFloat = isFloat || c == '.' || c == 'e' || c == 'E' || c == 'f' || c == 'F';
                ++length;
            }
        }
        add(isFloat ? TokenKind::Float : TokenKind::Integer, length, 0);
    }

    void quoted(char quote) {
        const Location start = here();
        size_t length = 1;
        while (isPlain(peek(length)) && peek(length) != quote) {
            ++length;
        }
        const bool closed = peek(length) == quote;
        if (!closed) {
            const bool lineEnds =
                mPosition + length >= mText.size() || peek(length) == '\n' || peek(length) == '\r';
            mDiagnostics.error(
                {&mFile, start.line, start.column + static_cast<int>(length)},
                lineEnds ? std::string("the quote is still open at the end of the line; close "
                                       "it on the same line")
                         : shown(peek(length)) +
                               " cannot stand between quotes; only printable ASCII "
                               "characters without '\\' can, there are no escapes");
            skipTo(quote, length);
            return;
        }
        if (quote == '\'' && length != 2) {
            mDiagnostics.error(start,
                               "a character constant holds exactly one character, as in 'a'");
            mPosition += length + 1;
            return;
        }
        const size_t innerLength = length - 1;
        const std::string inner = mText.substr(mPosition + 1, innerLength);
        add(quote == '"' ? TokenKind::String : TokenKind::Character, length + 1, 0);
        mTokens.back().text = inner;
    }

    // Goes on behind a broken constant: after its closing quote, or at the end of its line. A
    // constant takes its place, so that it is the only thing reported there.
    void skipTo(char quote, size_t length) {
        const Location start = here();
        mPosition += length;
        while (!atEnd() && peek() != '\n' && peek() != quote) {
            advance();
        }
        if (peek() == quote && !atEnd()) {
            advance();
        }
        mTokens.push_back({quote == '"' ? TokenKind::String : TokenKind::Character, start, "?",
                           std::exchange(mComment, "")});
    }

    void symbol() {
        static constexpr std::string_view kSymbols[] = {
            "<<", "<=", ">=", "==", "!=", "&&", "||", "{", "}", "(", ")", "[", "]", "<", ">",
            ";",  ",",  "=",  ".",  "+",  "-",  "*",  "/", "%", "&", "|", "^", "~", "!", ":",
        };
        for (const std::string_view symbol : kSymbols) {
            if (mText.compare(mPosition, symbol.size(), symbol) == 0) {
                add(TokenKind::Symbol, symbol.size(), 0);
                return;
            }
        }
        mDiagnostics.error(here(), shown(peek()) + " has no meaning here; remove it");
        advance();
    }

    void add(TokenKind kind, size_t length, size_t skip) {
        mTokens.push_back({kind, here(), mText.substr(mPosition + skip, length - skip),
                           std::exchange(mComment, "")});
        mPosition += length;
    }

    const std::string& mFile;
    const std::string& mText;
    Diagnostics& mDiagnostics;
    std::vector<Token> mTokens;
    std::string mComment;
    size_t mPosition = 0;
    size_t mLineStart = 0;
    int mLine = 1;
};

}  // namespace

std::vector<Token> tokenize(const std::string& file, const std::string& text,
                            Diagnostics* diagnostics) {
    return Lexer(file, text, diagnostics).run();
}

}  // namespace aidlc
