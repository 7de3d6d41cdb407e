// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "diagnostics.h"

namespace aidlc {

enum class TokenKind {
    Identifier,  // a keyword too: AIDL has none that are reserved everywhere
    Annotation,  // "@Name"
    Integer,     // as written, with its suffix
    Real,        // as written, with its suffix
    Character,   // text is the one character
    String,      // text is what stands between the quotes
    Symbol,      // an operator or a bracket
    Error,       // text says what is wrong
    End,
};

struct Token {
    TokenKind kind = TokenKind::End;
    Location at;
    std::string text;
    // The documentation comment in front of the token, from "/**" to the end mark; empty without
    // one.
    std::string comment;
};

// Splits a whole file into tokens. The last one is End, or Error at the first character that does
// not belong there. `file` names it in locations and must outlive them.
std::vector<Token> tokenize(const std::string& file, const std::string& text);

}  // namespace aidlc
