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
// What may stand in a string or character constant; AIDL has no escapes.
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
    Lexer(const std::string& file, const std::string& text) : mFile(file), mText(text) {}

    std::vector<Token> run() {
        while (!mFailed && skipBlanks()) {
            next();
        }
        if (!mFailed) {
            add(TokenKind::End, 0);
        }
        return std::move(mTokens);
    }

  private:
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

    // False at the end of the text, or after an error.
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
                const size_t end = mText.find("*/", mPosition + 2);
                if (end == std::string::npos) {
                    fail(0, "this comment has no end; close it with */");
                    return false;
                }
                if (peek(2) == '*' && end > mPosition + 2) {
                    mComment = mText.substr(mPosition, end + 2 - mPosition);
                }
                while (mPosition < end + 2) {
                    advance();
                }
            } else {
                return true;
            }
        }
        return false;
    }

    void next() {
        const char c = peek();
        if (isNameStart(c)) {
            add(TokenKind::Identifier, nameLength(0));
        } else if (c == '@' && isNameStart(peek(1))) {
            add(TokenKind::Annotation, 1 + nameLength(1));
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

    // Takes in the suffix as well; what is wrong with it is for the evaluation to say.
    void number() {
        const bool isHex = peek() == '0' && (peek(1) == 'x' || peek(1) == 'X');
        size_t length = 0;
        bool isReal = false;
        while (isName(peek(length)) || (!isHex && peek(length) == '.' && !isReal) ||
               (isReal && (peek(length) == '-' || peek(length) == '+') &&
                (peek(length - 1) | 0x20) == 'e')) {
            const char c = peek(length);
            isReal = isReal || (!isHex && (c == '.' || (c | 0x20) == 'e' || (c | 0x20) == 'f'));
            ++length;
        }
        add(isReal ? TokenKind::Real : TokenKind::Integer, length);
    }

    void quoted(char quote) {
        size_t length = 1;
        while (isPlain(peek(length)) && peek(length) != quote) {
            ++length;
        }
        if (peek(length) != quote) {
            const bool lineEnds =
                mPosition + length >= mText.size() || peek(length) == '\n' || peek(length) == '\r';
            fail(length, lineEnds ? "this quote has no end; close it on the same line"
                                  : shown(peek(length)) +
                                        " cannot stand between quotes; only printable ASCII "
                                        "without '\\' can");
        } else if (quote == '\'' && length != 2) {
            fail(0, "a character constant holds exactly one character, as in 'a'");
        } else {
            add(quote == '"' ? TokenKind::String : TokenKind::Character, length + 1);
            mTokens.back().text = mTokens.back().text.substr(1, length - 1);
        }
    }

    void symbol() {
        static constexpr std::string_view kUnsupported[] = {
            "&&", "||", "==", "!=", "<=", ">=", "!", "?"};
        static constexpr std::string_view kSymbols[] = {
            "<<", ">>", "{", "}", "(", ")", "[", "]", "<", ">", ";", ",",
            "=",  ".",  "+", "-", "*", "/", "%", "&", "|", "^", "~",
        };
        for (const std::string_view symbol : kUnsupported) {
            if (mText.compare(mPosition, symbol.size(), symbol) == 0) {
                fail(0, "the operator '" + std::string(symbol) + "' is not supported");
                return;
            }
        }
        for (const std::string_view symbol : kSymbols) {
            if (mText.compare(mPosition, symbol.size(), symbol) == 0) {
                add(TokenKind::Symbol, symbol.size());
                return;
            }
        }
        fail(0, shown(peek()) + " has no meaning here; remove it");
    }

    void add(TokenKind kind, size_t length) {
        mTokens.push_back({kind,
                           {&mFile, mLine, static_cast<int>(mPosition - mLineStart) + 1},
                           mText.substr(mPosition, length),
                           std::exchange(mComment, "")});
        mPosition += length;
    }

    void fail(size_t ahead, const std::string& message) {
        mPosition += ahead;
        add(TokenKind::Error, 0);
        mTokens.back().text = message;
        mFailed = true;
    }

    const std::string& mFile;
    const std::string& mText;
    std::vector<Token> mTokens;
    std::string mComment;
    size_t mPosition = 0;
    size_t mLineStart = 0;
    int mLine = 1;
    bool mFailed = false;
};

}  // namespace

std::vector<Token> tokenize(const std::string& file, const std::string& text) {
    return Lexer(file, text).run();
}

}  // namespace aidlc
