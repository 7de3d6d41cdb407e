// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "diagnostics.h"

namespace aidlc {

enum class TokenKind {
    Identifier,  // a keyword too: AIDL has none that are reserved everywhere
    Annotation,  // "@Name"; text is the name without '@'
    Integer,     // as written, with its suffix
    Float,       // as written, with its suffix
    Character,   // text is the one character
    String,      // text is what stands between the quotes
    Symbol,      // text is the operator or the bracket
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

// Splits a whole file into tokens. The result always ends with an End token. Reports every
// character that belongs nowhere and goes on after it.
std::vector<Token> tokenize(const std::string& file, const std::string& text,
                            Diagnostics* diagnostics);

}  // namespace aidlc
